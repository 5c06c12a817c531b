#include "session.h"

#include "base/text.h"
#include "guarded_callback.h"
#include "question.h"
#include "stop_request.h"

#include <algorithm>

namespace kx3console {

namespace {

constexpr std::size_t resultCode = 0;
constexpr std::size_t selectedOperation = 1;
constexpr std::size_t progressValue = 1;
constexpr std::uint8_t resultStopped = 2;
/// A bulk read whose state is above this has failed.
constexpr std::uint8_t lastGoodReadState = 3;

/// Yields after which the pages of the device buffer that comparisons have touched are given back.
constexpr std::uint64_t releaseInterval = 16;

std::u16string_view textOf(const std::uint16_t *units, std::size_t length) {
    return units == nullptr ? std::u16string_view()
                            : std::u16string_view(reinterpret_cast<const char16_t *>(units), length);
}

kx3sim::HostBlocks hostBlocks(SharedBlocks &blocks) {
    kx3sim::HostBlocks host;
    host.ibuf1 = blocks.elements<std::uint8_t>("ibuf1");
    host.ibuffer = blocks.elements<std::uint8_t>("ibuffer");
    host.prgresult = blocks.elements<std::uint8_t>("prgresult");
    host.prgmode = blocks.elements<std::uint8_t>("prgmode");
    host.wordmode = blocks.elements<std::uint8_t>("wordmode");
    host.rambknum = blocks.elements<std::uint8_t>("rambknum");
    host.tlength = blocks.elements<std::int32_t>("tlength");
    host.ramlg = blocks.elements<std::int32_t>("ramlg");
    host.wlverifyvcc = blocks.elements<std::int32_t>("wlverifyvcc");
    host.wltbigendbuf = blocks.elements<double>("wltbigendbuf");
    host.appendText = [&blocks](kx3::Long index, std::u16string_view text) {
        blocks.storeText("MainRtstr", index, blocks.text("MainRtstr", index).append(text));
    };
    return host;
}

Differences differencesOf(const kx3sim::Mismatches &found) {
    return {found.bytes,       found.firstAddress,     found.firstDevice,
            found.firstBuffer, found.zeroInsteadOfOne, found.oneInsteadOfZero};
}

} // namespace

void Session::Release::operator()(kx3_mpu *mpu) const noexcept {
    kx3_mpu_freesharebuffermpu6(mpu);
    kx3_mpu_release(mpu);
}

Session::Session(SharedBlocks &blocks, kx3sim::SessionHost &host, Display &display, const Settings &settings)
    : blocks_(blocks), host_(host), display_(display), settings_(settings),
      result_(blocks.elements<std::uint8_t>("prgresult")), mode_(blocks.elements<std::uint8_t>("prgmode")),
      logText_(blocks.elements<std::uint32_t>("MainRtstr")),
      announcements_(
          {result_, mode_, blocks.elements<std::uint8_t>("wautonum"), blocks.elements<std::uint8_t>("autoprg")}),
      answers_(settings.answers), calls_{host, blocks.elements<std::uint8_t>("ibuf1"), current_.evidence,
                                         settings.trace} {
    host_.setBlocks(hostBlocks(blocks_));

    kx3_ui ui{};
    ui.struct_size = sizeof ui;
    ui.context = this;
    ui.yield = yield;
    ui.message_box = messageBox;
    const kx3_session_host sessionHost = sessionHostCallbacks(calls_);
    if (kx3_set_ui(&ui) != KX3_OK || kx3_set_session_host(&sessionHost) != KX3_OK)
        throw pluginFailure("handing over the callbacks");
    observeIo(calls_);

    kx3_mpu *mpu = nullptr;
    if (kx3_mpu_create(&mpu) != KX3_OK) throw pluginFailure("creating the plug-in's entry object");
    mpu_.reset(mpu);
    std::int16_t instance = blocks_.instance();
    if (kx3_mpu_bufcommpu6(mpu_.get(), &instance) != KX3_OK) throw pluginFailure("attaching the shared blocks");
}

Session::~Session() {
    mpu_.reset();
    kx3_observe_io(nullptr, nullptr);
    kx3_set_session_host(nullptr);
    kx3_set_ui(nullptr);
}

void Session::initialiseConfiguration() {
    if (kx3_mpu_sinitmpu6(mpu_.get()) != KX3_OK) throw pluginFailure("writing the default configuration bytes");
}

RunResult Session::run(Operation operation) {
    current_ = {};
    current_.evidence.chipFileUsed = settings_.chipFileUsed;
    current_.evidence.hostDriven = settings_.hostDriven;
    announcements_.restart();
    answers_.restart();
    const auto number = static_cast<std::uint8_t>(operation);
    caption_ = kx3::toUtf8(blocks_.text("MainmnuPrg", number));
    result_[resultCode] = 0;
    result_[selectedOperation] = number;
    blocks_.storeText("MainRtstr", 0, u"");
    blocks_.storeText("MainRtstr", 1, u"");
    shownText_.clear();

    std::int16_t unused = 0;
    const kx3_status status = kx3_mpu_runMpu6Prg(mpu_.get(), &unused);
    Evidence &seen = current_.evidence;
    // The plug-in takes the value back before it returns.
    if (seen.signalledPass) display_.progress(caption_, 100);
    display_.endProgress();
    if (status != KX3_OK) seen.callFailure = kx3_last_error();
    seen.sessionFailure = kx3_session_failure();
    showLogText(blocks_.text("MainRtstr", 0));
    seen.trouble = host_.trouble();
    seen.resultCode = result_[resultCode];
    seen.differences = differencesOf(host_.mismatches());
    if (blocks_.elements<std::uint8_t>("usbpip2readresult").front() > lastGoodReadState) seen.transferFailed = true;
    return std::move(current_);
}

kx3_status Session::yield(void *context) {
    return guardedCallback([context] { static_cast<Session *>(context)->duringYield(); });
}

void Session::duringYield() {
    const auto announced = settings_.hostDriven ? announcements_.take() : std::nullopt;
    if (settings_.trace != nullptr && !announced) settings_.trace->yield();
    host_.duringYield();
    if (announced)
        carryOut(*announced);
    else if (StopRequest::pending())
        requestStop();
    if (++yields_ % releaseInterval == 0) blocks_.releasePages("ibuffer");
    showLog();
    display_.progress(caption_, mode_[progressValue]);
}

void Session::requestStop() {
    if (!std::exchange(current_.evidence.stopRequested, true)) display_.message("Stopping; please wait.");
    // A transfer's result may have overwritten an earlier request.
    result_[resultCode] = resultStopped;
}

/// Carry out a step that the plug-in has announced, unless a stop is asked for: the steps before have
/// been finished, and this one has not begun.
void Session::carryOut(std::uint8_t operation) {
    Evidence &seen = current_.evidence;
    seen.step = static_cast<Operation>(operation);
    seen.stepName = kx3::toUtf8(blocks_.text("MainmnuPrg", operation));
    caption_ = seen.stepName;
    showLog();
    if (StopRequest::pending())
        requestStop();
    else
        host_.carryOut(operation);
    if (settings_.trace != nullptr) settings_.trace->carriedOut(operation, seen.stepName, result_[resultCode]);
}

/// Show what the log has got since the last time.
void Session::showLog() {
    if (std::exchange(shownHandle_, logText_[0]) == logText_[0]) return;
    showLogText(blocks_.text("MainRtstr", 0));
}

void Session::showLogText(const std::u16string &text) {
    // A verify replaces the log at its end.
    const bool goesOn = text.compare(0, shownText_.size(), shownText_) == 0;
    const std::string added = kx3::toUtf8(std::u16string_view(text).substr(goesOn ? shownText_.size() : 0));
    shownText_ = text;
    for (std::size_t start = 0; start < added.size();) {
        const std::size_t end = std::min(added.find('\n', start), added.size());
        const std::string line = added.substr(start, end - start);
        start = end + 1;
        if (line.empty()) continue;
        display_.message(line);
        current_.log.push_back(line);
    }
}

kx3_status Session::messageBox(void *context, const std::uint16_t *prompt, std::size_t promptLength, std::int32_t style,
                               const std::uint16_t *title, std::size_t titleLength, std::int32_t *button) {
    return guardedCallback([&] {
        *button = static_cast<Session *>(context)->answer(kx3::toUtf8(textOf(title, titleLength)),
                                                          kx3::toUtf8(textOf(prompt, promptLength)), style);
    });
}

std::int32_t Session::answer(const std::string &title, const std::string &prompt, std::int32_t style) {
    const std::optional<std::int32_t> prepared = answers_.to(style);
    const bool inWindow = settings_.window != nullptr && !prepared;
    const std::int32_t button = inWindow ? settings_.window->ask(title, prompt, style)
                                         : Question(title, prompt, style).ask(display_, settings_.mayAsk, prepared);
    if (button == KX3_BUTTON_ABORT) current_.evidence.identityQuestion = true;
    if (StopRequest::pending()) requestStop();
    if (settings_.trace != nullptr) settings_.trace->messageBox(title, prompt, style, button);
    return button;
}

} // namespace kx3console
