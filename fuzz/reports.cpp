// Status reports and bulk data of a programmer that has gone mad, against every driver.
#include "host.h"

#include <utility>

namespace kx3::fuzz {
namespace {

constexpr Byte readOperation = 2;
constexpr int longestRun = 3000; // yields; then nothing more comes

void connect(Host &t, Input &input) {
    t.sessionHost->onPoll = [&] {
        if (input.empty() || t.ui->yields > longestRun) return false;
        std::ranges::copy(input.take(t.host.ibuf1.count()), t.host.ibuf1.range(0, 20).begin());
        return true;
    };
    t.io.onBulkRead = [&, isReadBack = true](Byte *destination, Long count, Byte *state) mutable {
        // The read-back of the algorithm is right, or no session gets any further.
        const bool isAlgorithm = std::exchange(isReadBack, false);
        const auto data = isAlgorithm ? t.host.algobuf.range(0, count) : input.take(static_cast<std::size_t>(count));
        std::ranges::copy(data, destination);
        *state = data.size() == static_cast<std::size_t>(count) ? 2 : 4;
    };
    t.io.onBulkWrite = [&](Byte *, Long) { return static_cast<Integer>(input.number() == 0xFF ? 1 : 0); };
    t.ui->onYield = [&] {
        if (t.ui->yields % 16 == 15 && input.number() == 0xFE) t.host.prgresult(0) = 2;
    };
}

} // namespace

void reports(Input input) {
    Host &t = Host::fresh();
    const Integer model = t.host.modeltype(0) = Host::anyModel(input);
    t.host.selmode(0) = model == Host::windowModel ? 0 : 0x40;
    t.host.prgresult(1) = static_cast<Byte>(input.below(12));
    t.host.wordmode(0) = static_cast<Byte>(1 + input.below(2));
    t.host.prgmode(0) = input.number();
    t.host.tlength(0) = static_cast<Long>(1 + input.below(0x1000));
    t.host.ramlg(0) = t.host.tlength(0);
    t.host.wlverifyvcc(0) = static_cast<Long>(input.below(3));
    t.host.chipidtestmode(0) = Boolean(input.below(2) != 0);
    t.host.compid(0) = input.number();
    t.host.typeid_(0) = input.number();
    t.ui->answers.assign(3, static_cast<MessageBoxResult>(3 + input.below(3)));
    connect(t, input);
    const std::vector<Byte> before = t.buffer();
    Boolean enabled;
    const bool ended = Host::succeeds([&] { t.mpu.runMpu6Prg(enabled); });
    if (model != Host::windowModel) {
        promise(ended, "a session ends in order");
        promise(t.host.prgmode(1) == 0, "progress is reset");
    }
    if (t.host.prgresult(1) != readOperation) promise(t.buffer() == before, "only a read changes the buffer");
}

} // namespace kx3::fuzz
