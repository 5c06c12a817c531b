// A String element is a BSTR of this process.

#include "platform/strings.h"

#include "base/error.h"
#include "platform/win32/wide.h"

#include <climits>
#include <cstring>
#include <windows.h>

#include <oleauto.h>

namespace kx3::platform {

namespace {

static_assert(sizeof(String) == sizeof(BSTR), "a String element holds a BSTR");

constexpr std::size_t lengthPrefix = 4;
constexpr std::size_t terminator = sizeof(OLECHAR);

BSTR asBstr(String string) noexcept { return reinterpret_cast<BSTR>(string.handle); }

/// Bytes from `address` on that can be read and written as memory of a heap; 0 elsewhere. Views,
/// program images and guard pages are no heap memory.
std::size_t heapBytesFrom(std::uintptr_t address) noexcept {
    MEMORY_BASIC_INFORMATION region{};
    if (::VirtualQuery(reinterpret_cast<const void *>(address), &region, sizeof region) != sizeof region) return 0;
    if (region.State != MEM_COMMIT || region.Type != MEM_PRIVATE || region.Protect != PAGE_READWRITE) return 0;
    return reinterpret_cast<std::uintptr_t>(region.BaseAddress) + region.RegionSize - address;
}

/// Whether `string` looks like a BSTR in every respect that can be tested without touching foreign
/// memory. A block that another process has filled holds handles that mean nothing here.
bool isPlausible(String string) noexcept {
    const std::uintptr_t text = string.handle;
    if (text < lengthPrefix || text % sizeof(OLECHAR) != 0) return false;
    const std::size_t available = heapBytesFrom(text - lengthPrefix);
    if (available < lengthPrefix + terminator) return false;
    const std::size_t length = ::SysStringByteLen(asBstr(string));
    if (length > INT_MAX || length > available - lengthPrefix - terminator) return false;
    OLECHAR last = 1;
    std::memcpy(&last, reinterpret_cast<const void *>(text + length), sizeof last);
    return last == 0;
}

} // namespace

String allocateString(std::u16string_view text) {
    if (text.size() > UINT_MAX / sizeof(OLECHAR) - lengthPrefix) raise(ErrorNumber::outOfMemory);
    const BSTR copy = ::SysAllocStringLen(wide(text.data()), static_cast<UINT>(text.size()));
    if (copy == nullptr) raise(ErrorNumber::outOfMemory);
    return {static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(copy))};
}

std::u16string readString(String string) {
    if (string.handle == 0) return {};
    if (!isPlausible(string)) raise(ErrorNumber::invalidCall, u"A String element holds an invalid handle");
    return std::u16string(utf16({asBstr(string), ::SysStringLen(asBstr(string))}));
}

void freeString(String string) noexcept {
    if (string.handle != 0 && isPlausible(string)) ::SysFreeString(asBstr(string));
}

} // namespace kx3::platform
