// Outside components that record what they are asked, and answer as the test says.
#pragma once

#include "base/text.h"
#include "outside/clock.h"
#include "outside/programmer_io.h"
#include "outside/session_host.h"
#include "outside/ui.h"

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kx3::test {

using Bytes = std::vector<Byte>;

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

/// A session host that records its calls ("SetVcc 3300"), but for the comparisons, which find no difference,
/// and answers with the values set here.
class FakeSessionHost : public SessionHost {
  public:
    std::vector<std::string> calls;
    Long startCheck = 0;
    Long prepare = 0; ///< of all three preparation calls
    std::function<bool()> onPoll = [] { return true; };
    /// Called before each recorded call, for a call that fails.
    std::function<void(const std::string &)> onCall = [](const std::string &) {};

#define KX3_OPERATION(name, result, parameters, arguments)                                                             \
    result name parameters override {                                                                                  \
        const auto call = [this](auto... values) { return answer("" #name, values...); };                              \
        return static_cast<result>(call arguments);                                                                    \
    }
#include "outside/session_host_operations.inc"

  private:
    template <class... Values> Long answer(std::string_view name, Values... values) {
        if (name.starts_with("Compare")) return 0;
        std::string call(name);
        ((call += ' ' + std::to_string(values)), ...);
        onCall(call);
        calls.push_back(std::move(call));
        if (name == "StartCheck") return startCheck;
        if (name == "PollStatus") return onPoll() ? 1 : 0;
        return name.starts_with("Prepare") ? prepare : 0;
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
        const std::u16string text = std::u16string(static_cast<std::size_t>(digits), u'0') + hex(value);
        return text.substr(text.size() - static_cast<std::size_t>(digits));
    }
};

class FakeClock final : public Clock {
  public:
    float now = 43200.0F;
    float secondsSinceMidnight() override { return now; }
};

} // namespace kx3::test
