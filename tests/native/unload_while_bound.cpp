// A host that unloads the plug-in with blocks attached, again and again, each time on another thread: nothing
// breaks, and no name is left.
//
//   unload_while_bound PLUGIN
#include "kx3mpu6.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

const char *plugin;

/// The plug-in, loaded by hand; unloaded at the end, whatever it still holds.
struct Library {
    template <class Function> [[nodiscard]] Function *function(const char *name) const {
        auto *found = reinterpret_cast<Function *>(::dlsym(handle.get(), name));
        if (found == nullptr) std::abort();
        return found;
    }
    std::unique_ptr<void, int (*)(void *)> handle{::dlopen(plugin, RTLD_NOW | RTLD_LOCAL), ::dlclose};
};
#define FUNCTION(library, name) (library).function<decltype(name)>(#name)

void attachAndUnload(bool releases) {
    const Library library;
    kx3_mpu *mpu = nullptr;
    int16_t instance = 5;
    if (FUNCTION(library, kx3_mpu_create)(&mpu) != KX3_OK) std::abort();
    if (FUNCTION(library, kx3_mpu_bufcommpu6)(mpu, &instance) != KX3_OK) std::abort();
    if (releases) FUNCTION(library, kx3_mpu_release)(mpu);
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) return 2;
    plugin = argv[1];
    ::setenv("KX3MPU6_NAMESPACE", ("unload" + std::to_string(::getpid())).c_str(), 1);
    constexpr int rounds = 100;
    for (int i = 0; i < rounds; ++i)
        std::thread(attachAndUnload, i % 2 == 0).join();
    for (const char *block : {"tamselibuf15", "tamselibuffer"}) {
        const Library library;
        kx3_block *found = nullptr;
        if (FUNCTION(library, kx3_block_open)(block, &found) == KX3_FILE_NOT_FOUND) continue;
        std::fprintf(stderr, "%s is left after its threads have ended\n", block);
        return 1;
    }
    attachAndUnload(false); // the process ends with it
    return 0;
}
