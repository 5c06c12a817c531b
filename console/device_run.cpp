#include "device_run.h"

#include "algorithm_directory.h"
#include "base/error.h"
#include "base/text.h"
#include "blocks.h"
#include "configuration.h"
#include "failure.h"
#include "load_file.h"
#include "platform/dynamic_library.h"
#include "save_file.h"
#include "session.h"
#include "stop_request.h"
#include "texts.h"
#include "trace.h"
#include "window.h"

#include <algorithm>
#include <fmt/format.h>
#include <optional>
#include <unistd.h>

namespace kx3console {

namespace fs = std::filesystem;

namespace {

/// The options with paths that hold in every directory.
Options withAbsolutePaths(Options options) {
    for (fs::path *path :
         {&options.input, &options.output, &options.eeprom, &options.chip, &options.trace, &options.algorithmDirectory})
        if (!path->empty()) *path = fs::absolute(*path);
    return options;
}

/// One file must not play two parts, of which one is written.
void refuseSharedFiles(const Options &options) {
    struct Part {
        std::string_view option;
        const fs::path &path;
    };
    const Part parts[] = {{"--input", options.input},
                          {"--output", options.output},
                          {"--eeprom", options.eeprom},
                          {"--chip", options.chip},
                          {"--trace", options.trace}};
    for (const Part &left : parts)
        for (const Part &right : parts)
            if (left.option < right.option && !left.path.empty() && !right.path.empty() &&
                fs::weakly_canonical(left.path) == fs::weakly_canonical(right.path))
                throw Failure(
                    Exit::refused,
                    fmt::format("{} and {} name the same file {}", left.option, right.option, left.path.string()),
                    "Give each a file of its own.");
}

FileFormat outputFormat(const Options &options, const fs::path &path) {
    if (options.format) return *options.format;
    if (const auto format = formatFromEnding(path)) return *format;
    throw Failure(Exit::usage, fmt::format("the ending of {} names no load file format", path.string()),
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
    simulator.eepromBytes = static_cast<kx3::Long>(profile.integer(Field::eeprom_size));
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

/// What the command line asks of this device must be possible before anything is touched.
void refuseImpossible(const Options &options, const Profile &profile) {
    if (!options.eeprom.empty() && profile.integer(Field::eeprom_size) == 0)
        throw Failure(Exit::usage, fmt::format("--eeprom: {} has no EEPROM", profile.name),
                      "Leave --eeprom out, or choose the right device.");
    const auto sequence = profile.bytes(Field::auto_sequence);
    const bool runsSequence = options.command->operation == Operation::automatic && profile.isHostDriven();
    const auto configures = static_cast<std::uint8_t>(Operation::programConfiguration);
    if (runsSequence && !options.configuration.empty() && !sequence.empty() &&
        std::find(sequence.begin(), sequence.end(), configures) == sequence.end())
        throw Failure(Exit::usage,
                      fmt::format("the automatic sequence of {} programs no configuration bytes", profile.name),
                      fmt::format("Add operation {} to auto_sequence in its profile, or use `mpu6 program`.",
                                  static_cast<int>(configures)));
}

/// A file that a read writes, and its format.
struct Output {
    Output(const Options &options, const fs::path &path) : format(outputFormat(options, path)), file(path) {}

    FileFormat format;
    OutputFile file;
};

/// Everything that a command's operations share.
class DeviceRun {
  public:
    DeviceRun(const Options &options, const Profile &profile, Display &display)
        : options_(options), profile_(profile), display_(display), base_(unsignedOf(profile.integer(Field::load_base))),
          host_(makeSessionHost(options, profile)), blocks_(options.instance ? *options.instance : freeInstance(),
                                                            static_cast<std::int32_t>(profile.bufferBytes())) {
        report_.device = profile.name;
    }

    OperationReport run() {
        const auto changes = configurationChanges(options_.configuration, profile_);
        std::optional<Output> output;
        std::optional<Output> eepromOutput;
        if (options_.command->needsOutput) {
            output.emplace(options_, options_.output);
            if (!options_.eeprom.empty()) eepromOutput.emplace(options_, options_.eeprom);
        }
        if (!options_.trace.empty()) trace_.emplace(options_.trace);
        storeProfile(blocks_, profile_);
        storeTexts(blocks_, options_.language);
        {
            const std::optional<Window> window = openWindow();
            const Session::Settings settings{mayAsk(),
                                             options_.answers,
                                             usesChipFile(),
                                             profile_.isHostDriven(),
                                             trace_ ? &*trace_ : nullptr,
                                             window ? &*window : nullptr};
            Session session(blocks_, *host_, display_, settings);
            session.initialiseConfiguration();
            storeConfiguration(blocks_, profile_);
            for (const auto &[offset, value] : changes)
                configuration()[offset] = value;
            load();
            loadEeprom();
            blocks_.releasePages("ibuffer");
            runOperations(session);
        }
        if (report_.outcome.code != Exit::done) return std::move(report_);
        if (!changes.empty()) noteConfiguration();
        if (output) save(*output);
        if (eepromOutput) saveEeprom(*eepromOutput);
        return std::move(report_);
    }

  private:
    static std::uint64_t unsignedOf(std::int64_t value) { return static_cast<std::uint64_t>(value); }

    [[nodiscard]] bool mayAsk() const {
        return !options_.neverAsk && ::isatty(STDIN_FILENO) != 0 && ::isatty(STDERR_FILENO) != 0;
    }
    /// Where questions are asked that the user wants in windows; nothing, with a word why, when none can be drawn.
    [[nodiscard]] std::optional<Window> openWindow() const {
        if (!options_.window || options_.neverAsk) return std::nullopt;
        try {
            return Window();
        } catch (const Failure &failure) {
            display_.error(fmt::format("{}; questions are asked on the terminal instead", failure.message()));
            return std::nullopt;
        }
    }
    /// A preparation fails because of the chip file, unless a fault is ordered for it.
    [[nodiscard]] bool usesChipFile() const {
        return !options_.chip.empty() && options_.faults.find("prepare") == std::string::npos;
    }
    [[nodiscard]] std::span<std::uint8_t> image() const {
        return blocks_.elements<std::uint8_t>("ibuffer").first(static_cast<std::size_t>(profile_.dataBytes()));
    }
    [[nodiscard]] std::span<std::uint8_t> configuration() const {
        return blocks_.elements<std::uint8_t>("ibuffer").subspan(image().size(), configurationBytesOf(profile_));
    }
    [[nodiscard]] std::span<std::uint8_t> eeprom() const {
        return blocks_.elements<std::uint8_t>("ibuffer").subspan(
            image().size() + configurationBytesOf(profile_),
            static_cast<std::size_t>(profile_.integer(Field::eeprom_size)));
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

    /// The EEPROM's image is erased bytes where the file has none.
    void loadEeprom() {
        if (options_.eeprom.empty() || !options_.command->needsInput) return;
        const LoadResult loaded = loadFile({options_.eeprom, options_.format, 0, {}, false}, eeprom());
        report_.eeprom = options_.eeprom.filename().string();
        display_.detail(
            fmt::format("Loaded {} bytes of EEPROM from {}", loaded.inside.size(), options_.eeprom.string()));
    }

    [[nodiscard]] bool verifies() const { return options_.command->operation == Operation::verify; }

    void runOperations(Session &session) {
        std::optional<AlgorithmDirectory> directory;
        if (!profile_.isHostDriven()) {
            directory.emplace(options_.algorithmDirectory, profile_);
            if (options_.algorithmDirectory.empty()) display_.detail("Using a sample algorithm image.");
        }
        if (options_.chip.empty()) display_.detail("The simulated chip is not kept; --chip FILE keeps one.");
        for (const Operation operation : operations()) {
            runOperation(session, directory, operation);
            if (report_.outcome.code != Exit::done) return;
        }
        report_.verified = options_.verify;
    }

    /// The command's operations. Configuration bytes are an operation of their own, unless the whole
    /// sequence runs.
    [[nodiscard]] std::vector<Operation> operations() const {
        const bool programs = options_.command->operation == Operation::program;
        const bool configures = !options_.configuration.empty();
        std::vector<Operation> list{options_.command->operation};
        if (programs && configures) list.push_back(Operation::programConfiguration);
        if (options_.verify) list.push_back(Operation::verify);
        if ((options_.verify || verifies()) && configures) list.push_back(Operation::checkConfiguration);
        return list;
    }

    void runOperation(Session &session, const std::optional<AlgorithmDirectory> &directory, Operation operation) {
        if (StopRequest::pending()) throw Failure(Exit::stopped, "stopped before the operation began");
        if (trace_) trace_->operation(static_cast<int>(operation), profile_.name);
        RunResult result = session.run(operation);
        host_->saveChip();
        OutcomeContext context{operation,
                               profile_.integer(Field::bytes_per_address),
                               base_,
                               profile_.dataBytes(),
                               static_cast<std::int64_t>(configurationBytesOf(profile_)),
                               profile_.integer(Field::family),
                               {}};
        if (directory && !result.evidence.algorithmLoaded) context.algorithmProblem = directory->problem();
        report_.outcome = judge(result.evidence, context);
        if (operation == Operation::verify) report_.differences = result.evidence.differences;
        report_.log.insert(report_.log.end(), result.log.begin(), result.log.end());
        if (trace_ && !trace_->ended(exitName(report_.outcome.code)))
            display_.error(
                fmt::format("mpu6: the trace {} is incomplete: it cannot be written", options_.trace.string()));
    }

    void noteConfiguration() { report_.configuration.assign(configuration().begin(), configuration().end()); }

    void save(Output &output) {
        report_.output = output.file.path().filename().string();
        report_.format = formatName(output.format);
        noteConfiguration();
        write(output, base_, image());
    }

    void saveEeprom(Output &output) {
        report_.eeprom = output.file.path().filename().string();
        write(output, 0, eeprom());
    }

    void write(Output &output, std::uint64_t base, std::span<std::uint8_t> bytes) {
        saveFile(output.file, output.format, base, bytes);
        display_.detail(fmt::format("Wrote {}", output.file.path().string()));
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
    refuseImpossible(absolute, profile);
    const StopRequest stopRequest;
    try {
        return DeviceRun(absolute, profile, display).run();
    } catch (const kx3::Error &error) {
        throw Failure(Exit::failed, "the simulated programmer failed: " + kx3::toUtf8(error.description()),
                      "Check the chip file and the room on its disk.");
    }
}

} // namespace kx3console
