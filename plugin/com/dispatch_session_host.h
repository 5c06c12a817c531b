// The host suite's session object, called late-bound.
#pragma once

#include "com/com_ptr.h"
#include "outside/session_host.h"

#include <array>
#include <cstddef>
#include <span>

namespace kx3::com {

/// Programmatic identifier of the class that the host suite provides.
inline constexpr wchar_t sessionHostProgId[] = L"kx3host.SessionHost";

/// An object of the host's class. It is created at once, and again by the first call after
/// `disconnect`; a class that is missing is "can't create object". Each operation's dispatch
/// identifier is asked for once. Arguments go by reference, as fresh variables; a failing call raises
/// its error number and description, and the operation's name. Belongs to its thread.
class DispatchSessionHost final : public SessionHost {
  public:
    DispatchSessionHost();

    /// Give the host's object up; the next call creates another.
    void disconnect() noexcept;
    /// The same without a call: COM may no longer be there to make it.
    void abandon() noexcept;

#define KX3_OPERATION(name, result, parameters, arguments) result name parameters override;
#include "outside/session_host_operations.inc"

  private:
    /// The operations in the order of the host's class.
    enum class Operation : std::size_t {
#define KX3_OPERATION(name, result, parameters, arguments) name,
#include "outside/session_host_operations.inc"
        count
    };

    void connect();
    [[nodiscard]] DISPID identifierOf(Operation operation);
    /// Make one call; `arguments` refer to its own variables, the last one first.
    void call(Operation operation, std::span<VARIANTARG> arguments, OwnedVariant &result);

    ComPtr<IDispatch> host_;
    std::array<DISPID, static_cast<std::size_t>(Operation::count)> identifiers_{};
};

} // namespace kx3::com
