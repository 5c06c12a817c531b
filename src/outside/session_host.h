// The host suite's session object.
#pragma once

#include "base/types.h"

#include <functional>
#include <memory>

namespace kx3 {

/// Checks, powers and prepares the device, fetches the programmer's status reports, compares verify
/// data and signals the end of an operation. Operations stand in the order of the host's class. A
/// failing call raises an error in the caller. A result that callers turn into a byte comes as a
/// Long; one that does not fit is their Overflow.
class SessionHost {
  public:
    virtual ~SessionHost() = default;

    /// Last call of every operation, also on a fatal end.
    virtual void EndOperation() = 0;
    /// Supply voltage in millivolts.
    virtual void SetVcc(Long millivolts) = 0;
    virtual void SetGndPin(Byte pin, Byte state) = 0;
    virtual void PowerStep(Long step) = 0;
    virtual void SignalPass(Long value) = 0;
    virtual void SignalFail(Long value) = 0;
    /// 1 means that the session must not start.
    [[nodiscard]] virtual Long StartCheck() = 0;
    /// Returns after `milliseconds`.
    virtual void Delay(Long milliseconds) = 0;
    /// False means that no status report came; otherwise the newest one stands in block `ibuf1`.
    [[nodiscard]] virtual bool PollStatus(Long request) = 0;
    virtual void ReportStartFailure() = 0;
    /// 2 means that the session must stop, here and in the two operations below.
    [[nodiscard]] virtual Long PrepareChip(Byte figmode) = 0;
    [[nodiscard]] virtual Long PrepareDevice32f(Byte figmode, Byte zero) = 0;
    [[nodiscard]] virtual Long PrepareDevice(Byte figmode, Byte zero) = 0;
    /// Compare a word at word address `address` with the host's buffer; 1 stops the verify.
    [[nodiscard]] virtual Long CompareWord(Byte low, Byte high, Long address, Long mode, Long mask) = 0;
    /// Compare a byte at buffer address `address` with the host's buffer; 1 stops the verify.
    [[nodiscard]] virtual Long CompareByte(Byte data, Long address, Long mode) = 0;
    /// `length` of the algorithm image that now stands in block `algobuf`.
    virtual void AlgorithmLoaded(Long length) = 0;
};

/// Makes the thread's one session host object on first use; raises "can't create object" when it
/// cannot.
using SessionHostFactory = std::function<std::shared_ptr<SessionHost>()>;

/// Creates the session host object on first use and keeps it.
class SessionHostSlot {
  public:
    explicit SessionHostSlot(SessionHostFactory factory) : factory_(std::move(factory)) {}

    [[nodiscard]] SessionHost &operator*() {
        if (!host_) host_ = factory_();
        return *host_;
    }
    [[nodiscard]] SessionHost *operator->() { return &**this; }

  private:
    SessionHostFactory factory_;
    std::shared_ptr<SessionHost> host_;
};

/// The value of PollStatus's argument in every status loop.
inline constexpr Long statusRequest = 15;

} // namespace kx3
