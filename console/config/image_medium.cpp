// Configuration bytes in a load file.

#include "medium.h"
#include "patch_file.h"

#include "../failure.h"

#include <filesystem>
#include <fmt/format.h>
#include <optional>

namespace kx3console::config {

namespace {

namespace fs = std::filesystem;

class ImageMedium final : public Medium {
  public:
    ImageMedium(const Request &request, const Device &device, SharedBlocks &blocks)
        : loadBase_(device.loadBase), blocks_(blocks), input_(request.input),
          output_(request.output.empty() ? request.input : request.output) {
        source_.path = request.input;
        source_.format = request.format;
        source_.loadBase = device.loadBase;
        source_.base = request.base;
        source_.skipOutside = true; // those data stay in the file as they are
        if (input_.empty()) format_ = formatOfNewFile(request);
    }

    [[nodiscard]] std::string source() const override { return input_.empty() ? "no image" : input_.string(); }
    [[nodiscard]] std::string target() const override { return output_.string(); }
    [[nodiscard]] bool isCopy() const override {
        std::error_code ignored;
        return input_.empty() || !fs::equivalent(input_, output_, ignored);
    }

    void load() override {
        if (input_.empty()) return;
        LoadResult loaded = loadFile(source_, blocks_.elements<std::uint8_t>("ibuffer"));
        format_ = loaded.format;
        inside_ = std::move(loaded.inside);
        requireSameFormat();
    }

    [[nodiscard]] bool holds(std::int32_t address) const override {
        const std::uint64_t at = fileAddress(address);
        return inside_.overlap({at, at}).has_value();
    }

    void requireRoom(const Bytes & /*bytes*/) override { file_.emplace(output_); }

    void store(const Bytes &bytes) override {
        if (!file_) file_.emplace(output_);
        Patch patch;
        for (const auto &[address, value] : bytes)
            patch[fileAddress(address)] = value;
        if (input_.empty())
            writePatch(format_, patch, *file_);
        else
            patchFile(source_, format_, patch, *file_);
    }

  private:
    [[nodiscard]] std::uint64_t fileAddress(std::int32_t address) const {
        return loadBase_ + static_cast<std::uint64_t>(address);
    }

    static FileFormat formatOfNewFile(const Request &request) {
        const std::optional<FileFormat> format = request.format ? request.format : formatFromEnding(request.output);
        if (!format)
            throw Failure(Exit::usage,
                          fmt::format("the ending of {} names no load file format", request.output.string()),
                          "Say which one with --format ihex or srec.");
        if (*format == FileFormat::raw)
            throw Failure(Exit::usage, "a raw file cannot hold configuration bytes alone",
                          "Give the image they belong to with --input, or write an Intel HEX or S-record file.");
        return *format;
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

    std::uint64_t loadBase_;
    SharedBlocks &blocks_;
    fs::path input_;
    fs::path output_;
    LoadRequest source_;
    FileFormat format_ = FileFormat::intelHex;
    AddressRanges inside_;
    std::optional<OutputFile> file_;
};

} // namespace

std::unique_ptr<Medium> imageMedium(const Request &request, const Device &device, SharedBlocks &blocks) {
    return std::make_unique<ImageMedium>(request, device, blocks);
}

std::unique_ptr<Medium> mediumOf(const Request &request, const Device &device, SharedBlocks &blocks) {
    const bool hasImage = !request.input.empty() || !request.output.empty();
    if (request.usesChip() && hasImage)
        throw Failure(Exit::usage, "--chip does not go with --input and --output",
                      "Work on the chip or on an image, one at a time.");
    if (request.usesChip()) return chipMedium(request, device, blocks);
    if (request.input.empty() && (!request.changes() || request.output.empty()))
        throw Failure(Exit::usage, "no image is given", "Name one with --input, or a chip with --chip.");
    return imageMedium(request, device, blocks);
}

} // namespace kx3console::config
