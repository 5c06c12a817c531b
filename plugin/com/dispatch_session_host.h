// The host suite's session object, called late-bound.
#pragma once

#include "com/com_ptr.h"
#include "outside/session_host.h"

#include <array>
#include <cstddef>

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

    void EndOperation() override;
    void SetVcc(Long millivolts) override;
    void SetGndPin(Byte pin, Byte state) override;
    void PowerStep(Long step) override;
    void SignalPass(Long value) override;
    void SignalFail(Long value) override;
    Long StartCheck() override;
    void Delay(Long milliseconds) override;
    bool PollStatus(Long request) override;
    void ReportStartFailure() override;
    Long PrepareChip(Byte figmode) override;
    Long PrepareDevice32f(Byte figmode, Byte zero) override;
    Long PrepareDevice(Byte figmode, Byte zero) override;
    Long CompareWord(Byte low, Byte high, Long address, Long mode, Long mask) override;
    Long CompareByte(Byte data, Long address, Long mode) override;
    void AlgorithmLoaded(Long length) override;

  private:
    /// The operations in the order of the host's class.
    enum class Operation : std::size_t {
        EndOperation,
        SetVcc,
        SetGndPin,
        PowerStep,
        SignalPass,
        SignalFail,
        StartCheck,
        Delay,
        PollStatus,
        ReportStartFailure,
        PrepareChip,
        PrepareDevice32f,
        PrepareDevice,
        CompareWord,
        CompareByte,
        AlgorithmLoaded,
        count
    };

    void connect();
    [[nodiscard]] DISPID identifierOf(Operation operation);
    template <class... Arguments> void call(Operation operation, OwnedVariant &result, Arguments... arguments);
    template <class... Arguments> void callWithoutResult(Operation operation, Arguments... arguments);
    /// A result that the callers turn into a byte.
    template <class... Arguments> [[nodiscard]] Long callForByte(Operation operation, Arguments... arguments);
    template <class... Arguments> [[nodiscard]] Long callForLong(Operation operation, Arguments... arguments);

    ComPtr<IDispatch> host_;
    std::array<DISPID, static_cast<std::size_t>(Operation::count)> identifiers_{};
};

} // namespace kx3::com
