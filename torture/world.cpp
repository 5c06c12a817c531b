#include "world.h"

#include "base/error.h"
#include "forms/form.h"
#include "session/usbmpu6prg.h"

#include <new>

namespace kx3::torture {

namespace {

constexpr Integer hostInstance = 1;
constexpr Integer otherInstance = 7;
constexpr Byte maker = 0x1E;
constexpr Byte deviceCode = 0x95;

constexpr std::int32_t chipAreas[] = {KX6SIM_AREA_MAIN, KX6SIM_AREA_EEPROM, KX6SIM_AREA_CONFIGURATION};

Bytes chipContents() {
    Bytes all;
    for (const std::int32_t area : chipAreas) {
        const std::size_t count = kx6sim_area_bytes(area);
        all.resize(all.size() + count);
        kx6sim_peek(area, 0, all.data() + (all.size() - count), count);
    }
    all.push_back(static_cast<Byte>(kx6sim_chip_protected()));
    return all;
}

/// Changes every control of a form, then OK.
void changeEverything(Form &form) {
    const Injector::Outside inside(injector(), false);
    for (const Control &control : form.controls()) {
        if (!form.loaded()) return;
        const ControlKind kind = control.kind();
        if (kind == ControlKind::comboBox) form.choose(control, static_cast<Long>(control.items().size()) - 1);
        if (kind == ControlKind::checkBox) form.click(control);
        if (kind == ControlKind::textBox && form.selectText(control, 0, 1)) form.type(control, u"5");
    }
    if (form.loaded() && form.defaultButton() != nullptr) form.click(*form.defaultButton());
    if (form.loaded()) form.close();
}

} // namespace

World::World(const Target &target)
    : ApartmentOn(std::make_shared<FaultyHost>(
          kx3sim::Options{.maker = maker, .deviceCodes = {deviceCode, 0x0F}, .eepromBytes = target.eepromBytes})),
      target_(target) {
    ui->onYield = [this] { duringYield(); };
    ui->onStop = [this](Byte result) { host.prgresult(0) = result; };
    ui->onModal = changeEverything;
    ui->onReenter = [this] { reenter(); };
    attach(target.device);
    fillBlocks();
    saved_.emplace(host);
    image_ = buffer();
    insertChip(ChipState::blank);
    constexpr Byte autoSequence = 0, windowAuto = 6;
    if (target.hasChip && !passes(target.device.selection == 0 ? windowAuto : autoSequence))
        throw std::runtime_error(std::string(target.name) + " cannot be programmed: " + programmer().trouble());
    programmed_ = chipContents();
}

World::~World() { mpu.freesharebuffermpu6(); }

void World::fillBlocks() {
    constexpr const char16_t *notes[] = {u"<",      u">",    u" ok",    u" failed", u"stopped", u"",       u"",
                                         u"go on?", u"note", u"maker ", u"code ",   u"",        u"aborted"};
    for (Long i = 0; const char16_t *text : notes)
        storeText(host.prgnote, i++, text);
    for (Long i = 0; i < static_cast<Long>(host.MainmnuPrg.count()); ++i)
        storeText(host.MainmnuPrg, i, u"operation");
    host.figvol(1) = 1; // a signature packet is sent, too
    host.bvcc(0) = 330;
    host.bgndpin(0) = 10;
    host.bgndpin(1) = 20;
    programmer().setBlocks(kx3sim::hostBlocks(host));
    sessionHost->report = host.ibuf1.range(0, KX6SIM_REPORT_BYTES);
}

void World::insertChip(ChipState state) {
    const auto mainBytes = static_cast<std::size_t>(target_.device.bytes());
    constexpr kx6sim_identity identity{maker, 2, {deviceCode, 0x0F}};
    kx6sim_insert_blank_chip(mainBytes, static_cast<std::uint64_t>(target_.eepromBytes), &identity);
    if (state == ChipState::blank) return;
    if (state == ChipState::dirty) {
        const Bytes zeros(mainBytes);
        kx6sim_poke(KX6SIM_AREA_MAIN, 0, zeros.data(), zeros.size());
        return;
    }
    const Byte *next = programmed_.data();
    for (const std::int32_t area : chipAreas) {
        kx6sim_poke(area, 0, next, kx6sim_area_bytes(area));
        next += kx6sim_area_bytes(area);
    }
    if (state == ChipState::differs) flip(mainBytes - mainBytes / 3, 5);
    if (state == ChipState::isProtected) kx6sim_chip_protect();
}

void World::flip(std::uint64_t offset, Byte bit) { kx6sim_flip_bit(KX6SIM_AREA_MAIN, offset, bit); }

void World::prepare(const Scenario &scenario) {
    scenario_ = &scenario;
    step_ = 0;
    objection_.clear();
    saved_->restore();
    (void)programmer().StartCheck(); // forgets the last signal, also when the plug-in's own check fails
    host.prgresult(1) = scenario.operation;
    host.wautonum(0) = static_cast<Byte>(scenario.sequence.size());
    for (std::size_t i = 0; i < scenario.sequence.size(); ++i)
        host.autoprg(static_cast<Long>(i)) = scenario.sequence[i];
    host.chipidtestmode(0) = Boolean(scenario.chipIdIsChecked);
    host.compid(0) = maker;
    host.typeid_(0) = scenario.chipIdDiffers ? 0 : deviceCode;
    ui->usualAnswer = scenario.chipIdDiffers ? MessageBoxResult::ignore : MessageBoxResult::ok;
    ui->boxes = 0;
    if (scenario.kind == Kind::editor || scenario.kind == Kind::note) {
        constexpr Long editorLength = 2048;
        constexpr Integer pins = 20;
        host.tlength(0) = editorLength;
        host.chippin(0) = pins;
        if (scenario.kind == Kind::editor) host.prgmode(0) = scenario.operation;
    }
}

void World::act(const Scenario &scenario) {
    Boolean enabled(true);
    Byte note = scenario.operation;
    switch (scenario.kind) {
    case Kind::attach:
        mpu.freesharebuffermpu6();
        mpu.bufcommpu6(hostInstance);
        [[fallthrough]];
    case Kind::arm:
    case Kind::window: return mpu.runMpu6Prg(enabled);
    case Kind::editor: return mpu.editfigmpu6();
    case Kind::note: return mpu.mpu6warn(note);
    case Kind::attachAlone:
        mpu.bufcommpu6(otherInstance);
        mpu.freesharebuffermpu6();
        return mpu.bufcommpu6(hostInstance);
    }
}

Outcome World::play(const Scenario &scenario, std::vector<Planned> plan, std::size_t budget) {
    const bool isSession = scenario.kind == Kind::arm || scenario.kind == Kind::window;
    prepare(scenario);
    if (isSession || scenario.kind == Kind::attach) insertChip(scenario.before);
    Outcome outcome;
    injector().arm(std::move(plan), budget);
    try {
        act(scenario);
    } catch (const Error &error) {
        outcome.raised = error.number();
    } catch (const std::bad_alloc &) {
        outcome.raised = ErrorNumber::outOfMemory;
    } catch (const std::exception &) {
        outcome.raised = ErrorNumber::internal;
    }
    outcome.trace = injector().disarm();
    io.forgetPending();
    kx6sim_end_operation();
    outcome.signal = programmer().signal();
    if (scenario.kind == Kind::arm) outcome.failure = apartment.report().failure;
    outcome.log = readText(host.MainRtstr, 0);
    outcome.buffer = buffer();
    if (outcome.signal == kx3sim::Signal::pass || !outcome.trace.struck) outcome.chip = chipContents();
    outcome.boxes = ui->boxes;
    outcome.attached = apartment.blocks().attachedCompletely() && apartment.blocks().ibuffer.count() == image_.size();
    if (scenario.kind == Kind::attachAlone) outcome.names = test::blockFiles().size();
    if (apartment.inUse()) objection_ = "an operation is still marked as running";
    if (scenario.kind == Kind::arm && host.prgmode(1) != 0) objection_ = "prgmode(1) is not 0";
    if (scenario.kind == Kind::window && apartment.sessionWindow().loaded()) objection_ = "the window is loaded";
    outcome.objection = std::move(objection_);
    return outcome;
}

kx3sim::Signal World::playOn(const Scenario &scenario) {
    prepare(scenario);
    act(scenario);
    return programmer().signal();
}

bool World::passes(Byte operation, ChipState before) {
    const Kind kind = target_.device.selection == 0 ? Kind::window : Kind::arm;
    return play({"", &target_, kind, operation, before}).signal == kx3sim::Signal::pass;
}

void World::duringYield() {
    programmer().duringYield();
    io.advance();
    if (!apartment.sessionWindow().loaded()) return;
    const std::vector<Byte> &sequence = scenario_->sequence;
    const bool stepped = host.prgresult(1) == 0 && step_ < sequence.size();
    programmer().carryOut(stepped ? sequence[step_++] : host.prgresult(1) == 0 ? Byte{6} : host.prgresult(1));
}

void World::refused(const char *what, const std::function<void()> &call) {
    try {
        call();
        objection_ = std::string(what) + " was not refused inside an operation";
    } catch (const Error &error) {
        if (error.number() != ErrorNumber::invalidCall) objection_ = std::string(what) + " was refused otherwise";
    }
}

void World::reenter() {
    const Injector::Outside inside(injector(), false);
    Boolean enabled(true);
    if (scenario_->kind == Kind::editor) return refused("the editor", [&] { mpu.editfigmpu6(); });
    refused("a second operation", [&] { mpu.runMpu6Prg(enabled); });
    refused("releasing the buffer", [&] { mpu.freesharebuffermpu6(); });
    refused("attaching", [&] { mpu.bufcommpu6(hostInstance); });
}

} // namespace kx3::torture
