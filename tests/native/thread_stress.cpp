// Two host threads with a plug-in each, for the thread sanitizer. They share the process's texts and
// open blocks. The device buffer has no instance number, so that both see the same one: sessions only
// read its beginning here, and the editors of each thread keep to bytes of their own behind that.
#include "forms/form.h"
#include "rig/apartment.h"
#include "rig/own_blocks.h"

#include <cstdio>
#include <thread>

namespace {

using namespace kx3;

constexpr int rounds = 400;

/// Counts in `done` the sessions that a host of this instance has run to their end.
void work(Integer instance, int &done) {
    constexpr Byte finished = 100;
    constexpr Long bufferLength = 20000;
    constexpr Long deviceSize = 2048;
    constexpr Integer windowModel = 40;
    constexpr Byte readOperation = 2; // it writes the buffer
    test::TestApartment t;
    t.ui->onModal = [](Form &form) {
        for (const Control &control : form.controls())
            form.choose(control, 0);
        form.click(*form.cancelButton());
    };
    t.sessionHost->onPoll = [&t] { return t.host.ibuf1(0) = finished, true; };
    t.attach(bufferLength, instance);
    for (int i = 0; i < rounds; ++i) {
        t.describe({.addresses = deviceSize, .block = deviceSize, .model = i % 2 == 0 ? windowModel : test::model32f});
        if (const auto operation = static_cast<Byte>(i % 12); operation != readOperation) {
            t.run(operation);
            done += t.log().ends_with("Sec\n") ? 1 : 0;
        }
        auto number = static_cast<Byte>(i % 65);
        t.host.prgmode(0) = number;
        t.host.tlength(0) = 2000 + 1000 * instance; // an editor's bytes follow once or twice that
        t.mpu.editfigmpu6();
        t.mpu.mpu6warn(number);
        {
            clsMPU second(t.apartment); // its end releases the blocks
            second.freesharebuffermpu6();
            second.bufcommpu6(instance);
        }
        (void)clsMemMapped::findnum();
        t.mpu.bufcommpu6(instance);
    }
}

} // namespace

int main() {
    int first = 0;
    int second = 0;
    test::useOwnNamespace();
    std::thread other(work, Integer{2}, std::ref(second));
    work(1, first);
    other.join();
    std::printf("%d and %d sessions beside each other\n", first, second);
    return first > rounds / 2 && first == second ? 0 : 1;
}
