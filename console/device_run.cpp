#include "device_run.h"

#include "base/error.h"
#include "base/text.h"
#include "load_file.h"
#include "programmer.h"
#include "save_file.h"
#include "stop_request.h"
#include "texts.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <utility>

namespace kx3console {

namespace fs = std::filesystem;

namespace {

struct FileOption {
    std::string_view name;
    fs::path Options::*path;
};

constexpr std::array fileOptions{FileOption{"--chip", &Options::chip}, FileOption{"--eeprom", &Options::eeprom},
                                 FileOption{"--input", &Options::input}, FileOption{"--output", &Options::output},
                                 FileOption{"--trace", &Options::trace}};

/// Paths that hold in every directory.
void makePathsAbsolute(Options &options) {
    const auto change = [&options](fs::path Options::*path) {
        if (!(options.*path).empty()) options.*path = fs::absolute(options.*path);
    };
    for (const FileOption &option : fileOptions)
        change(option.path);
    change(&Options::algorithmDirectory);
}

/// One file must not play two parts, of which one is written.
void refuseSharedFiles(const Options &options) {
    for (const auto *left = fileOptions.begin(); left != fileOptions.end(); ++left)
        for (const auto *right = left + 1; right != fileOptions.end(); ++right) {
            const fs::path &path = options.*left->path;
            const fs::path &other = options.*right->path;
            if (!path.empty() && !other.empty() && fs::weakly_canonical(path) == fs::weakly_canonical(other))
                throw Failure(Exit::refused,
                              fmt::format("{} and {} name the same file {}", left->name, right->name, path.string()),
                              "Give each a file of its own.");
        }
}

/// What the command line asks of this device must be possible before anything is touched.
void refuseImpossible(const Options &options, const Profile &profile) {
    if (!options.eeprom.empty() && profile.integer(ProfileKey::eeprom_size) == 0)
        throw Failure(Exit::usage, fmt::format("--eeprom: {} has no EEPROM", profile.name),
                      "Leave --eeprom out, or choose the right device.");
    const auto sequence = profile.bytes(ProfileKey::auto_sequence);
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
    Output(const Options &options, const fs::path &path)
        : format(formatOfNewFile(path, options.format, "ihex, srec or raw")), file(path) {}

    FileFormat format;
    OutputFile file;
};

/// Where questions are asked that the user wants in windows; nothing, with the reason, when none can be drawn.
std::optional<Window> openWindow(const Options &options, Display &display) {
    if (!options.window || options.yes) return std::nullopt;
    try {
        return Window();
    } catch (const Failure &failure) {
        display.error(fmt::format("{}; questions are asked on the terminal instead", failure.message()));
        return std::nullopt;
    }
}

/// Everything that a command's operations share.
class DeviceRun {
  public:
    DeviceRun(const Options &options, const Profile &profile, Display &display)
        : options_(options), profile_(profile), display_(display), host_(sessionHostOf(options, profile)),
          blocks_(options.instance, static_cast<std::int32_t>(profile.bufferBytes())) {
        report_.device = profile.name;
    }

    RunReport run() {
        const auto changes = configurationChanges(options_.configuration, profile_);
        std::optional<Output> output;
        std::optional<Output> eepromOutput;
        if (options_.command->needsOutput()) {
            output.emplace(options_, options_.output);
            if (!options_.eeprom.empty()) eepromOutput.emplace(options_, options_.eeprom);
        }
        if (!options_.trace.empty()) trace_.emplace(options_.trace);
        storeProfile(blocks_, profile_);
        storeTexts(blocks_, options_.language);
        work(changes);
        if (report_.failure) return std::move(report_);
        if (!changes.empty() || output) report_.configuration.assign(configuration().begin(), configuration().end());
        if (output) {
            report_.output = output->file.path().filename().string();
            report_.format = formatName(output->format);
            save(*output, profile_.loadBase(), image());
        }
        if (eepromOutput) {
            report_.eeprom = eepromOutput->file.path().filename().string();
            save(*eepromOutput, 0, eeprom());
        }
        return std::move(report_);
    }

  private:
    // The parts of the device buffer.
    [[nodiscard]] std::span<std::uint8_t> image() const {
        return blocks_.deviceBuffer().first(static_cast<std::size_t>(profile_.dataBytes()));
    }
    [[nodiscard]] std::span<std::uint8_t> configuration() const {
        return blocks_.deviceBuffer().subspan(image().size(), configurationBytesOf(profile_));
    }
    [[nodiscard]] std::span<std::uint8_t> eeprom() const {
        return blocks_.deviceBuffer().subspan(image().size() + configuration().size(),
                                              static_cast<std::size_t>(profile_.integer(ProfileKey::eeprom_size)));
    }

    /// Load the files and run the operations.
    void work(const std::map<std::size_t, std::uint8_t> &changes) {
        const std::optional<Window> window = openWindow(options_, display_);
        Programmer programmer(
            options_, profile_, host_, blocks_, display_,
            {trace_ ? &*trace_ : nullptr, window ? &*window : nullptr, !options_.yes && onTerminal()});
        programmer.plugin().writeDefaults();
        storeConfiguration(blocks_, profile_);
        for (const auto &[offset, value] : changes)
            configuration()[offset] = value;
        load();
        loadEeprom();
        blocks_.releasePages("ibuffer");
        for (const Operation operation : operations()) {
            RunResult result = programmer.run(operation);
            report_.failure = std::move(result.failure);
            if (operation == Operation::verify) report_.differences = result.differences;
            report_.log.insert(report_.log.end(), result.log.begin(), result.log.end());
            if (report_.failure) return;
        }
        report_.verified = options_.verify;
    }

    void load() {
        const std::uint64_t base = profile_.loadBase();
        const AddressRange device{base, base + image().size()};
        report_.bytes = image().size();
        if (!options_.command->needsInput()) {
            if (!options_.command->needsOutput()) std::fill(image().begin(), image().end(), erasedByte);
            return;
        }
        const LoadResult loaded =
            loadFile({options_.input, options_.format, base, options_.base, options_.skipOutside}, image());
        AddressRanges gaps(device);
        gaps -= loaded.inside;
        for (const AddressRange &gap : gaps)
            std::fill_n(image().begin() + static_cast<std::ptrdiff_t>(gap.lower() - base), gap.upper() - gap.lower(),
                        erasedByte);
        report_.input = options_.input.filename().string();
        report_.format = formatName(loaded.format);
        if (!verifies()) report_.bytes = loaded.inside.size();
        report_.outside = rangesText(loaded.outside);
        display_.detail(fmt::format("Loaded {} bytes from {} ({}): {}", loaded.inside.size(), options_.input.string(),
                                    report_.format, rangesText(loaded.inside)));
        if (!report_.outside.empty())
            display_.message(
                fmt::format("Left out {} bytes outside the device: {}", loaded.outside.size(), report_.outside));
    }

    /// The EEPROM's image is erased bytes where the file has none.
    void loadEeprom() {
        if (options_.eeprom.empty() || !options_.command->needsInput()) return;
        const LoadResult loaded = loadFile({options_.eeprom, options_.format, 0, {}, false}, eeprom());
        report_.eeprom = options_.eeprom.filename().string();
        display_.detail(
            fmt::format("Loaded {} bytes of EEPROM from {}", loaded.inside.size(), options_.eeprom.string()));
    }

    [[nodiscard]] bool verifies() const { return options_.command->operation == Operation::verify; }

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

    void save(Output &output, std::uint64_t base, std::span<const std::uint8_t> bytes) {
        saveFile(output.file, output.format, base, bytes);
        display_.detail(fmt::format("Wrote {}", output.file.path().string()));
    }

    const Options &options_;
    const Profile &profile_;
    Display &display_;
    kx3sim::SessionHost host_;
    SharedBlocks blocks_;
    std::optional<Trace> trace_;
    RunReport report_;
};

} // namespace

RunReport runOnDevice(Options options, const Profile &profile, Display &display) {
    makePathsAbsolute(options);
    refuseSharedFiles(options);
    refuseImpossible(options, profile);
    const StopRequest stopRequest;
    try {
        return DeviceRun(options, profile, display).run();
    } catch (const kx3::Error &error) {
        throw Failure(Exit::failed, "the simulated programmer failed: " + kx3::toUtf8(error.description()),
                      "Check the chip file and the room on its disk.");
    }
}

} // namespace kx3console
