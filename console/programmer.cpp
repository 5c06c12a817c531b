#include "programmer.h"

#include "base/error.h"
#include "base/text.h"
#include "geometry.h"
#include "platform/dynamic_library.h"
#include "stop_request.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

namespace kx3console {

namespace {

// Elements of `prgresult` and `prgmode`.
constexpr std::size_t resultCode = 0;
constexpr std::size_t selectedOperation = 1;
constexpr std::size_t progressValue = 1;
/// The session window announces an operation by this value of the progress; a host that has taken note
/// puts its own progress there.
constexpr std::uint8_t announcement = 1;
constexpr std::uint8_t finished = 100;

/// A bulk read whose state is above this has failed.
constexpr std::uint8_t lastGoodReadState = 3;
/// Yields after which the pages of the device buffer that comparisons have touched are given back.
constexpr std::uint64_t releaseInterval = 16;
/// The outcome's explanation of an algorithm image that is missing or refused; the image itself says more.
constexpr std::string_view algorithmFileError = "Read algo file error!";

kx3sim::Options simulatorOptions(const Options &options, const Profile &profile) {
    kx3sim::Options simulator;
    if (!options.chip.empty()) simulator.chipFile = std::filesystem::absolute(options.chip);
    simulator.maker = static_cast<kx3::Byte>(profile.integer(ProfileKey::maker_id));
    simulator.deviceCodes = {static_cast<kx3::Byte>(profile.integer(ProfileKey::device_id))};
    simulator.firmwareVersion = static_cast<kx3::Byte>(profile.integer(ProfileKey::firmware_version));
    simulator.faults = options.faults;
    simulator.seed = options.seed;
    simulator.eepromBytes = static_cast<kx3::Long>(profile.integer(ProfileKey::eeprom_size));
    return simulator;
}

kx3sim::HostBlocks hostBlocks(SharedBlocks &blocks) {
    return {.ibuf1 = blocks.elements<std::uint8_t>("ibuf1"),
            .ibuffer = blocks.deviceBuffer(),
            .prgresult = blocks.elements<std::uint8_t>("prgresult"),
            .prgmode = blocks.elements<std::uint8_t>("prgmode"),
            .wordmode = blocks.elements<std::uint8_t>("wordmode"),
            .rambknum = blocks.elements<std::uint8_t>("rambknum"),
            .tlength = blocks.elements<std::int32_t>("tlength"),
            .ramlg = blocks.elements<std::int32_t>("ramlg"),
            .wlverifyvcc = blocks.elements<std::int32_t>("wlverifyvcc"),
            .wltbigendbuf = blocks.elements<double>("wltbigendbuf"),
            .appendText = [&blocks](kx3::Long index, std::u16string_view text) {
                blocks.storeText("MainRtstr", index, blocks.text("MainRtstr", index).append(text));
            }};
}

} // namespace

kx3sim::SessionHost sessionHostOf(const Options &options, const Profile &profile) {
    try {
        // The plug-in would miss this library only in the middle of a session; the other one is linked.
        static_cast<void>(kx3::platform::DynamicLibrary("kx3io").function<void()>("datstr"));
        return kx3sim::SessionHost(simulatorOptions(options, profile));
    } catch (const kx3::Error &error) {
        const std::string reason = kx3::toUtf8(error.description());
        if (error.number() == kx3::ErrorNumber::invalidCall)
            throw Failure(Exit::usage, "--faults: " + reason, "The simulator's documentation lists the faults.");
        throw Failure(Exit::noAnswer, "the programmer's I/O libraries cannot be used: " + reason,
                      "Install libkx6io.so and libkx3io.so beside the plug-in.");
    }
}

Programmer::Programmer(const Options &options, const Profile &profile, kx3sim::SessionHost &host, SharedBlocks &blocks,
                       Display &display, const Surroundings &surroundings)
    : options_(options), profile_(profile), host_(host), blocks_(blocks), display_(display),
      surroundings_(surroundings), questions_(options.answers, surroundings.mayAsk, surroundings.window, display),
      result_(blocks.elements<std::uint8_t>("prgresult")), mode_(blocks.elements<std::uint8_t>("prgmode")),
      logText_(blocks.elements<std::uint32_t>("MainRtstr")),
      calls_(host_, blocks.elements<std::uint8_t>("ibuf1"), surroundings.trace),
      plugin_(blocks,
              {[this] { duringYield(); }, [this](const std::string &title, const std::string &prompt,
                                                 std::int32_t style) { return answer(title, prompt, style); }}) {
    host_.setBlocks(hostBlocks(blocks_));
}

/// Before the first run: images of the algorithm, for a device that a driver serves.
void Programmer::begin() {
    if (const auto driver = driverOf(profile_)) {
        directory_.emplace(options_.algorithmDirectory, profile_, *driver);
        if (options_.algorithmDirectory.empty()) display_.detail("Using a sample algorithm image.");
    }
    if (options_.chip.empty()) display_.detail("The simulated chip is not kept; --chip FILE keeps one.");
}

RunResult Programmer::run(Operation operation) {
    Trace *const trace = surroundings_.trace;
    if (!std::exchange(begun_, true)) begin();
    if (StopRequest::pending()) throw Failure(Exit::stopped, "stopped before the operation began");
    if (trace != nullptr) trace->begun(static_cast<int>(operation), profile_.name);
    prepare(operation);
    calls_.evidence.callFailure = plugin_.run().value_or("");
    collect();
    host_.saveChip();

    const Evidence &seen = calls_.evidence;
    const std::string problem = directory_ && !seen.algorithmLoaded ? directory_->problem() : "";
    RunResult result{judge(seen, operation, profile_, problem), seen.differences, std::move(log_)};
    const Exit code = result.failure ? result.failure->code() : Exit::done;
    if (trace != nullptr && !trace->ended(exitName(code)))
        display_.error(fmt::format("mpu6: the trace {} is incomplete: it cannot be written", options_.trace.string()));
    return result;
}

void Programmer::prepare(Operation operation) {
    calls_.evidence = {};
    // A preparation fails because of the chip file, unless a fault is ordered for it.
    calls_.evidence.chipFileUsed = !options_.chip.empty() && options_.faults.find("prepare") == std::string::npos;
    calls_.evidence.hostDriven = profile_.isHostDriven();
    nextStep_ = 0;
    questions_.restart();
    log_.clear();
    shownText_.clear();
    const auto number = static_cast<std::uint8_t>(operation);
    caption_ = kx3::toUtf8(blocks_.text("MainmnuPrg", number));
    result_[resultCode] = resultPassed;
    result_[selectedOperation] = number;
    for (const std::int32_t element : {0, 1})
        blocks_.storeText("MainRtstr", element, u"");
}

void Programmer::collect() {
    Evidence &seen = calls_.evidence;
    // The plug-in takes the value back before it returns.
    if (seen.signalledPass) display_.progress(caption_, 100);
    display_.endProgress();
    const char *explanation = nullptr;
    if (kx3_session_outcome(&explanation) == KX3_ENDED_BY_ERROR && explanation != algorithmFileError)
        seen.sessionFailure = explanation;
    showLog();
    seen.trouble = host_.trouble();
    seen.resultCode = result_[resultCode];
    seen.differences = host_.mismatches();
    if (blocks_.elements<std::uint8_t>("usbpip2readresult").front() > lastGoodReadState) seen.transferFailed = true;
}

void Programmer::duringYield() {
    const auto step = profile_.isHostDriven() ? announcedStep() : std::nullopt;
    if (surroundings_.trace != nullptr && !step) surroundings_.trace->yield();
    host_.duringYield();
    if (step)
        carryOut(*step);
    else if (StopRequest::pending())
        requestStop();
    if (++yields_ % releaseInterval == 0) blocks_.releasePages("ibuffer");
    if (std::exchange(shownHandle_, logText_[0]) != logText_[0]) showLog();
    display_.progress(caption_, mode_[progressValue]);
}

/// The session window announces every step once, in the order of the sequence, by a state that it sets
/// just before it yields; the state does not say which step it is, so that they are counted.
std::optional<Operation> Programmer::announcedStep() {
    if (mode_[progressValue] != announcement) return std::nullopt;
    mode_[progressValue] = finished;
    const auto single = static_cast<Operation>(result_[selectedOperation]);
    if (single != Operation::automatic) return single;
    const auto sequence = profile_.bytes(ProfileKey::auto_sequence);
    return sequence.empty() ? Operation::automaticProgram : static_cast<Operation>(sequence[nextStep_++]);
}

void Programmer::requestStop() {
    if (!std::exchange(calls_.evidence.stopRequested, true)) display_.message("Stopping; please wait.");
    // A transfer's result may have overwritten an earlier request.
    result_[resultCode] = resultStopped;
}

/// Carry out a step that the plug-in has announced, unless a stop is asked for: the steps before have
/// been finished, and this one has not begun.
void Programmer::carryOut(Operation operation) {
    const auto number = static_cast<std::uint8_t>(operation);
    calls_.evidence.step = operation;
    calls_.evidence.stepName = caption_ = kx3::toUtf8(blocks_.text("MainmnuPrg", number));
    showLog();
    if (StopRequest::pending())
        requestStop();
    else
        host_.carryOut(number);
    if (surroundings_.trace != nullptr) surroundings_.trace->carriedOut(number, caption_, result_[resultCode]);
}

/// Show what the log has got since the last time.
void Programmer::showLog() {
    const std::u16string text = blocks_.text("MainRtstr", 0);
    // A verify replaces the log at its end.
    const bool goesOn = text.starts_with(shownText_);
    const std::string added = kx3::toUtf8(std::u16string_view(text).substr(goesOn ? shownText_.size() : 0));
    shownText_ = text;
    for (std::size_t start = 0; start < added.size();) {
        const std::size_t end = std::min(added.find('\n', start), added.size());
        const std::string line = added.substr(start, end - start);
        start = end + 1;
        if (line.empty()) continue;
        display_.message(line);
        log_.push_back(line);
    }
}

std::int32_t Programmer::answer(const std::string &title, const std::string &prompt, std::int32_t style) {
    const std::int32_t button = questions_.answer(title, prompt, style);
    if (button == KX3_BUTTON_ABORT) calls_.evidence.identityQuestion = true;
    if (StopRequest::pending()) requestStop();
    if (surroundings_.trace != nullptr) surroundings_.trace->messageBox(title, prompt, style, button);
    return button;
}

} // namespace kx3console
