// A host that opens an editor of the registered plug-in, for tests/windows_ui/keys.sh.
//
//   windows_keys_host MODE ADDRESS BYTE...
//
// Puts the bytes (hexadecimal) at the address of the device buffer, opens the editor of the mode for
// an image of 64 bytes, and prints the bytes as the editor has left them.

#include "base/types.h"
#include "windows/host.h"

#include <cstdio>
#include <cstdlib>

int main(int argc, char **argv) {
    using namespace kx3::test;
    if (argc < 4) return 2;
    const ComThread com;
    const auto mpu = createByName<::_clsMPU>(L"kx3mpu6.clsMPU");
    if (!mpu) {
        std::puts("the class is not registered");
        return 1;
    }
    const HostBlock length("tamselbuflength41", 40);
    const HostBlock mode("tamselprgmode41", 40);
    const HostBlock image("tamseltlength41", 40);
    length.at<kx3::Long>(0) = 5000;
    image.at<kx3::Long>(0) = 64;
    mode.at<kx3::Byte>(0) = static_cast<kx3::Byte>(std::atoi(argv[1]));
    SHORT instance = 41;
    if (FAILED(mpu->bufcommpu6(&instance))) return 1;
    const HostBlock buffer("tamselibuffer", 7200);
    kx3::Byte *bytes = &buffer.at<kx3::Byte>(static_cast<std::size_t>(std::atoi(argv[2])));
    for (int i = 3; i < argc; ++i)
        bytes[i - 3] = static_cast<kx3::Byte>(std::strtoul(argv[i], nullptr, 16));
    if (FAILED(mpu->editfigmpu6())) {
        std::printf("error: %ls\n", takeErrorText().c_str());
        return 1;
    }
    for (int i = 3; i < argc; ++i)
        std::printf("%s%02X", i > 3 ? " " : "", bytes[i - 3]);
    std::puts("");
    return FAILED(mpu->freesharebuffermpu6()) ? 1 : 0;
}
