#include "platform/dynamic_library.h"

#include "base/error.h"
#include "base/text.h"

#include <dlfcn.h>

namespace kx3::platform {

namespace {

/// Folder of the library (or program) that this code is linked into, with its final separator.
std::string ownFolder() {
    Dl_info info{};
    if (::dladdr(reinterpret_cast<const void *>(&standardDescription), &info) == 0 || info.dli_fname == nullptr)
        return {};
    const std::string_view path = info.dli_fname;
    const std::size_t separator = path.rfind('/');
    return separator == std::string_view::npos ? std::string() : std::string(path.substr(0, separator + 1));
}

} // namespace

DynamicLibrary::DynamicLibrary(std::string_view name)
    : fileName_(std::string("lib").append(name).append(".so")),
      handle_(::dlopen((ownFolder() + fileName_).c_str(), RTLD_NOW | RTLD_LOCAL)) {
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
