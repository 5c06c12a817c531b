// The host suite's session object.
#pragma once

#include "base/types.h"

#include <functional>
#include <memory>

namespace kx3 {

/// A result that callers turn into a byte.
using ByteResult = Long;

/// Checks, powers and prepares the device, fetches the programmer's status reports, compares verify
/// data and signals the end of an operation. The list explains each operation.
class SessionHost {
  public:
    virtual ~SessionHost() = default;

#define KX3_OPERATION(name, result, parameters, arguments) virtual result name parameters = 0;
#include "outside/session_host_operations.inc"
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
