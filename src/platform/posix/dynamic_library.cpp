#include "platform/dynamic_library.h"

#include "base/error.h"
#include "base/text.h"

#include <dlfcn.h>
#include <filesystem>

namespace kx3::platform {

namespace {

/// Folder of the library (or program) that this code is linked into, with its final separator; empty
/// when it cannot be told.
std::string ownFolder() noexcept {
    try {
        Dl_info info{};
        if (::dladdr(reinterpret_cast<const void *>(&standardDescription), &info) == 0 || info.dli_fname == nullptr)
            return {};
        return std::filesystem::absolute(info.dli_fname).parent_path().string() + '/';
    } catch (...) {
        return {};
    }
}

/// Taken while the library is being loaded: its path may be relative to the directory of that moment.
const std::string folderAtLoad = ownFolder();

} // namespace

DynamicLibrary::DynamicLibrary(std::string_view name)
    : fileName_(std::string("lib").append(name).append(".so")),
      handle_(::dlopen((folderAtLoad + fileName_).c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) handle_ = ::dlopen(fileName_.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle_ == nullptr) raise(ErrorNumber::fileNotFound, join(u"File not found: ", fromUtf8(fileName_)));
}

DynamicLibrary::~DynamicLibrary() { ::dlclose(handle_); }

void *DynamicLibrary::address(std::string_view symbol) const {
    void *found = ::dlsym(handle_, std::string(symbol).c_str());
    if (found == nullptr)
        raise(ErrorNumber::entryPointNotFound,
              join(u"Can't find DLL entry point ", fromUtf8(symbol), u" in ", fromUtf8(fileName_)));
    return found;
}

} // namespace kx3::platform
