#include "host/apartment.h"

#include "arm/arm_session.h"
#include "editors/editors.h"
#include "session/usbmpu6prg.h"

namespace kx3 {

class Apartment::Operation {
  public:
    explicit Operation(Apartment &apartment) : apartment_(apartment) {
        if (apartment.running_) raise(ErrorNumber::invalidCall, u"Another operation is running");
        apartment.running_ = true;
    }
    ~Operation() {
        apartment_.running_ = false;
        if (apartment_.releasePending_) apartment_.releaseMainBlocks();
    }
    Operation(const Operation &) = delete;
    Operation &operator=(const Operation &) = delete;

  private:
    Apartment &apartment_;
};

Apartment::Apartment(Outside outside)
    : outside_(std::move(outside)),
      sessionHost_(outside_.sessionHost), context_{blocks_, *outside_.io, sessionHost_, *outside_.ui, *outside_.clock} {
}

Apartment::~Apartment() = default;

usbmpu6prg &Apartment::sessionWindow() {
    if (!sessionWindow_) sessionWindow_ = std::make_unique<usbmpu6prg>(context_);
    return *sessionWindow_;
}

std::u16string Apartment::sessionFailure() const {
    return lastArmSession_ == nullptr ? std::u16string() : lastArmSession_->failure();
}

void Apartment::runArmSession(const ArmProfile &profile) {
    const Operation operation(*this);
    std::unique_ptr<ArmSession> &slot = armSessions_[&profile];
    if (!slot) slot = std::make_unique<ArmSession>(context_, profile);
    lastArmSession_ = slot.get();
    slot->run();
}

void Apartment::runSessionWindow() {
    const Operation operation(*this);
    sessionWindow().wmpu0();
}

void Apartment::openEditor(Byte mode) {
    if (!editors_) editors_ = std::make_unique<Editors>(context_);
    editors_->open(mode);
}

void Apartment::releaseMainBlocks() noexcept {
    releasePending_ = running_;
    if (!running_) blocks_.UnmapSharedBlocks();
}

} // namespace kx3
