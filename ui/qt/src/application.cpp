#include "application.h"

#include <QApplication>
#include <QString>
#include <QThread>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kx3qt {

namespace {

QApplication *makeApplication() {
    // Qt keeps references to both.
    static int argc = 1;
    static char name[] = "kx3mpu6";
    static char *argv[] = {name, nullptr};
    static auto *const application = new QApplication(argc, argv); // lives as long as the process
    return application;
}

bool isSet(const char *variable) {
    const char *value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

/// A child that draws on the display first: Qt ends a process that it cannot draw for. The child stays
/// connected as long as this object lives, because an X server without a window manager starts anew when
/// its last client leaves, and refuses whoever comes meanwhile.
class DisplayProbe {
  public:
    DisplayProbe() {
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_.data()) != 0) return;
        child_ = ::fork();
        if (child_ == 0) draw();
        ::close(ends_[1]);
    }
    ~DisplayProbe() {
        if (child_ < 0) return;
        ::close(ends_[0]); // what the child waits for
        while (::waitpid(child_, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    DisplayProbe(const DisplayProbe &) = delete;
    DisplayProbe &operator=(const DisplayProbe &) = delete;

    /// Whether the child could draw; waits until that is known.
    [[nodiscard]] bool reachesDisplay() const {
        char byte = 0;
        ssize_t count = -1;
        while (child_ > 0 && (count = ::read(ends_[0], &byte, 1)) < 0 && errno == EINTR) {
        }
        return count == 1;
    }

  private:
    [[noreturn]] void draw() const {
        ::close(ends_[0]);
        const rlimit noCore{0, 0};
        ::setrlimit(RLIMIT_CORE, &noCore);
        if (const int quiet = ::open("/dev/null", O_WRONLY | O_CLOEXEC); quiet >= 0) ::dup2(quiet, STDERR_FILENO);
        makeApplication();
        char byte = 1;
        if (::write(ends_[1], &byte, 1) == 1) static_cast<void>(::read(ends_[1], &byte, 1));
        ::_exit(0);
    }

    std::array<int, 2> ends_{-1, -1}; ///< this process's, the child's
    pid_t child_ = -1;
};

std::string displayName() {
    for (const char *variable : {"QT_QPA_PLATFORM", "WAYLAND_DISPLAY", "DISPLAY"})
        if (isSet(variable)) return std::string(variable) + "=" + std::getenv(variable);
    return {};
}

} // namespace

const char *startApplication() {
    static std::string reason;
    if (const QCoreApplication *running = QCoreApplication::instance()) {
        if (qobject_cast<const QApplication *>(running) == nullptr)
            return "the host's Qt application has no widgets: it is no QApplication";
        if (running->thread() != QThread::currentThread())
            return "the plug-in was called on another thread than the Qt application's";
        return nullptr;
    }
    const std::string display = displayName();
    if (display.empty()) return "there is no display: neither WAYLAND_DISPLAY nor DISPLAY is set";
    const DisplayProbe probe;
    if (!probe.reachesDisplay()) {
        reason = "Qt cannot draw on the display (" + display + ")";
        return reason.c_str();
    }
    makeApplication();
    // A dialog's end is not the end of the host.
    QApplication::setQuitOnLastWindowClosed(false);
    return nullptr;
}

} // namespace kx3qt
