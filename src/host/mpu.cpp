#include "host/mpu.h"

#include "base/checked.h"
#include "host/apartment.h"
#include "host/buffer_init.h"
#include "notes/notes.h"
#include "outside/driver_table.h"

namespace kx3 {

namespace {

/// The blocks stay where they are while an operation works on them.
void refuseWhileRunning(const Apartment &apartment) {
    if (apartment.running()) raise(ErrorNumber::invalidCall, u"Not possible while an operation is running");
}

} // namespace

clsMPU::~clsMPU() { apartment_.releaseMainBlocks(); }

void clsMPU::bufcommpu6(const Integer &num) {
    refuseWhileRunning(apartment_);
    sharemap &blocks = apartment_.blocks();
    Ui &ui = apartment_.context().ui;
    blocks.MapSharedBlocks(num, ui);
    const Checked size = Checked(blocks.buflength(0)) + deviceBufferExtra;
    blocks.MapDeviceBuffer(size.value(), ui);
    buflg = blocks.buflength(0);
}

void clsMPU::freesharebuffermpu6() {
    refuseWhileRunning(apartment_);
    apartment_.blocks().UnmapDeviceBuffer();
}

void clsMPU::runMpu6Prg(Boolean & /*usbenable*/) {
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
