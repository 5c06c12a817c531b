#include "com/module.h"

#include "base/error.h"

#include <atomic>

namespace kx3::com {

namespace {

std::atomic<long> references{0};

HMODULE ownModule() {
    HMODULE module = nullptr;
    constexpr DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (::GetModuleHandleExW(flags, reinterpret_cast<LPCWSTR>(&references), &module) == FALSE)
        raise(ErrorNumber::internal);
    return module;
}

} // namespace

ModuleReference::ModuleReference() noexcept { lockModule(); }
ModuleReference::~ModuleReference() { unlockModule(); }

void lockModule() noexcept { ++references; }
void unlockModule() noexcept { --references; }
bool moduleInUse() noexcept { return references != 0; }

std::wstring modulePath() {
    constexpr DWORD longestPath = 32768;
    std::wstring path(longestPath, L'\0');
    path.resize(::GetModuleFileNameW(ownModule(), path.data(), longestPath));
    if (path.empty()) raise(ErrorNumber::internal);
    return path;
}

} // namespace kx3::com
