#include "device_run.h"

#include "algorithm_directory.h"
#include "base/error.h"
#include "base/text.h"
#include "blocks.h"
#include "load_file.h"
#include "platform/dynamic_library.h"
#include "save_file.h"
#include "session.h"
#include "stop_request.h"
#include "texts.h"
#include "trace.h"

#include <fmt/format.h>
#include <optional>
#include <unistd.h>

namespace kx3console {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t configurationBytes = 11;

/// The options with paths that hold in every directory.
Options withAbsolutePaths(Options options) {
    for (fs::path *path : {&options.input, &options.output, &options.chip, &options.trace, &options.algorithmDirectory})
        if (!path->empty()) *path = fs::absolute(*path);
    return options;
}

/// One file must not play two parts, of which one is written.
void refuseSharedFiles(const Options &options) {
    struct Part {
        std::string_view option;
        const fs::path &path;
    };
    const Part parts[] = {
        {"--input", options.input}, {"--output", options.output}, {"--chip", options.chip}, {"--trace", options.trace}};
    for (const Part &left : parts)
        for (const Part &right : parts)
            if (left.option < right.option && !left.path.empty() && !right.path.empty() &&
                fs::weakly_canonical(left.path) == fs::weakly_canonical(right.path))
                throw Failure(
                    Exit::refused,
                    fmt::format("{} and {} name the same file {}", left.option, right.option, left.path.string()),
                    "Give each a file of its own.");
}

FileFormat outputFormat(const Options &options) {
    if (options.format) return *options.format;
    if (const auto format = formatFromEnding(options.output)) return *format;
    throw Failure(Exit::usage, fmt::format("the ending of {} names no load file format", options.output.string()),
                  "Say which one with --format ihex, srec or raw.");
}

kx3sim::Options simulatorOptions(const Options &options, const Profile &profile) {
    kx3sim::Options simulator;
    if (!options.chip.empty()) simulator.chipFile = options.chip;
    simulator.maker = static_cast<kx3::Byte>(profile.integer(Field::maker_id));
    simulator.deviceCodes = {static_cast<kx3::Byte>(profile.integer(Field::device_id))};
    simulator.firmwareVersion = static_cast<kx3::Byte>(profile.integer(Field::firmware_version));
    simulator.faults = options.faults;
    simulator.seed = options.seed;
    return simulator;
}

/// The plug-in would meet a missing library only in the middle of a session.
void requireProgrammerFunctions() {
    const kx3::platform::DynamicLibrary io("kx6io");
    for (const char *name : {"usbcomwrite", "usbbulkwrite", "usbbulkread"})
        static_cast<void>(io.function<void()>(name));
    static_cast<void>(kx3::platform::DynamicLibrary("kx3io").function<void()>("datstr"));
}

/// The session host, whose errors become ours.
std::unique_ptr<kx3sim::SessionHost> makeSessionHost(const Options &options, const Profile &profile) {
    try {
        requireProgrammerFunctions();
        return std::make_unique<kx3sim::SessionHost>(simulatorOptions(options, profile));
    } catch (const kx3::Error &error) {
        const std::string reason = kx3::toUtf8(error.description());
        if (error.number() == kx3::ErrorNumber::invalidCall)
            throw Failure(Exit::usage, "--faults: " + reason, "The simulator's documentation lists the faults.");
        throw Failure(Exit::noAnswer, "the programmer's I/O libraries cannot be used: " + reason,
                      "Install libkx6io.so and libkx3io.so beside the plug-in.");
    }
}

/// Everything that a command's operations share.
class DeviceRun {
  public:
    DeviceRun(const Options &options, const Profile &profile, Display &display)
        : options_(options), profile_(profile), display_(display), base_(unsignedOf(profile.integer(Field::load_base))),
          host_(makeSessionHost(options, profile)), blocks_(options.instance ? *options.instance : freeInstance(),
                                                            static_cast<std::int32_t>(profile.dataBytes())) {
        report_.device = profile.name;
    }

    OperationReport run() {
        const bool saves = options_.command->needsOutput;
        const FileFormat format = saves ? outputFormat(options_) : FileFormat::raw;
        std::optional<OutputFile> output;
        if (saves) output.emplace(options_.output);
        if (!options_.trace.empty()) trace_.emplace(options_.trace);
        storeProfile(blocks_, profile_);
        storeTexts(blocks_, options_.language);
        {
            const Session::Settings settings{mayAsk(), usesChipFile(), trace_ ? &*trace_ : nullptr};
            Session session(blocks_, *host_, display_, settings);
            session.initialiseConfiguration();
            storeConfiguration(blocks_, profile_);
            load();
            blocks_.releasePages("ibuffer");
            runOperations(session);
        }
        if (output && report_.outcome.code == Exit::done) save(*output, format);
        return std::move(report_);
    }

  private:
    static std::uint64_t unsignedOf(std::int64_t value) { return static_cast<std::uint64_t>(value); }

    [[nodiscard]] bool mayAsk() const {
        return !options_.neverAsk && ::isatty(STDIN_FILENO) != 0 && ::isatty(STDERR_FILENO) != 0;
    }
    /// A preparation fails because of the chip file, unless a fault is ordered for it.
    [[nodiscard]] bool usesChipFile() const {
        return !options_.chip.empty() && options_.faults.find("prepare") == std::string::npos;
    }
    [[nodiscard]] std::span<std::uint8_t> image() const {
        return blocks_.elements<std::uint8_t>("ibuffer").first(static_cast<std::size_t>(profile_.dataBytes()));
    }

    void load() {
        report_.bytes = image().size();
        const AddressRange device{base_, base_ + image().size() - 1};
        if (!options_.command->needsInput) {
            if (!options_.command->needsOutput) fillErased(blocks_, AddressRanges().gaps(device), base_);
            return;
        }
        const LoadResult loaded =
            loadFile({options_.input, options_.format, base_, options_.base, options_.skipOutside}, image());
        fillErased(blocks_, loaded.inside.gaps(device), base_);
        report_.input = options_.input.filename().string();
        report_.format = formatName(loaded.format);
        if (!verifies()) report_.bytes = loaded.inside.size();
        report_.outside = loaded.outside.text();
        display_.detail(fmt::format("Loaded {} bytes from {} ({}): {}", loaded.inside.size(), options_.input.string(),
                                    report_.format, loaded.inside.text()));
        if (!report_.outside.empty())
            display_.message(
                fmt::format("Left out {} bytes outside the device: {}", loaded.outside.size(), report_.outside));
    }

    [[nodiscard]] bool verifies() const { return options_.command->operation == Operation::verify; }

    void runOperations(Session &session) {
        const AlgorithmDirectory directory(options_.algorithmDirectory, profile_);
        if (options_.algorithmDirectory.empty()) display_.detail("Using a sample algorithm image.");
        if (options_.chip.empty()) display_.detail("The simulated chip is not kept; --chip FILE keeps one.");
        runOperation(session, directory, options_.command->operation);
        if (!options_.verify || report_.outcome.code != Exit::done) return;
        runOperation(session, directory, Operation::verify);
        report_.verified = report_.outcome.code == Exit::done;
    }

    void runOperation(Session &session, const AlgorithmDirectory &directory, Operation operation) {
        if (StopRequest::pending()) throw Failure(Exit::stopped, "stopped before the operation began");
        if (trace_) trace_->operation(static_cast<int>(operation), profile_.name);
        RunResult result = session.run(operation);
        host_->saveChip();
        OutcomeContext context{operation, profile_.integer(Field::bytes_per_address), base_, {}};
        if (!result.evidence.algorithmLoaded) context.algorithmProblem = directory.problem();
        report_.outcome = judge(result.evidence, context);
        if (operation == Operation::verify) report_.differences = result.evidence.differences;
        report_.log.insert(report_.log.end(), result.log.begin(), result.log.end());
        if (trace_ && !trace_->ended(exitName(report_.outcome.code)))
            display_.error(
                fmt::format("mpu6: the trace {} is incomplete: it cannot be written", options_.trace.string()));
    }

    void save(OutputFile &output, FileFormat format) {
        report_.output = output.path().filename().string();
        report_.format = formatName(format);
        const auto configuration =
            blocks_.elements<std::uint8_t>("ibuffer").subspan(image().size(), configurationBytes);
        report_.configuration.assign(configuration.begin(), configuration.end());
        saveFile(output, format, base_, image());
        display_.detail(fmt::format("Wrote {}", output.path().string()));
    }

    const Options &options_;
    const Profile &profile_;
    Display &display_;
    std::uint64_t base_;
    std::unique_ptr<kx3sim::SessionHost> host_;
    SharedBlocks blocks_;
    std::optional<Trace> trace_;
    OperationReport report_;
};

} // namespace

OperationReport runOnDevice(const Options &options, const Profile &profile, Display &display) {
    const Options absolute = withAbsolutePaths(options);
    refuseSharedFiles(absolute);
    const StopRequest stopRequest;
    try {
        return DeviceRun(absolute, profile, display).run();
    } catch (const kx3::Error &error) {
        throw Failure(Exit::failed, "the simulated programmer failed: " + kx3::toUtf8(error.description()),
                      "Check the chip file and the room on its disk.");
    }
}

} // namespace kx3console
