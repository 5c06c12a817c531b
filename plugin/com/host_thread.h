// What the plug-in keeps for one thread of the host.
#pragma once

#include "com/dispatch_session_host.h"
#include "host/apartment.h"
#include "host/mpu.h"

#include <list>
#include <memory>
#include <optional>
#include <windows.h>

namespace kx3::com {

/// One host thread: its apartment and the class's objects that the thread has created. It is made
/// by the thread's first object and ends with the thread; what it has attached is given back then,
/// whoever still holds an object.
///
/// All work belongs to the thread itself. The one thing that another thread may do is to drop the
/// last reference to an object: the object's end, which releases blocks that the thread may be
/// using, then waits for the thread's next call.
class HostThread {
  public:
    /// An object of the class, inside its thread.
    struct Object {
        explicit Object(Apartment &apartment) noexcept : mpu(apartment) {}
        clsMPU mpu;
        bool released = false; ///< by another thread
    };

    /// The calling thread's own, made when there is none yet. Raises out of memory.
    [[nodiscard]] static std::shared_ptr<HostThread> current();

    /// The slot by which threads find their own; false when the system has none left. Called as the library is loaded.
    [[nodiscard]] static bool startUp() noexcept;
    /// The calling thread ends.
    static void endCurrent() noexcept;

    HostThread();
    HostThread(const HostThread &) = delete;
    HostThread &operator=(const HostThread &) = delete;

    /// Whether the caller runs on this thread.
    [[nodiscard]] bool isCurrent() const noexcept;
    /// A new object. It stays valid until it is removed or the thread ends.
    [[nodiscard]] Object &addObject();
    /// The object's last reference is gone; any thread may say so. The session host goes with the
    /// thread's last object, while COM still stands.
    void removeObject(Object &object) noexcept;
    /// End the objects that other threads have released.
    void removeReleasedObjects() noexcept;

  private:
    void end() noexcept;

    SRWLOCK lock_ = SRWLOCK_INIT; ///< guards objects_ and ended_
    bool ended_ = false;
    std::shared_ptr<DispatchSessionHost> sessionHost_;
    std::optional<Apartment> apartment_;
    std::list<Object> objects_;
    std::shared_ptr<HostThread> self_; ///< until the thread ends
};

} // namespace kx3::com
