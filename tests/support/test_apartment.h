// One host thread with fake outside components, and the host's own view of the shared blocks.
#pragma once

#include "base/text.h"
#include "host/apartment.h"
#include "host/mpu.h"

#include <cstdlib>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#if !defined(_WIN32)
#include <unistd.h>
#endif

namespace kx3::test {

/// Blocks of test processes that run at the same time must not meet.
inline void useOwnNamespace() {
#if !defined(_WIN32)
    ::setenv("KX3MPU6_NAMESPACE", ("test" + std::to_string(::getpid())).c_str(), 1);
#endif
}

/// Keeps every message box, answers them in order (OK when no answer is left), and calls hooks for
/// yields and modal forms.
class FakeUi final : public Ui {
  public:
    struct Box {
        std::u16string prompt;
        Long style;
        std::optional<std::u16string> title;
    };
    std::vector<Box> boxes;
    std::deque<MessageBoxResult> answers;
    int yields = 0;
    std::function<void()> onYield = [] {};
    std::function<void(Form &)> onModal = [](Form &) {};

    MessageBoxResult messageBox(std::u16string_view prompt, Long style,
                                std::optional<std::u16string_view> title) override {
        boxes.push_back({std::u16string(prompt), style, title ? std::optional(std::u16string(*title)) : std::nullopt});
        if (answers.empty()) return MessageBoxResult::ok;
        const MessageBoxResult answer = answers.front();
        answers.pop_front();
        return answer;
    }
    void yield() override {
        ++yields;
        onYield();
    }
    void showModal(Form &form) override { onModal(form); }
};

/// A session host that records its calls ("SetVcc 3300") and answers with the values set here.
class FakeSessionHost final : public SessionHost {
  public:
    std::vector<std::string> calls;
    Long startCheck = 0;
    Long prepare = 0;
    std::function<bool()> onPoll = [] { return true; };
    std::function<Long(Byte, Long)> onCompareByte = [](Byte, Long) { return 0; };
    std::function<Long(Byte, Byte, Long)> onCompareWord = [](Byte, Byte, Long) { return 0; };
    /// Called before each recorded call, for a call that fails.
    std::function<void(const std::string &)> onCall = [](const std::string &) {};

    void EndOperation() override { record("EndOperation"); }
    void SetVcc(Long millivolts) override { record("SetVcc", millivolts); }
    void SetGndPin(Byte pin, Byte state) override { record("SetGndPin", pin, state); }
    void PowerStep(Long step) override { record("PowerStep", step); }
    void SignalPass(Long value) override { record("SignalPass", value); }
    void SignalFail(Long value) override { record("SignalFail", value); }
    Long StartCheck() override { return record("StartCheck"), startCheck; }
    void Delay(Long milliseconds) override { record("Delay", milliseconds); }
    bool PollStatus(Long request) override { return record("PollStatus", request), onPoll(); }
    void ReportStartFailure() override { record("ReportStartFailure"); }
    Long PrepareChip(Byte figmode) override { return record("PrepareChip", figmode), prepare; }
    Long PrepareDevice32f(Byte figmode, Byte zero) override {
        return record("PrepareDevice32f", figmode, zero), prepare;
    }
    Long PrepareDevice(Byte figmode, Byte zero) override { return record("PrepareDevice", figmode, zero), prepare; }
    Long CompareWord(Byte low, Byte high, Long address, Long, Long) override {
        return onCompareWord(low, high, address);
    }
    Long CompareByte(Byte data, Long address, Long) override { return onCompareByte(data, address); }
    void AlgorithmLoaded(Long length) override { record("AlgorithmLoaded", length); }

  private:
    template <class... Values> void record(const char *name, Values... values) {
        std::string call = name;
        ((call += ' ' + std::to_string(values)), ...);
        onCall(call);
        calls.push_back(std::move(call));
    }
};

/// Programmer I/O whose functions are hooks; without them every call succeeds and does nothing.
class FakeProgrammerIo final : public ProgrammerIo {
  public:
    std::function<Integer(Byte *, Long)> onComWrite = [](Byte *, Long) { return Integer{0}; };
    std::function<Integer(Byte *, Long)> onBulkWrite = [](Byte *, Long) { return Integer{0}; };
    std::function<void(Byte *, Long, Byte *)> onBulkRead = [](Byte *, Long, Byte *state) { *state = 2; };

    Integer usbcomwrite(Byte *packet, Long count) override { return onComWrite(packet, count); }
    Integer usbbulkwrite(Byte *data, Long count) override { return onBulkWrite(data, count); }
    void usbbulkread(Byte *destination, Long count, Byte *state) override { onBulkRead(destination, count, state); }
    std::u16string datstr(Long value, Long digits) override {
        std::u16string text = hex(value);
        const auto width = static_cast<std::size_t>(digits);
        text.insert(0, text.size() < width ? width - text.size() : 0, u'0');
        return text.substr(text.size() - width);
    }
};

class FakeClock final : public Clock {
  public:
    float now = 43200.0F;
    float secondsSinceMidnight() override { return now; }
};

/// A plug-in on fake outside components. `host` is the host's own view of the blocks: it holds them
/// open, sets values before an operation and reads the results.
class TestApartment {
  public:
    TestApartment() : TestApartment(std::make_unique<FakeProgrammerIo>()) {}
    explicit TestApartment(std::unique_ptr<FakeProgrammerIo> programmer)
        : io(*programmer), sessionHost(std::make_shared<FakeSessionHost>()), apartment(outside(std::move(programmer))) {
    }

    /// Create all blocks as a host does, with `buflength`(0) = `bufferLength`, and attach the
    /// plug-in to them.
    void attach(Long bufferLength, Integer instance = 1) {
        host.MapSharedBlocks(instance, hostUi_);
        host.buflength(0) = bufferLength;
        host.MapDeviceBuffer(bufferLength + deviceBufferExtra, hostUi_);
        mpu.bufcommpu6(instance);
    }

    FakeProgrammerIo &io;
    std::shared_ptr<FakeSessionHost> sessionHost;
    FakeUi *ui = nullptr;
    FakeClock *clock = nullptr;
    sharemap host;
    Apartment apartment;
    clsMPU mpu{apartment};

  private:
    Outside outside(std::unique_ptr<ProgrammerIo> programmer) {
        useOwnNamespace();
        auto fakeUi = std::make_unique<FakeUi>();
        auto fakeClock = std::make_unique<FakeClock>();
        ui = fakeUi.get();
        clock = fakeClock.get();
        return {std::move(programmer), [this] { return sessionHost; }, std::move(fakeUi), std::move(fakeClock)};
    }

    FakeUi hostUi_;
};

} // namespace kx3::test
