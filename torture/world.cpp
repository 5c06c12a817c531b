#include "world.h"

#include "session/usbmpu6prg.h"

#include "base/error.h"
#include "forms/form.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <new>
#include <unistd.h>

namespace kx3::torture {

namespace {

namespace fs = std::filesystem;

constexpr Integer hostInstance = 1;
constexpr Integer otherInstance = 7;
constexpr Byte maker = 0x1E;
constexpr Byte deviceCode = 0x95;
constexpr Byte autoSequence = 0;

const kx6sim_identity identity{maker, 2, {deviceCode, 0x0F}};

} // namespace

Workplace::Workplace(const std::string &name)
    : home_(fs::current_path()), folder_(fs::temp_directory_path() / ("kx3-" + name)) {
    ::setenv("KX3MPU6_NAMESPACE", name.c_str(), 1);
    for (const char *file : {"algo4/family/device.alg", "algo/family/device.bin"}) {
        fs::create_directories((folder_ / file).parent_path());
        std::ofstream(folder_ / file, std::ios::binary) << std::string(0x123, 'a');
    }
    fs::current_path(folder_);
}

Workplace::~Workplace() {
    std::error_code ignored;
    fs::current_path(home_, ignored);
    fs::remove_all(folder_, ignored);
}

std::size_t blockNames() {
    const std::string prefix = "kx3mpu6-" + std::to_string(::geteuid()) + "-" + std::getenv("KX3MPU6_NAMESPACE") + "-";
    return static_cast<std::size_t>(
        std::count_if(fs::directory_iterator("/dev/shm"), fs::directory_iterator(),
                      [&](const auto &entry) { return entry.path().filename().string().starts_with(prefix); }));
}

struct World::Library {
    explicit Library(const platform::DynamicLibrary &its) : library(its) {}
#define KX3_BIND(name) decltype(kx6sim_##name) *name = library.function<decltype(kx6sim_##name)>("kx6sim_" #name)
    const platform::DynamicLibrary &library;
    KX3_BIND(insert_blank_chip);
    KX3_BIND(area_bytes);
    KX3_BIND(peek);
    KX3_BIND(poke);
    KX3_BIND(flip_bit);
    KX3_BIND(chip_protect);
    KX3_BIND(chip_protected);
    KX3_BIND(end_operation);
#undef KX3_BIND
};

World::World(const Device &device)
    : device_(device), functions_(std::make_unique<Library>(library_)),
      sim_(std::make_shared<kx3sim::SessionHost>(
          kx3sim::Options{.maker = maker, .deviceCodes = {deviceCode, 0x0F}, .eepromBytes = device.eepromBytes})),
      apartment_(outside()) {
    host_.MapSharedBlocks(hostInstance, *ui_);
    host_.buflength(0) = device.addresses * device.width;
    host_.MapDeviceBuffer(host_.buflength(0) + deviceBufferExtra, *ui_);
    mpu_.emplace(apartment_);
    mpu_->bufcommpu6(hostInstance);
    fillBlocks();
    saveBlocks();
    const bool window = device.selection == 0;
    insertChip(ChipState::blank);
    const Scenario programAll{"", &device_, window ? Kind::window : Kind::arm, window ? Byte{6} : autoSequence};
    if (device.hasChip && play(programAll, {}, SIZE_MAX).signal != kx3sim::Signal::pass)
        throw std::runtime_error(std::string(device.name) + " cannot be programmed: " + sim_->trouble());
    programmed_ = chipContents();
}

World::~World() {
    mpu_->freesharebuffermpu6();
    mpu_.reset();
}

Outside World::outside() {
    auto io = std::make_unique<FaultyIo>();
    auto ui = std::make_unique<FaultyUi>(*this);
    io_ = io.get();
    ui_ = ui.get();
    return {std::move(io), [this] { return std::make_shared<FaultyHost>(sim_, *this); }, std::move(ui),
            std::make_unique<FaultyClock>()};
}

void World::fillBlocks() {
    const std::pair<Long, const char16_t *> notes[] = {{0, u"<"},       {1, u">"},       {2, u" ok"},  {3, u" failed"},
                                                       {4, u"stopped"}, {7, u"go on?"},  {8, u"note"}, {9, u"maker "},
                                                       {10, u"code "},  {12, u"aborted"}};
    for (const auto &[index, text] : notes)
        storeText(host_.prgnote, index, text);
    for (Long i = 0; i < static_cast<Long>(host_.MainmnuPrg.count()); ++i)
        storeText(host_.MainmnuPrg, i, u"operation");
    storeText(host_.algorithm, 1, u"family");
    storeText(host_.algorithm, 2, u"device");
    host_.modeltype(0) = device_.model;
    host_.modeltype(2) = 1;
    host_.figvol(1) = 1; // a signature packet is sent, too
    host_.selmode(0) = device_.selection;
    host_.prgmode(0) = device_.family;
    host_.wordmode(0) = device_.width;
    host_.tlength(0) = device_.addresses;
    host_.ramlg(0) = device_.block;
    host_.wlverifyvcc(0) = device_.margin;
    host_.wsign(1) = 1;
    host_.bvcc(0) = 330;
    host_.bgndpin(0) = 10;
    host_.bgndpin(1) = 20;
    image_.resize(host_.ibuffer.count());
    for (std::size_t i = 0; i < image_.size(); ++i)
        image_[i] = static_cast<Byte>(((i * 2654435761U) >> 13U) & 0xFEU); // no FF: every byte is programmed
    sim_->setBlocks(kx3sim::hostBlocks(host_));
}

void World::saveBlocks() {
    const auto save = [this](auto &block) {
        constexpr std::uint32_t mostElements = 300;
        if (block.count() > mostElements || &block == static_cast<void *>(&host_.MainRtstr)) return;
        const auto bytes = std::as_writable_bytes(block.range(0, static_cast<Long>(block.count())));
        saved_.emplace_back(bytes, std::vector<std::byte>(bytes.begin(), bytes.end()));
    };
#define KX3_BLOCK(member, root, type, count, bytes) save(host_.member);
#include "blocks/block_table.inc"
#undef KX3_BLOCK
}

void World::insertChip(ChipState state) {
    const auto mainBytes = static_cast<std::size_t>(device_.addresses) * device_.width;
    functions_->insert_blank_chip(mainBytes, static_cast<std::uint64_t>(device_.eepromBytes), &identity);
    if (state == ChipState::blank) return;
    if (state == ChipState::dirty) {
        const Bytes zeros(mainBytes);
        functions_->poke(KX6SIM_AREA_MAIN, 0, zeros.data(), zeros.size());
        return;
    }
    const Byte *next = programmed_.data();
    for (const std::int32_t area : {KX6SIM_AREA_MAIN, KX6SIM_AREA_EEPROM, KX6SIM_AREA_CONFIGURATION}) {
        functions_->poke(area, 0, next, functions_->area_bytes(area));
        next += functions_->area_bytes(area);
    }
    if (state == ChipState::differs) flip(mainBytes - mainBytes / 3, 5);
    if (state == ChipState::isProtected) functions_->chip_protect();
}

Bytes World::chipContents() {
    Bytes all;
    for (const std::int32_t area : {KX6SIM_AREA_MAIN, KX6SIM_AREA_EEPROM, KX6SIM_AREA_CONFIGURATION}) {
        const std::size_t count = functions_->area_bytes(area);
        all.resize(all.size() + count);
        functions_->peek(area, 0, all.data() + (all.size() - count), count);
    }
    all.push_back(static_cast<Byte>(functions_->chip_protected()));
    return all;
}

void World::flip(std::uint64_t offset, Byte bit) { functions_->flip_bit(KX6SIM_AREA_MAIN, offset, bit); }

void World::prepare(const Scenario &scenario, bool freshChip) {
    scenario_ = &scenario;
    step_ = 0;
    objection_.clear();
    for (const auto &[block, content] : saved_)
        std::ranges::copy(content, block.begin());
    for (Long i = 0; i < static_cast<Long>(host_.MainRtstr.count()); ++i)
        storeText(host_.MainRtstr, i, {});
    std::ranges::copy(image_, host_.ibuffer.range(0, static_cast<Long>(host_.ibuffer.count())).begin());
    const bool data = scenario.kind == Kind::arm || scenario.kind == Kind::window || scenario.kind == Kind::attach;
    if (data && freshChip) insertChip(scenario.before);
    (void)sim_->StartCheck(); // forgets the last signal, also when the plug-in's own check fails
    host_.prgresult(1) = scenario.operation;
    host_.wautonum(0) = static_cast<Byte>(scenario.sequence.size());
    for (std::size_t i = 0; i < scenario.sequence.size(); ++i)
        host_.autoprg(static_cast<Long>(i)) = scenario.sequence[i];
    host_.chipidtestmode(0) = Boolean(scenario.chipIdIsChecked);
    host_.compid(0) = maker;
    host_.typeid_(0) = scenario.chipIdDiffers ? 0 : deviceCode;
    ui_->usualAnswer = scenario.chipIdDiffers ? MessageBoxResult::ignore : MessageBoxResult::ok;
    ui_->boxes = 0;
    if (scenario.kind == Kind::editor || scenario.kind == Kind::note) {
        constexpr Long editorLength = 2048;
        constexpr Integer pins = 20;
        host_.tlength(0) = editorLength;
        host_.chippin(0) = pins;
        if (scenario.kind == Kind::editor) host_.prgmode(0) = scenario.operation;
    }
}

void World::act(const Scenario &scenario) {
    Boolean enabled(true);
    Byte note = scenario.operation;
    switch (scenario.kind) {
    case Kind::attach:
        mpu_->freesharebuffermpu6();
        mpu_->bufcommpu6(hostInstance);
        [[fallthrough]];
    case Kind::arm:
    case Kind::window: return mpu_->runMpu6Prg(enabled);
    case Kind::editor: return mpu_->editfigmpu6();
    case Kind::note: return mpu_->mpu6warn(note);
    case Kind::attachAlone:
        mpu_->bufcommpu6(otherInstance);
        mpu_->freesharebuffermpu6();
        return mpu_->bufcommpu6(hostInstance);
    }
}

Outcome World::play(const Scenario &scenario, std::vector<Planned> plan, std::size_t budget) {
    prepare(scenario, true);
    Outcome outcome;
    injector().arm(std::move(plan), budget);
    try {
        act(scenario);
    } catch (const Error &error) {
        outcome.raised = true;
        outcome.error = error.number();
    } catch (const std::bad_alloc &) {
        outcome.raised = true;
        outcome.error = ErrorNumber::outOfMemory;
    } catch (const std::exception &) {
        outcome.raised = true;
        outcome.error = ErrorNumber::internal;
    }
    injector().disarm();
    io_->forgetPending();
    functions_->end_operation();
    const bool session = scenario.kind != Kind::editor && scenario.kind != Kind::note;
    outcome.signal = sim_->signal();
    if (scenario.kind == Kind::arm) outcome.failure = apartment_.sessionFailure();
    outcome.log = readText(host_.MainRtstr, 0);
    const auto buffer = host_.ibuffer.range(0, static_cast<Long>(host_.ibuffer.count()));
    outcome.buffer.assign(buffer.begin(), buffer.end());
    if (outcome.signal == kx3sim::Signal::pass || !injector().anyStruck()) outcome.chip = chipContents();
    outcome.boxes = ui_->boxes;
    outcome.attached = apartment_.blocks().attachedCompletely() && apartment_.blocks().ibuffer.count() == image_.size();
    outcome.digest = injector().digest();
    outcome.calls = injector().calls();
    outcome.allocations = injector().allocations();
    outcome.struck = injector().anyStruck();
    if (scenario.kind == Kind::attachAlone) outcome.names = blockNames();
    if (apartment_.running()) objection_ = "an operation is still marked as running";
    if (session && host_.prgmode(1) != 0 && scenario.kind == Kind::arm) objection_ = "prgmode(1) is not 0";
    if (scenario.kind == Kind::window && apartment_.sessionWindow().loaded()) objection_ = "the window is loaded";
    outcome.objection = std::move(objection_);
    return outcome;
}

kx3sim::Signal World::playOn(const Scenario &scenario) {
    prepare(scenario, false);
    act(scenario);
    return sim_->signal();
}

void World::duringYield() {
    sim_->duringYield();
    io_->advance();
    if (!apartment_.sessionWindow().loaded()) return;
    const std::vector<Byte> &sequence = scenario_->sequence;
    const bool stepped = host_.prgresult(1) == 0 && step_ < sequence.size();
    sim_->carryOut(stepped ? sequence[step_++] : host_.prgresult(1) == 0 ? Byte{6} : host_.prgresult(1));
}

void World::actOn(Form &form) {
    const Injector::Inside inside(injector());
    for (const Control &control : form.controls()) {
        if (!form.loaded()) return;
        switch (control.kind()) {
        case ControlKind::comboBox: form.choose(control, static_cast<Long>(control.items().size()) - 1); break;
        case ControlKind::checkBox: form.click(control); break;
        case ControlKind::textBox:
            form.selectText(control, 0, 1);
            form.type(control, u"5");
            break;
        default: break;
        }
    }
    if (form.loaded() && form.defaultButton() != nullptr) form.click(*form.defaultButton());
    if (form.loaded()) form.close();
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
    const Injector::Inside inside(injector());
    Boolean enabled(true);
    if (scenario_->kind == Kind::editor) return refused("the editor", [&] { mpu_->editfigmpu6(); });
    refused("a second operation", [&] { mpu_->runMpu6Prg(enabled); });
    refused("releasing the buffer", [&] { mpu_->freesharebuffermpu6(); });
    refused("attaching", [&] { mpu_->bufcommpu6(hostInstance); });
}

} // namespace kx3::torture
