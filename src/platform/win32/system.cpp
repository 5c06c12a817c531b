#include "platform/system.h"

#include "base/error.h"
#include "platform/win32/unique_handle.h"
#include "platform/win32/wide.h"

#include <algorithm>

namespace kx3::platform {

namespace {

constexpr DWORD sharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// The file at `path` opened with `access`; none when it cannot be, or it is a directory, a pipe or
/// a device.
UniqueHandle openRegularFile(std::u16string_view path, DWORD access) {
    const std::u16string terminated(path);
    UniqueHandle file = fileHandle(
        ::CreateFileW(wide(terminated), access, sharing, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file && ::GetFileType(file.get()) != FILE_TYPE_DISK) file.reset();
    return file;
}

} // namespace

float secondsSinceMidnight() noexcept {
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    const int seconds = (now.wHour * 60 + now.wMinute) * 60 + now.wSecond;
    return static_cast<float>(seconds + now.wMilliseconds * 1e-3);
}

std::u16string currentDirectory() {
    std::wstring path;
    DWORD needed = ::GetCurrentDirectoryW(0, nullptr);
    while (needed > path.size()) { // once, unless another thread changes the directory meanwhile
        path.resize(needed);
        needed = ::GetCurrentDirectoryW(needed, path.data());
    }
    path.resize(needed);
    if (path.empty()) raise(ErrorNumber::fileNotFound, u"File not found: the current directory");
    if (path.back() == L'\\') path.pop_back();
    return std::u16string(utf16(path));
}

std::optional<std::uint64_t> regularFileLength(std::u16string_view path) {
    const UniqueHandle file = openRegularFile(path, FILE_READ_ATTRIBUTES);
    LARGE_INTEGER length{};
    if (!file || ::GetFileSizeEx(file.get(), &length) == FALSE) return std::nullopt;
    return static_cast<std::uint64_t>(length.QuadPart);
}

bool readFile(std::u16string_view path, std::span<Byte> destination) {
    const UniqueHandle file = openRegularFile(path, GENERIC_READ);
    if (!file) return false;
    std::size_t got = 0;
    while (got < destination.size()) {
        constexpr std::size_t largestPart = 1U << 30;
        const auto wanted = static_cast<DWORD>(std::min(destination.size() - got, largestPart));
        DWORD part = 0;
        if (::ReadFile(file.get(), destination.data() + got, wanted, &part, nullptr) == FALSE || part == 0) break;
        got += part;
    }
    return got == destination.size();
}

} // namespace kx3::platform
