// System calls of the plug-in, which it makes past every interface. The linker sends the calls of this
// program's own code here (--wrap); other libraries keep the real ones.
#include "faults.h"

#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// The error number with which this call is to fail; 0 for a call that works.
int failure() {
    using namespace kx3::torture;
    if (!injector().insidePlugIn()) return 0;
    const Injector::Outside outside(injector());
    const Fault *fault = injector().strike(Point::system);
    return fault == nullptr ? 0 : fault->value;
}

} // namespace

// A failing call returns `error`; a call that gives a pointer or a number of its own is cast by it.
#define KX3_INTERCEPT(result, name, parameters, arguments, error)                                                      \
    result __real_##name parameters;                                                                                   \
    result __wrap_##name parameters;                                                                                   \
    result __wrap_##name parameters {                                                                                  \
        const int number = failure();                                                                                  \
        if (number == 0) return __real_##name arguments;                                                               \
        errno = number;                                                                                                \
        return error;                                                                                                  \
    }

extern "C" {
int __real_open(const char *path, int flags, ...);
int __wrap_open(const char *path, int flags, ...);
int __wrap_open(const char *path, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    const int number = failure();
    if (number == 0) return __real_open(path, flags, mode);
    errno = number;
    return -1;
}
KX3_INTERCEPT(int, flock, (int file, int how), (file, how), -1)
KX3_INTERCEPT(int, fstat, (int file, struct stat *status), (file, status), -1)
KX3_INTERCEPT(int, stat, (const char *path, struct stat *status), (path, status), -1)
KX3_INTERCEPT(int, unlink, (const char *path), (path), -1)
KX3_INTERCEPT(int, linkat, (int from, const char *path, int to, const char *name, int flags),
              (from, path, to, name, flags), -1)
KX3_INTERCEPT(int, posix_fallocate, (int file, off_t from, off_t bytes), (file, from, bytes), number)
KX3_INTERCEPT(void *, mmap, (void *at, size_t bytes, int access, int flags, int file, off_t from),
              (at, bytes, access, flags, file, from), MAP_FAILED)
KX3_INTERCEPT(ssize_t, read, (int file, void *data, size_t count), (file, data, count), -1)
KX3_INTERCEPT(char *, getcwd, (char *data, size_t count), (data, count), nullptr)

// Nobody else interferes with the files, so that waiting for somebody is in vain.
int __wrap_usleep(useconds_t microseconds);
int __wrap_usleep(useconds_t /*microseconds*/) { return 0; }
}
