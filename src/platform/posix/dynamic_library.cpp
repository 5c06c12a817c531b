#include "platform/dynamic_library.h"

#include "base/error.h"
#include "base/text.h"

#include <cerrno>
#include <dlfcn.h>
#include <filesystem>
#include <system_error>

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

void *load(const std::string &fileName) {
    const std::string beside = folderAtLoad + fileName;
    if (void *handle = ::dlopen(beside.c_str(), RTLD_NOW | RTLD_LOCAL)) return handle;
    const std::string besideTrouble = ::dlerror();
    if (void *handle = ::dlopen(fileName.c_str(), RTLD_NOW | RTLD_LOCAL)) return handle;
    const std::string trouble = ::dlerror();
    if (std::error_code ignored; std::filesystem::exists(beside, ignored))
        raise(ErrorNumber::loadLibrary, join(u"Error in loading DLL: ", fromUtf8(besideTrouble)));
    // The system's search says that nothing has this name; any other trouble is a file that is no library.
    const std::string nothing = std::generic_category().message(ENOENT);
    if (trouble.starts_with(fileName + ':') && trouble.ends_with(nothing))
        raise(ErrorNumber::fileNotFound, join(u"File not found: ", fromUtf8(fileName)));
    raise(ErrorNumber::loadLibrary, join(u"Error in loading DLL: ", fromUtf8(trouble)));
}

} // namespace

DynamicLibrary::DynamicLibrary(std::string_view name)
    : fileName_(std::string("lib").append(name).append(".so")), handle_(load(fileName_)) {}

DynamicLibrary::~DynamicLibrary() { ::dlclose(handle_); }

void *DynamicLibrary::address(std::string_view symbol) const {
    void *found = ::dlsym(handle_, std::string(symbol).c_str());
    if (found == nullptr)
        raise(ErrorNumber::entryPointNotFound,
              join(u"Can't find DLL entry point ", fromUtf8(symbol), u" in ", fromUtf8(fileName_)));
    return found;
}

} // namespace kx3::platform
