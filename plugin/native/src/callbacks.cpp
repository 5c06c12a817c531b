// The plug-in's outside components on the host's callbacks.

#include "thread_state.h"

#include "doorstep/programmer_libraries.h"
#include "doorstep/system_clock.h"
#include "forms/form.h"

namespace kx3::native {

namespace {

constexpr int programmerFunctions = 0
#define KX3_PROGRAMMER_FUNCTION(...) +1
#include "outside/programmer_functions.inc"
    ;
static_assert(programmerFunctions == KX3_DATSTR,
              "each function has its number in kx3_io_call, and ObservedProgrammer reports it");

const std::uint16_t *units(std::u16string_view text) { return reinterpret_cast<const std::uint16_t *>(text.data()); }

/// A form handle is good while its callback runs.
class FormInHand {
  public:
    FormInHand(std::vector<ShownForm> &forms, Form &form) : forms_(forms) { forms.push_back({&form, FormView(form)}); }
    ~FormInHand() { forms_.pop_back(); }
    FormInHand(const FormInHand &) = delete;
    FormInHand &operator=(const FormInHand &) = delete;

  private:
    std::vector<ShownForm> &forms_;
};

class CallbackUi final : public Ui {
  public:
    explicit CallbackUi(Callbacks &callbacks) noexcept : callbacks_(callbacks) {}

    MessageBoxResult messageBox(std::u16string_view prompt, Long style,
                                std::optional<std::u16string_view> title) override {
        const kx3_ui &ui = callbacks_.ui;
        if (ui.message_box == nullptr)
            raise(ErrorNumber::notAvailable, join(u"No callback for message boxes; the box said: ", prompt));
        std::int32_t button = KX3_BUTTON_OK;
        const std::u16string_view caption = title.value_or(std::u16string_view());
        requireOk(callbacks_,
                  ui.message_box(ui.context, units(prompt), prompt.size(), style, title ? units(caption) : nullptr,
                                 caption.size(), &button),
                  "message_box");
        return static_cast<MessageBoxResult>(button);
    }

    void yield() override {
        const kx3_ui &ui = callbacks_.ui;
        if (ui.yield != nullptr) requireOk(callbacks_, ui.yield(ui.context), "yield");
    }

    void showModal(Form &form) override {
        const kx3_ui &ui = callbacks_.ui;
        if (ui.show_form == nullptr) raise(ErrorNumber::notAvailable, u"No callback for dialogs");
        const FormInHand shown(callbacks_.shownForms, form);
        requireOk(callbacks_, ui.show_form(ui.context, reinterpret_cast<kx3_form *>(&form)), "show_form");
    }

  private:
    Callbacks &callbacks_;
};

class CallbackSessionHost final : public SessionHost {
  private:
    template <class... Arguments, class... Values>
    void call(kx3_status (*kx3_session_host::*member)(void *, Arguments...), const char *name, Values... values) {
        const kx3_session_host &host = callbacks_.sessionHost;
        if (host.*member == nullptr) raiseMissing(name);
        const kx3_status status = (host.*member)(host.context, values...);
        if (status != KX3_OK) [[unlikely]]
            requireOk(callbacks_, status, name);
    }

    [[noreturn]] void raiseMissing(const char *name) const {
        if (callbacks_.hasSessionHost) raise(ErrorNumber::memberNotFound, join(u"SessionHost has no ", fromUtf8(name)));
        raise(ErrorNumber::objectNotSet, u"SessionHost was taken away; call kx3_set_session_host");
    }

    /// The operation behind `member`, to be called with its arguments.
    template <class Result, class Member> auto operation(Member member, const char *name) {
        return [this, member, name](auto... values) -> Result {
            if constexpr (std::is_void_v<Result>) {
                this->call(member, name, values...);
            } else {
                Long result = 0;
                this->call(member, name, values..., &result);
                return static_cast<Result>(result);
            }
        };
    }

  public:
    explicit CallbackSessionHost(Callbacks &callbacks) noexcept : callbacks_(callbacks) {}

#define KX3_OPERATION(name, result, parameters, arguments)                                                             \
    result name parameters override { return operation<result>(&kx3_session_host::name, #name) arguments; }
#include "outside/session_host_operations.inc"

  private:
    Callbacks &callbacks_;
};

/// The programmer I/O libraries, with each call reported to the host's observer if there is one.
class ObservedProgrammer final : public ProgrammerIo {
  public:
    explicit ObservedProgrammer(const Callbacks &callbacks) noexcept : callbacks_(callbacks) {}

    Integer usbcomwrite(Byte *packet, Long count) override {
        const Integer status = libraries_.usbcomwrite(packet, count);
        report({sizeof(kx3_io_call), KX3_USBCOMWRITE, packet, count, status});
        return status;
    }
    Integer usbbulkwrite(Byte *data, Long count) override {
        const Integer status = libraries_.usbbulkwrite(data, count);
        report({sizeof(kx3_io_call), KX3_USBBULKWRITE, data, count, status});
        return status;
    }
    void usbbulkread(Byte *destination, Long count, Byte *state) override {
        libraries_.usbbulkread(destination, count, state);
        report({sizeof(kx3_io_call), KX3_USBBULKREAD, destination, count, *state});
    }
    std::u16string datstr(Long value, Long digits) override {
        std::u16string text = libraries_.datstr(value, digits);
        report({sizeof(kx3_io_call), KX3_DATSTR, nullptr, value, digits});
        return text;
    }

  private:
    void report(const kx3_io_call &call) const {
        if (callbacks_.ioObserver != nullptr) callbacks_.ioObserver(callbacks_.ioContext, &call);
    }

    const Callbacks &callbacks_;
    ProgrammerLibraries libraries_;
};

} // namespace

void requireOk(Callbacks &callbacks, kx3_status status, const char *name) {
    if (status == KX3_OK) return;
    std::string description;
    description.swap(callbacks.failure);
    if (description.empty()) description = std::string(name) + " failed with status " + std::to_string(status);
    raise(static_cast<ErrorNumber>(status), fromUtf8(description));
}

Outside outsideOf(Callbacks &callbacks) {
    const SessionHostFactory factory = [&callbacks]() -> std::shared_ptr<SessionHost> {
        if (!callbacks.hasSessionHost)
            raise(ErrorNumber::cannotCreateObject, u"No SessionHost was handed over; call kx3_set_session_host");
        return std::make_shared<CallbackSessionHost>(callbacks);
    };
    return {std::make_unique<ObservedProgrammer>(callbacks), factory, std::make_unique<CallbackUi>(callbacks),
            std::make_unique<SystemClock>()};
}

} // namespace kx3::native
