#include "medium.h"

#include "configuration.h"
#include "failure.h"
#include "load_file.h"
#include "programmer.h"
#include "save_file.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fmt/format.h>
#include <optional>
#include <vector>

namespace kx3console {

namespace {

namespace fs = std::filesystem;

/// A load file.
class Image final : public Medium {
  public:
    Image(const Options &options, const Profile &device, SharedBlocks &blocks)
        : blocks_(blocks), input_(options.input), output_(options.output.empty() ? options.input : options.output),
          // Other data stay in the file as they are.
          source_{options.input, options.format, device.loadBase(), options.base, true},
          format_(input_.empty() ? formatOfNewImage(options) : FileFormat::intelHex) {}

    [[nodiscard]] std::string source() const override { return input_.empty() ? "no image" : input_.string(); }
    [[nodiscard]] std::string target() const override { return output_.string(); }
    [[nodiscard]] bool isCopy() const override {
        std::error_code ignored;
        return input_.empty() || !fs::equivalent(input_, output_, ignored);
    }

    void load() override {
        if (input_.empty()) return;
        LoadResult loaded = loadFile(source_, blocks_.deviceBuffer());
        format_ = loaded.format;
        inside_ = std::move(loaded.inside);
        requireSameFormat();
    }

    [[nodiscard]] bool holds(std::int32_t address) const override { return contains(inside_, fileAddress(address)); }

    void requireRoom(const Bytes & /*bytes*/) override { file_.emplace(output_); }

    void store(const Bytes &bytes) override {
        Patch patch;
        for (const auto &[address, value] : bytes)
            patch[fileAddress(address)] = value;
        patchFile(source_, format_, std::move(patch), *file_);
    }

  private:
    [[nodiscard]] std::uint64_t fileAddress(std::int32_t address) const {
        return source_.loadBase + static_cast<std::uint64_t>(address);
    }

    static FileFormat formatOfNewImage(const Options &options) {
        const FileFormat format = formatOfNewFile(options.output, options.format, "ihex or srec");
        if (format == FileFormat::raw)
            throw Failure(Exit::usage, "a raw file cannot hold configuration bytes alone",
                          "Give the image they belong to with --input, or write an Intel HEX or S-record file.");
        return format;
    }

    /// The output is a copy of the input; a name that promises another format would mislead.
    void requireSameFormat() const {
        const std::optional<FileFormat> promised = formatFromEnding(output_);
        if (output_ == input_ || !promised || *promised == format_) return;
        throw Failure(Exit::usage,
                      fmt::format("by its name {} is {}, but the image is {} and is copied as it is", output_.string(),
                                  formatName(*promised), formatName(format_)),
                      "Choose an output name with the image's own ending.");
    }

    SharedBlocks &blocks_;
    fs::path input_;
    fs::path output_;
    LoadRequest source_;
    FileFormat format_;
    AddressRanges inside_;
    std::optional<OutputFile> file_;
};

/// The chip of the simulated programmer.
class Chip final : public Medium {
  public:
    Chip(const Options &options, const Profile &profile, SharedBlocks &blocks)
        : options_(options), profile_(profile), blocks_(blocks), host_(sessionHostOf(options, profile)),
          first_(static_cast<std::int32_t>(profile.dataBytes())),
          count_(static_cast<std::int32_t>(configurationBytesOf(profile))) {}

    [[nodiscard]] std::string source() const override { return "chip " + options_.chip.string(); }
    [[nodiscard]] std::string target() const override { return source(); }
    [[nodiscard]] bool holds(std::int32_t address) const override { return address < first_ + count_; }
    [[nodiscard]] bool isCopy() const override { return false; }

    void load() override { run({Operation::read}); }

    void requireRoom(const Bytes &bytes) override {
        for (const auto &[address, value] : bytes)
            if (address < first_ || address >= first_ + count_)
                throw Failure(
                    Exit::refused,
                    fmt::format("byte 0x{:X} is none of the {} configuration bytes that the programmer writes "
                                "by themselves",
                                address, count_),
                    "Read the device into a file, change that, and program the device with it.");
    }

    /// Write the bytes and read them back.
    void store(const Bytes & /*bytes*/) override {
        const auto bytes =
            blocks_.deviceBuffer().subspan(static_cast<std::size_t>(first_), static_cast<std::size_t>(count_));
        const std::vector<std::uint8_t> wanted(bytes.begin(), bytes.end());
        run({Operation::programConfiguration, Operation::read});
        if (std::equal(bytes.begin(), bytes.end(), wanted.begin())) return;
        throw Failure(Exit::differs, fmt::format("{} holds other configuration bytes than were written", target()),
                      "Some bits can only be written once, or need the device to be erased first.");
    }

  private:
    void run(std::initializer_list<Operation> operations) {
        Display display(stderr, {ProgressMode::never, true, false, false});
        Programmer programmer(options_, profile_, host_, blocks_, display, {});
        for (const Operation operation : operations)
            if (const auto failure = programmer.run(operation).failure)
                throw Failure(failure->code(), fmt::format("{}: {}", source(), failure->message()), failure->advice());
    }

    const Options &options_;
    const Profile &profile_;
    SharedBlocks &blocks_;
    kx3sim::SessionHost host_;
    std::int32_t first_; ///< address of the first configuration byte
    std::int32_t count_; ///< configuration bytes, behind the device data
};

} // namespace

std::unique_ptr<Medium> mediumOf(const Options &options, const Profile &device, SharedBlocks &blocks) {
    const bool hasImage = !options.input.empty() || !options.output.empty();
    if (!options.chip.empty() && hasImage)
        throw Failure(Exit::usage, "--chip does not go with --input and --output",
                      "Work on the chip or on an image, one at a time.");
    if (!options.chip.empty() && device.isPlain())
        throw Failure(Exit::usage, "a chip is reached by the profile of its device",
                      "Name one with --device, or work on an image with --input.");
    if (!options.chip.empty()) return std::make_unique<Chip>(options, device, blocks);
    if (options.input.empty() && (!options.command->changes() || options.output.empty()))
        throw Failure(Exit::usage, "no image is given", "Name one with --input, or a chip with --chip.");
    return std::make_unique<Image>(options, device, blocks);
}

} // namespace kx3console
