// Any contents of the shared blocks, against every entry of the class.
#include "host.h"

namespace kx3::fuzz {
namespace {

constexpr int longestRun = 60;

/// Fill a part of one block with bytes of the input.
void spoil(sharemap &blocks, Input &input) {
    static const std::vector<test::Block> all = test::allBlocks(blocks);
    const std::span<std::byte> bytes = all[input.below(all.size())].bytes;
    const std::size_t first = input.below(std::min<std::size_t>(bytes.size(), 64));
    overwrite(bytes.subspan(first), input.take(1 + input.below(8)));
}

void connect(Host &t, Input &input) {
    t.sessionHost->onPoll = [&] {
        if (t.ui->yields > longestRun) return false;
        t.host.ibuf1(0) = 100;
        return true;
    };
    t.io.onBulkRead = [&](Byte *, Long, Byte *state) { *state = 2; };
    t.io.onBulkWrite = [](Byte *, Long) { return Integer{0}; };
    t.ui->onYield = [&] {
        if (!input.empty()) spoil(t.host, input); // the host works while the plug-in yields
        if (t.ui->yields > longestRun) t.host.usbpip2readresult(0) = 4;
    };
    t.ui->onModal = [&](Form &form) {
        if (!input.empty()) spoil(t.host, input);
        Host::clickOk(form);
    };
    t.ui->answers.assign(4, MessageBoxResult::retry);
    t.ui->answers.push_back(MessageBoxResult::abort);
}

} // namespace

void blocks(Input input) {
    Host &t = Host::fresh();
    t.host.modeltype(0) = Host::anyModel(input);
    connect(t, input);
    const std::size_t entry = input.below(6);
    for (std::size_t times = input.below(12); times > 0; --times)
        spoil(t.host, input);
    Boolean enabled;
    Byte note = input.number();
    (void)Host::succeeds([&] {
        switch (entry) {
        case 0: return t.mpu.editfigmpu6();
        case 1: return t.mpu.sinitmpu6();
        case 2: return t.mpu.mpu6warn(note);
        default: return t.mpu.runMpu6Prg(enabled);
        }
    });
    promise(!t.apartment.inUse(), "no operation is left running");
}

} // namespace kx3::fuzz
