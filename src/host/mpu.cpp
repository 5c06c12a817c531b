#include "host/mpu.h"

#include "base/checked.h"
#include "host/apartment.h"
#include "host/buffer_init.h"
#include "notes/notes.h"
#include "outside/driver_table.h"

namespace kx3 {

clsMPU::~clsMPU() { apartment_.releaseMainBlocks(); }

void clsMPU::bufcommpu6(const Integer &num) {
    apartment_.refuseWhileInUse();
    sharemap &blocks = apartment_.blocks();
    Ui &ui = apartment_.context().ui;
    FirstError error;
    error.attempt([&] { blocks.MapSharedBlocks(num, ui); });
    error.attempt([&] {
        const Checked size = Checked(blocks.buflength(0)) + deviceBufferExtra;
        error.attempt([&] { blocks.MapDeviceBuffer(size.value(), ui); });
        buflg = blocks.buflength(0);
    });
    error.rethrow();
}

void clsMPU::freesharebuffermpu6() {
    apartment_.refuseWhileInUse();
    apartment_.blocks().UnmapDeviceBuffer();
}

void clsMPU::runMpu6Prg(Boolean & /*usbenable*/) {
    apartment_.beginReport();
    const sharemap &blocks = apartment_.blocks();
    const Integer modelType = blocks.modeltype(0);
    if (modelType < firstModelType) return;
    if (const ArmProfile *profile = armProfileOf(modelType, [&] { return blocks.selmode(0); }))
        apartment_.runArmSession(*profile);
    else
        apartment_.runSessionWindow();
}

void clsMPU::editfigmpu6() { apartment_.openEditor(apartment_.blocks().prgmode(0)); }

void clsMPU::sinitmpu6() { kx3::sinitmpu6(apartment_.blocks()); }

void clsMPU::mpu6warn(Byte &no) { kx3::mpu6warn(apartment_.context(), no); }

} // namespace kx3
