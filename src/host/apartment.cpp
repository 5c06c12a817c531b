#include "host/apartment.h"

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

void Apartment::runArmSession(const ArmProfile &profile) {
    const Operation operation(*this);
    ArmSession &session = existing(arm_[profile.twin], profile);
    lastArmSession_ = &session;
    session.run();
}

void Apartment::runSessionWindow() {
    const Operation operation(*this);
    sessionWindow().wmpu0();
}

void Apartment::releaseMainBlocks() noexcept {
    releasePending_ = running_;
    if (!running_) blocks_.UnmapSharedBlocks();
}

} // namespace kx3
