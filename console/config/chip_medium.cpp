// Configuration bytes in the chip of the simulated programmer.

#include "medium.h"

#include "../algorithm_directory.h"
#include "../configuration.h"
#include "../failure.h"
#include "../session.h"

#include "base/error.h"
#include "base/text.h"

#include <cstdio>
#include <fmt/format.h>
#include <optional>
#include <simulator/session_host.h>
#include <vector>

namespace kx3console::config {

namespace {

kx3sim::Options simulatorOptions(const Request &request, const Profile &profile) {
    kx3sim::Options options;
    options.chipFile = std::filesystem::absolute(request.chip);
    options.maker = static_cast<kx3::Byte>(profile.integer(kx3console::Field::maker_id));
    options.deviceCodes = {static_cast<kx3::Byte>(profile.integer(kx3console::Field::device_id))};
    options.firmwareVersion = static_cast<kx3::Byte>(profile.integer(kx3console::Field::firmware_version));
    options.eepromBytes = static_cast<kx3::Long>(profile.integer(kx3console::Field::eeprom_size));
    return options;
}

class ChipMedium final : public Medium {
  public:
    ChipMedium(const Request &request, const Profile &profile, SharedBlocks &blocks)
        : request_(request), profile_(profile), blocks_(blocks), host_(simulatorOptions(request, profile)),
          first_(static_cast<std::int32_t>(profile.dataBytes())),
          count_(static_cast<std::int32_t>(configurationBytesOf(profile))) {}

    [[nodiscard]] std::string source() const override { return "chip " + request_.chip.string(); }
    [[nodiscard]] std::string target() const override { return source(); }
    [[nodiscard]] bool holds(std::int32_t address) const override { return address < first_ + count_; }
    [[nodiscard]] bool isCopy() const override { return false; }

    void load() override { run(Operation::read); }

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
        const std::vector<std::uint8_t> wanted = configuration();
        run(Operation::programConfiguration);
        run(Operation::read);
        if (configuration() == wanted) return;
        throw Failure(Exit::differs, fmt::format("{} holds other configuration bytes than were written", target()),
                      "Some bits can only be written once, or need the device to be erased first.");
    }

  private:
    [[nodiscard]] std::vector<std::uint8_t> configuration() const {
        const auto buffer = blocks_.elements<std::uint8_t>("ibuffer");
        const auto bytes = buffer.subspan(static_cast<std::size_t>(first_), static_cast<std::size_t>(count_));
        return {bytes.begin(), bytes.end()};
    }

    void run(Operation operation) {
        Display display(stderr, {ProgressMode::never, true, false, false});
        std::optional<AlgorithmDirectory> directory;
        if (!profile_.isHostDriven()) directory.emplace(request_.algorithmDirectory, profile_);
        Session::Settings settings;
        settings.chipFileUsed = true;
        settings.hostDriven = profile_.isHostDriven();
        Session session(blocks_, host_, display, settings);
        const RunResult result = session.run(operation);
        host_.saveChip();
        OutcomeContext context{operation, profile_.integer(kx3console::Field::bytes_per_address),
                               0,         profile_.dataBytes(),
                               count_,    profile_.integer(kx3console::Field::family),
                               {}};
        if (directory && !result.evidence.algorithmLoaded) context.algorithmProblem = directory->problem();
        const Outcome outcome = judge(result.evidence, context);
        if (outcome.code != Exit::done)
            throw Failure(outcome.code, fmt::format("{}: {}", source(), outcome.message), outcome.advice);
    }

    const Request &request_;
    const Profile &profile_;
    SharedBlocks &blocks_;
    kx3sim::SessionHost host_;
    std::int32_t first_; ///< address of the first configuration byte
    std::int32_t count_; ///< configuration bytes, behind the device data
};

} // namespace

std::unique_ptr<Medium> chipMedium(const Request &request, const Device &device, SharedBlocks &blocks) {
    if (!device.profile)
        throw Failure(Exit::usage, "a chip is reached by the profile of its device",
                      "Name one with --device, or work on an image with --input.");
    try {
        return std::make_unique<ChipMedium>(request, *device.profile, blocks);
    } catch (const kx3::Error &error) {
        throw Failure(Exit::noAnswer,
                      "the programmer's I/O library cannot be used: " + kx3::toUtf8(error.description()),
                      "Install libkx6io.so and libkx3io.so beside the plug-in.");
    }
}

} // namespace kx3console::config
