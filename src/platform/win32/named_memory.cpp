// Named shared memory: the kernel's file mapping objects, backed by the paging file.

#include "platform/named_memory.h"

#include <string>
#include <windows.h>

namespace kx3::platform {

namespace {

/// All access but execution; what the suite's host asks for, too.
constexpr DWORD allAccess = 0xF001F;
static_assert(allAccess == FILE_MAP_ALL_ACCESS);

HANDLE asHandle(MappingHandle mapping) noexcept { return reinterpret_cast<HANDLE>(mapping); }
MappingHandle asMapping(HANDLE handle) noexcept { return reinterpret_cast<MappingHandle>(handle); }

/// What the system's error number says about a block.
MappingError errorOf(DWORD number) noexcept {
    switch (number) {
    case ERROR_FILE_NOT_FOUND: return MappingError::notFound;
    case ERROR_INVALID_PARAMETER: return MappingError::badSize;
    case ERROR_ALREADY_EXISTS: return MappingError::exists;
    case ERROR_INVALID_NAME:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_BAD_PATHNAME: return MappingError::badName;
    case ERROR_TOO_MANY_OPEN_FILES: return MappingError::tooManyFiles;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_COMMITMENT_LIMIT:
    case ERROR_DISK_FULL: return MappingError::noSpace;
    case ERROR_ACCESS_DENIED: return MappingError::denied;
    default: return MappingError::other;
    }
}

/// No handle, for a reason that the system has not given.
MappingHandle failed(DWORD reason) noexcept {
    ::SetLastError(reason);
    return 0;
}

/// Call `action` with `name` as a terminated text. A name that cannot be built is a block that
/// cannot be had; so is a nameless one, which nobody could share.
template <class Action> MappingHandle withName(std::string_view name, Action action) noexcept {
    if (name.empty()) return failed(ERROR_INVALID_NAME);
    try {
        return asMapping(action(std::string(name).c_str()));
    } catch (...) {
        return failed(ERROR_NOT_ENOUGH_MEMORY);
    }
}

HANDLE createNamed(const char *name, std::int32_t size) noexcept {
    return ::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, static_cast<DWORD>(size), name);
}

} // namespace

MappingError lastMappingError() noexcept { return errorOf(::GetLastError()); }

MappingHandle openMapping(std::string_view name) noexcept {
    return withName(name, [](const char *text) { return ::OpenFileMappingA(allAccess, FALSE, text); });
}

MappingHandle createMapping(std::string_view name, std::int32_t size) noexcept {
    if (size < 1) return failed(ERROR_INVALID_PARAMETER);
    return withName(name, [size](const char *text) { return createNamed(text, size); });
}

MappingHandle createMappingExclusively(std::string_view name, std::int32_t size) noexcept {
    if (size < 1) return failed(ERROR_INVALID_PARAMETER);
    return withName(name, [size](const char *text) -> HANDLE {
        const HANDLE mapping = createNamed(text, size);
        if (mapping == nullptr || ::GetLastError() != ERROR_ALREADY_EXISTS) return mapping;
        ::CloseHandle(mapping);
        ::SetLastError(ERROR_ALREADY_EXISTS);
        return nullptr;
    });
}

void *mapView(MappingHandle mapping) noexcept {
    return mapping == 0 ? nullptr : ::MapViewOfFile(asHandle(mapping), allAccess, 0, 0, 0);
}

std::size_t viewSize(MappingHandle /*mapping*/, const void *view) noexcept {
    MEMORY_BASIC_INFORMATION region{};
    if (view == nullptr || ::VirtualQuery(view, &region, sizeof region) != sizeof region) return 0;
    // The system reports a run of pages of equal state: of a block that its creator has only
    // reserved, no more than what may be touched counts.
    const bool usable = region.BaseAddress == view && region.AllocationBase == view && region.State == MEM_COMMIT &&
                        region.Protect == PAGE_READWRITE;
    return usable ? region.RegionSize : 0;
}

bool unmapView(MappingHandle /*mapping*/, void *view) noexcept {
    return view != nullptr && ::UnmapViewOfFile(view) != FALSE;
}

void closeMapping(MappingHandle mapping) noexcept { ::CloseHandle(asHandle(mapping)); }

} // namespace kx3::platform
