#include "platform/dynamic_library.h"

#include "base/error.h"
#include "base/text.h"
#include "platform/win32/unique_handle.h"
#include "platform/win32/wide.h"

namespace kx3::platform {

namespace {

/// Keeps the system from showing its own box about a file that is no library: the caller reports it.
class QuietLoading {
  public:
    QuietLoading() noexcept { ::SetThreadErrorMode(::GetThreadErrorMode() | SEM_FAILCRITICALERRORS, &previous_); }
    ~QuietLoading() { ::SetThreadErrorMode(previous_, nullptr); }
    QuietLoading(const QuietLoading &) = delete;
    QuietLoading &operator=(const QuietLoading &) = delete;

  private:
    DWORD previous_ = 0;
};

/// Folder of the library (or program) that this code is linked into, with its final separator;
/// empty when it cannot be told.
std::u16string ownFolder() {
    HMODULE own = nullptr;
    constexpr DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (::GetModuleHandleExW(flags, reinterpret_cast<LPCWSTR>(&standardDescription), &own) == FALSE) return {};
    constexpr DWORD longestPath = 32768;
    std::wstring path(longestPath, L'\0');
    path.resize(::GetModuleFileNameW(own, path.data(), longestPath));
    const std::size_t separator = path.rfind(L'\\');
    return separator == std::wstring::npos ? std::u16string() : std::u16string(utf16(path).substr(0, separator + 1));
}

bool meansNotFound(DWORD error) noexcept {
    return error == ERROR_MOD_NOT_FOUND || error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

UniqueModule load(const std::u16string &fileName) {
    const QuietLoading quiet;
    const std::u16string folder = ownFolder();
    if (!folder.empty()) {
        // Libraries that this one needs are then searched beside it, too.
        UniqueModule beside(::LoadLibraryExW(wide(folder + fileName), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
        if (beside) return beside;
    }
    UniqueModule found(::LoadLibraryW(wide(fileName)));
    if (found) return found;
    const bool missing = meansNotFound(::GetLastError());
    raise(missing ? ErrorNumber::fileNotFound : ErrorNumber::loadLibrary,
          join(missing ? u"File not found: " : u"Error in loading DLL: ", fileName));
}

/// A function whose library exports it under its decorated name: "_name@bytes" or "name@bytes".
FARPROC decorated(HMODULE module, const std::string &symbol) {
    constexpr int mostArgumentBytes = 32;
    for (int bytes = 0; bytes <= mostArgumentBytes; bytes += 4) {
        const std::string name = symbol + '@' + std::to_string(bytes);
        if (const FARPROC found = ::GetProcAddress(module, name.c_str())) return found;
        if (const FARPROC found = ::GetProcAddress(module, ('_' + name).c_str())) return found;
    }
    return nullptr;
}

} // namespace

DynamicLibrary::DynamicLibrary(std::string_view name)
    : fileName_(std::string(name).append(".dll")), handle_(load(fromUtf8(fileName_)).release()) {}

DynamicLibrary::~DynamicLibrary() { ::FreeLibrary(static_cast<HMODULE>(handle_)); }

void *DynamicLibrary::address(std::string_view symbol) const {
    const auto module = static_cast<HMODULE>(handle_);
    const std::string name(symbol);
    FARPROC found = ::GetProcAddress(module, name.c_str());
    if (found == nullptr) found = decorated(module, name);
    if (found == nullptr)
        raise(ErrorNumber::entryPointNotFound,
              join(u"Can't find DLL entry point ", fromUtf8(symbol), u" in ", fromUtf8(fileName_)));
    return reinterpret_cast<void *>(found);
}

} // namespace kx3::platform
