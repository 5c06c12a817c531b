#include "com/host_thread.h"

#include "com/win32_ui.h"
#include "outside/programmer_libraries.h"
#include "platform/system.h"

#include <new>

namespace kx3::com {

namespace {

class Exclusive {
  public:
    explicit Exclusive(SRWLOCK &lock) noexcept : lock_(lock) { ::AcquireSRWLockExclusive(&lock_); }
    ~Exclusive() { ::ReleaseSRWLockExclusive(&lock_); }
    Exclusive(const Exclusive &) = delete;
    Exclusive &operator=(const Exclusive &) = delete;

  private:
    SRWLOCK &lock_;
};

class SystemClock final : public Clock {
  public:
    float secondsSinceMidnight() override { return platform::secondsSinceMidnight(); }
};

// A thread finds its state through a slot of the system: the compiler's own thread-local objects
// would leave destructors behind that run after the library has gone.
DWORD slot = TLS_OUT_OF_INDEXES;
SRWLOCK threadsLock = SRWLOCK_INIT;

std::list<HostThread *> threads;

HostThread *ofThisThread() noexcept { return static_cast<HostThread *>(::TlsGetValue(slot)); }

} // namespace

bool HostThread::startUp() noexcept {
    slot = ::TlsAlloc();
    return slot != TLS_OUT_OF_INDEXES;
}

std::shared_ptr<HostThread> HostThread::current() {
    if (HostThread *known = ofThisThread()) return known->self_;
    auto fresh = std::make_shared<HostThread>();
    {
        const Exclusive locked(threadsLock);
        fresh->place_ = threads.insert(threads.end(), fresh.get());
    }
    fresh->self_ = fresh;
    if (::TlsSetValue(slot, fresh.get()) == FALSE) {
        fresh->end();
        throw std::bad_alloc();
    }
    return fresh;
}

void HostThread::endCurrent() noexcept {
    if (HostThread *known = ofThisThread()) {
        ::TlsSetValue(slot, nullptr);
        known->end();
    }
}

bool HostThread::anyLeft() noexcept {
    const Exclusive locked(threadsLock);
    return !threads.empty();
}

void HostThread::shutDown() noexcept {
    while (!threads.empty())
        threads.front()->end();
    ::TlsFree(slot);
}

HostThread::HostThread() {
    const auto sessionHost = [this]() -> std::shared_ptr<SessionHost> {
        if (!sessionHost_) sessionHost_ = std::make_shared<DispatchSessionHost>();
        return sessionHost_;
    };
    apartment_.emplace(Outside{std::make_unique<ProgrammerLibraries>(), sessionHost, std::make_unique<Win32Ui>(),
                               std::make_unique<SystemClock>()});
}

bool HostThread::isCurrent() const noexcept { return ofThisThread() == this; }

HostThread::Object &HostThread::addObject() {
    const Exclusive locked(lock_);
    return objects_.emplace_back(*apartment_);
}

void HostThread::removeObject(Object &object) noexcept {
    {
        const Exclusive locked(lock_);
        if (ended_) return; // and the object with it
        object.released = true;
        if (!isCurrent()) return;
    }
    removeReleasedObjects();
}

void HostThread::removeReleasedObjects() noexcept {
    {
        const Exclusive locked(lock_);
        if (objects_.remove_if([](const Object &object) { return object.released; }) == 0) return;
        if (!objects_.empty()) return;
    }
    // The host's code runs inside, and may call back.
    if (sessionHost_) sessionHost_->disconnect();
}

void HostThread::end() noexcept {
    // References end with the thread's last object. Those left here belong to a host that has kept
    // objects beyond its thread or beyond the library: COM may be gone, so they are left alone.
    if (sessionHost_) sessionHost_->abandon();
    {
        const Exclusive locked(lock_);
        ended_ = true;
        objects_.clear();
        if (apartment_) apartment_->blocks().UnmapDeviceBuffer();
        apartment_.reset();
    }
    {
        const Exclusive locked(threadsLock);
        threads.erase(place_);
    }
    self_.reset(); // may be the last reference to this object
}

} // namespace kx3::com
