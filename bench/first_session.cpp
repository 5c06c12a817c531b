// Time in a fresh process from loading the plug-in to the first call of its first session: the library
// is loaded, an object created, all blocks are created and attached, and the session window asks the
// session host whether it may start. Prints microseconds.
//
//   first_session PLUGIN

#include "kx3mpu6.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

namespace {

using Clock = std::chrono::steady_clock;

Clock::time_point started;
double microseconds = -1;

kx3_status startCheck(void * /*context*/, int32_t *result) {
    microseconds = std::chrono::duration<double, std::micro>(Clock::now() - started).count();
    *result = 1; // the session ends here
    return KX3_OK;
}

kx3_status reportStartFailure(void * /*context*/) { return KX3_OK; }

void *library;

/// Call a function of the loaded library; leave the program when there is none or it fails.
template <class... Parameters, class... Arguments>
void call(const char *name, kx3_status (*)(Parameters...), Arguments... arguments) {
    auto *function = reinterpret_cast<kx3_status (*)(Parameters...)>(::dlsym(library, name));
    if (function != nullptr && function(arguments...) == KX3_OK) return;
    std::fprintf(stderr, "first_session: %s failed\n", name);
    std::exit(1);
}
#define CALL(function, ...) call(#function, static_cast<decltype(&(function))>(nullptr), __VA_ARGS__)

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) return 2;
    ::setenv("KX3MPU6_NAMESPACE", "first-session", 1);
    started = Clock::now();
    library = ::dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        std::fprintf(stderr, "first_session: %s\n", ::dlerror());
        return 1;
    }
    kx3_session_host host = kx3_session_host_init();
    host.StartCheck = startCheck;
    host.ReportStartFailure = reportStartFailure;
    CALL(kx3_set_session_host, &host);
    kx3_block *model = nullptr;
    CALL(kx3_block_create, "tamselmodeltype1", 40, &model);
    auto *data = reinterpret_cast<decltype(&kx3_block_data)>(::dlsym(library, "kx3_block_data"));
    *static_cast<int16_t *>(data(model)) = 45; // driven by the session window
    kx3_mpu *mpu = nullptr;
    CALL(kx3_mpu_create, &mpu);
    int16_t number = 1;
    CALL(kx3_mpu_bufcommpu6, mpu, &number);
    CALL(kx3_mpu_runMpu6Prg, mpu, &number);
    std::printf("%.1f\n", microseconds);
    reinterpret_cast<decltype(&kx3_mpu_release)>(::dlsym(library, "kx3_mpu_release"))(mpu);
    reinterpret_cast<decltype(&kx3_block_close)>(::dlsym(library, "kx3_block_close"))(model);
    return microseconds < 0 ? 1 : 0;
}
