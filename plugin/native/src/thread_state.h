// What the C interface keeps for each host thread.
#pragma once

#include "kx3mpu6.h"

#include "doorstep/programmer_libraries.h"
#include "forms/form_view.h"
#include "host/apartment.h"
#include "host/mpu.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// Entry object behind the C interface's handle.
struct kx3_mpu {
    explicit kx3_mpu(kx3::Apartment &apartment) noexcept : object(apartment) {}
    kx3::clsMPU object;
};

namespace kx3::native {

/// A form that a show_form callback is showing.
struct ShownForm {
    Form *form;
    FormView view;
};

/// The host's callbacks of one thread.
struct Callbacks {
    kx3_ui ui{};
    kx3_session_host sessionHost{};
    bool hasSessionHost = false;
    void (*ioObserver)(void *context, const kx3_io_call *call) = nullptr;
    void *ioContext = nullptr;
    /// The innermost last.
    std::vector<ShownForm> shownForms;
    /// Description that a failing callback left; taken by the error it becomes.
    std::string failure;
};

/// Raise the error that a callback's status means; `name` is the callback's.
void requireOk(Callbacks &callbacks, kx3_status status, const char *name);

/// Outside components that go to the host's callbacks.
[[nodiscard]] Outside outsideOf(Callbacks &callbacks);

/// One host thread's callbacks, bindings, windows and entry objects.
struct ThreadState {
    ThreadState() : apartment(outsideOf(callbacks)) {}

    Callbacks callbacks;
    Apartment apartment;
    std::vector<std::shared_ptr<kx3_mpu>> objects; ///< end before the apartment
    std::string lastError;
    std::string explanation; ///< of the latest session's outcome
};

/// The calling thread's state, made on first use.
[[nodiscard]] ThreadState &threadState();

/// Keep the description of the exception being handled and give its status.
[[nodiscard]] kx3_status rememberCurrentException() noexcept;

/// Run `action`; turn an exception into a status and a remembered description.
template <class Action> kx3_status guarded(Action action) noexcept {
    try {
        action();
        return KX3_OK;
    } catch (...) {
        return rememberCurrentException();
    }
}

/// The value a pointer argument points to; a null one is an invalid call that names it.
template <class T> T &required(T *pointer, const char16_t *name) {
    if (pointer == nullptr) raise(ErrorNumber::invalidCall, join(u"Argument ", std::u16string_view(name), u" is NULL"));
    return *pointer;
}

/// As much of a structure as its user knows, by its `struct_size`; at least the size itself must be known.
template <class Info> std::size_t knownSize(const Info *structure, const char16_t *name) {
    const std::size_t size = required(structure, name).struct_size;
    if (size < sizeof size) raise(ErrorNumber::invalidCall, u"struct_size is not set");
    return std::min(size, sizeof *structure);
}

/// Fill a structure of the host's.
template <class Info> void fill(Info *out, const char16_t *name, Info filled) {
    const std::size_t size = knownSize(out, name);
    filled.struct_size = out->struct_size;
    std::memcpy(out, &filled, size);
}

/// Copy a structure of the host's; members that it does not know become 0. A size inside a pointer leaves
/// that one out, too.
template <class Info> Info copyOf(const Info *given, const char16_t *name) {
    Info copy{};
    std::memcpy(&copy, given, knownSize(given, name) / sizeof(void *) * sizeof(void *));
    return copy;
}

/// A text of the engine as the C interface hands it out.
[[nodiscard]] inline kx3_text textOf(std::u16string_view text) noexcept {
    return {reinterpret_cast<const std::uint16_t *>(text.data()), text.size()};
}

} // namespace kx3::native
