#include "com/host_thread.h"

#include "doorstep/programmer_libraries.h"
#include "doorstep/system_clock.h"
#include "platform/win32/wide.h"
#include "win32/form_dialog.h"
#include "win32/message_queue.h"

#include <new>
#include <string>

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

static_assert(messageBoxOkOnly == MB_OK && messageBoxInformation == MB_ICONINFORMATION);
static_assert(messageBoxOkCancelQuestion == (MB_OKCANCEL | MB_ICONQUESTION));
static_assert(messageBoxAbortRetryIgnoreExclamation == (MB_ABORTRETRYIGNORE | MB_ICONEXCLAMATION));
static_assert(int{IDOK} == 1 && int{IDCANCEL} == 2 && int{IDABORT} == 3 && int{IDRETRY} == 4 && int{IDIGNORE} == 5);

/// A window whose messages never end must not keep an operation from going on.
constexpr int mostMessagesPerYield = 1000;

/// Message boxes, dialogs and the message loop of the host's thread.
class Win32Ui final : public Ui {
  public:
    /// Modal for all windows of the thread, so that the host is not entered again meanwhile.
    MessageBoxResult messageBox(std::u16string_view prompt, Long style,
                                std::optional<std::u16string_view> title) override {
        const std::u16string text(prompt);
        const std::u16string caption(title.value_or(std::u16string_view()));
        const int button = ::MessageBoxW(nullptr, platform::wide(text), title ? platform::wide(caption) : nullptr,
                                         static_cast<UINT>(style) | MB_TASKMODAL);
        if (button == 0) raise(ErrorNumber::outOfMemory, u"Out of memory: a message box could not be shown");
        return static_cast<MessageBoxResult>(button);
    }
    void yield() override {
        win32::QueuedMessage queued;
        for (int i = 0; i < mostMessagesPerYield && win32::takeMessage(queued) && !win32::passOnQuit(queued); ++i)
            win32::dispatch(queued);
        ::Sleep(0);
    }
    void showModal(Form &form) override { win32::showModal(form); }
};

// A thread finds its state through a slot of the system: the compiler's own thread-local objects
// would end at a time of the run time's choosing.
DWORD slot = TLS_OUT_OF_INDEXES;

HostThread *ofThisThread() noexcept { return static_cast<HostThread *>(::TlsGetValue(slot)); }

} // namespace

bool HostThread::startUp() noexcept {
    slot = ::TlsAlloc();
    return slot != TLS_OUT_OF_INDEXES;
}

std::shared_ptr<HostThread> HostThread::current() {
    if (HostThread *known = ofThisThread()) return known->self_;
    auto fresh = std::make_shared<HostThread>();
    if (::TlsSetValue(slot, fresh.get()) == FALSE) throw std::bad_alloc();
    fresh->self_ = fresh;
    return fresh;
}

void HostThread::endCurrent() noexcept {
    if (HostThread *known = ofThisThread()) {
        ::TlsSetValue(slot, nullptr);
        known->end();
    }
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
    // The session host goes with the thread's last object. It is left here only by a host that has
    // kept objects beyond their thread: COM is gone from there, so it is left alone.
    if (sessionHost_) sessionHost_->abandon();
    {
        const Exclusive locked(lock_);
        ended_ = true;
        objects_.clear();
        if (apartment_) apartment_->blocks().UnmapDeviceBuffer();
        apartment_.reset();
    }
    self_.reset(); // may be the last reference to this object
}

} // namespace kx3::com
