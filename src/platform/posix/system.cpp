#include "platform/system.h"

#include "base/error.h"
#include "base/text.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace kx3::platform {

namespace {

std::string nativePath(std::u16string_view path) {
    std::string native = toUtf8(path);
    std::replace(native.begin(), native.end(), '\\', '/');
    return native;
}

} // namespace

float secondsSinceMidnight() noexcept {
    std::timespec now{};
    (void)std::timespec_get(&now, TIME_UTC);
    std::tm local{};
    ::localtime_r(&now.tv_sec, &local);
    const int seconds = (local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec;
    return static_cast<float>(seconds + static_cast<double>(now.tv_nsec) * 1e-9);
}

std::u16string currentDirectory() {
    const std::unique_ptr<char, void (*)(void *)> path(::getcwd(nullptr, 0), std::free);
    if (!path) raise(ErrorNumber::fileNotFound, u"File not found: the current directory");
    const std::string_view text = path.get();
    return fromUtf8(text == "/" ? "" : text);
}

std::optional<std::uint64_t> regularFileLength(std::u16string_view path) {
    struct stat status {};
    if (::stat(nativePath(path).c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return static_cast<std::uint64_t>(status.st_size);
}

bool readFile(std::u16string_view path, std::span<Byte> destination) {
    // Non-blocking, in case a pipe has taken the file's place since its length was asked.
    const int descriptor = ::open(nativePath(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return false;
    std::size_t got = 0;
    while (got < destination.size()) {
        const ssize_t part = ::read(descriptor, destination.data() + got, destination.size() - got);
        if (part <= 0) break;
        got += static_cast<std::size_t>(part);
    }
    ::close(descriptor);
    return got == destination.size();
}

} // namespace kx3::platform
