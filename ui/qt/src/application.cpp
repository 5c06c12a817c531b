#include "application.h"

#include <QApplication>
#include <QString>
#include <QThread>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kx3qt {

namespace {

QApplication *makeApplication() {
    // Qt keeps references to both.
    static int argc = 1;
    static char name[] = "kx3mpu6";
    static char *argv[] = {name, nullptr};
    static QApplication *const application = new QApplication(argc, argv); // lives as long as the process
    return application;
}

bool isSet(const char *variable) {
    const char *value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

/// Qt ends the process when it cannot reach a display, so a child tries first.
bool childReachesDisplay() {
    const pid_t child = ::fork();
    if (child == 0) {
        const rlimit noCore{0, 0};
        ::setrlimit(RLIMIT_CORE, &noCore);
        if (const int quiet = ::open("/dev/null", O_WRONLY | O_CLOEXEC); quiet >= 0) ::dup2(quiet, STDERR_FILENO);
        makeApplication();
        ::_exit(0);
    }
    if (child < 0) return false;
    int status = 0;
    while (::waitpid(child, &status, 0) < 0)
        if (errno != EINTR) return false;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

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
    if (!childReachesDisplay()) {
        reason = "Qt cannot draw on the display (" + display + ")";
        return reason.c_str();
    }
    makeApplication();
    // A dialog's end is not the end of the host.
    QApplication::setQuitOnLastWindowClosed(false);
    return nullptr;
}

} // namespace kx3qt
