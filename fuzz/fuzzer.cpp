// One fuzzer: hands libFuzzer's inputs to the target that the build names.
#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    kx3::fuzz::KX3_FUZZER({data, size});
    return 0;
}
