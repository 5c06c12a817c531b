#include "host/apartment.h"

#include "arm/arm_session.h"
#include "editors/editors.h"
#include "session/usbmpu6prg.h"

namespace kx3 {

class Apartment::Use {
  public:
    explicit Use(Apartment &apartment) noexcept : apartment_(apartment) { ++apartment_.uses_; }
    ~Use() {
        --apartment_.uses_;
        if (apartment_.releasePending_) apartment_.releaseMainBlocks();
    }
    Use(const Use &) = delete;
    Use &operator=(const Use &) = delete;

  private:
    Apartment &apartment_;
};

class Apartment::Run {
  public:
    explicit Run(Apartment &apartment) : running_(apartment.running_), use_(apartment) {
        if (running_) raise(ErrorNumber::invalidCall, u"Another operation is running");
        running_ = true;
    }
    ~Run() { running_ = false; }
    Run(const Run &) = delete;
    Run &operator=(const Run &) = delete;

  private:
    bool &running_;
    Use use_;
};

Apartment::Apartment(Outside outside)
    : outside_(std::move(outside)),
      sessionHost_(outside_.sessionHost), context_{blocks_,      *outside_.io,    sessionHost_,
                                                   *outside_.ui, *outside_.clock, report_} {}

Apartment::~Apartment() = default;

usbmpu6prg &Apartment::sessionWindow() {
    if (!sessionWindow_) sessionWindow_ = std::make_unique<usbmpu6prg>(context_);
    return *sessionWindow_;
}

void Apartment::beginReport() {
    if (!running_) report_ = {};
}

void Apartment::runArmSession(const ArmProfile &profile) {
    const Run run(*this);
    std::unique_ptr<ArmSession> &slot = armSessions_[&profile];
    if (!slot) slot = std::make_unique<ArmSession>(context_, profile);
    slot->run();
}

void Apartment::runSessionWindow() {
    const Run run(*this);
    sessionWindow().wmpu0();
}

void Apartment::openEditor(Byte mode) {
    if (!editors_) editors_ = std::make_unique<Editors>(context_);
    const Use use(*this);
    editors_->open(mode);
}

void Apartment::refuseWhileInUse() const {
    if (running_) raise(ErrorNumber::invalidCall, u"Not possible while an operation is running");
    if (inUse()) raise(ErrorNumber::invalidCall, u"Not possible while a dialog is open");
}

void Apartment::releaseMainBlocks() noexcept {
    releasePending_ = inUse();
    if (!inUse()) blocks_.UnmapSharedBlocks();
}

} // namespace kx3
