// Two host threads with a plug-in each, for the thread sanitizer. They share the process's texts and
// open blocks. The device buffer has no instance number, so that both see the same one: sessions only
// read its beginning here, and the editors of each thread keep to bytes of their own behind that.
#include "forms/form.h"
#include "rig/apartment.h"

#include <atomic>
#include <cstdio>
#include <thread>

namespace {

using namespace kx3;

class Thread {
  public:
    explicit Thread(Integer instance) : instance_(instance) {
        t_.ui->onModal = [](Form &form) {
            for (const Control &control : form.controls())
                form.choose(control, 0);
            form.click(*form.cancelButton());
        };
        t_.sessionHost->onPoll = [this] {
            t_.host.ibuf1(0) = finished;
            return true;
        };
        t_.io.onBulkRead = [](Byte *, Long, Byte *state) { *state = 2; };
    }

    void work(int rounds) {
        t_.attach(bufferLength, instance_);
        t_.host.tlength(0) = deviceSize;
        t_.host.wordmode(0) = 1;
        t_.host.ramlg(0) = deviceSize;
        for (int i = 0; i < rounds; ++i) {
            session(static_cast<Integer>(i % 2 == 0 ? windowModel : armModel), static_cast<Byte>(i % 12));
            editorAndNote(static_cast<Byte>(i % 65));
            attachAgain();
        }
    }

    [[nodiscard]] int done() const noexcept { return done_; }

  private:
    static constexpr Byte finished = 100;
    static constexpr Long bufferLength = 20000;
    static constexpr Long deviceSize = 2048;
    static constexpr Integer windowModel = 40;
    static constexpr Integer armModel = 80;

    void session(Integer model, Byte operation) {
        constexpr Byte readOperation = 2;
        if (operation == readOperation) return; // it writes the buffer
        t_.host.modeltype(0) = model;
        t_.run(operation);
        done_ += t_.log().ends_with("Sec\n") ? 1 : 0;
    }
    void editorAndNote(Byte number) {
        t_.host.prgmode(0) = number;
        t_.host.tlength(0) = 2000 + 1000 * instance_; // its bytes follow once or twice that
        t_.mpu.editfigmpu6();
        t_.mpu.mpu6warn(number);
        t_.host.prgmode(0) = 0;
        t_.host.tlength(0) = deviceSize;
    }
    void attachAgain() {
        {
            clsMPU second(t_.apartment); // its end releases the blocks
            second.freesharebuffermpu6();
            second.bufcommpu6(instance_);
        }
        (void)clsMemMapped::findnum();
        t_.mpu.bufcommpu6(instance_);
    }

    Integer instance_;
    test::TestApartment t_;
    int done_ = 0;
};

} // namespace

int main() {
    constexpr int rounds = 400;
    Thread first(1);
    Thread second(2);
    std::thread other([&] { second.work(rounds); });
    first.work(rounds);
    other.join();
    std::printf("%d and %d sessions beside each other\n", first.done(), second.done());
    return first.done() > rounds / 2 && first.done() == second.done() ? 0 : 1;
}
