#include "scenario.h"

#include <span>

namespace kx3::torture {

namespace {

constexpr Integer modelArm = 50;

constexpr Device armDevices[] = {
    {.name = "small32f"},
    {.name = "smallArm", .model = modelArm},
    {.name = "blocks32f", .addresses = 0xC080, .block = 0xC000},
    {.name = "blocksArm", .model = modelArm, .addresses = 0x8080, .block = 0x8000},
    {.name = "words32f", .width = 2, .addresses = 0x180, .block = 0x180, .margin = 2},
    {.name = "wordsArm", .model = modelArm, .width = 2, .addresses = 0x180, .block = 0x180, .margin = 1},
    {.name = "chunks32f", .addresses = 0xD000, .block = 0xD000},
    {.name = "chunksArm", .model = modelArm, .addresses = 0x9000, .block = 0x9000},
};
constexpr Device familyDevices[] = {
    {.name = "dataFirst32f", .addresses = 0x1000, .block = 0x1000, .family = 0x1B},
    {.name = "dataLastArm", .model = modelArm, .addresses = 0x1000, .block = 0x1000, .family = 0x2E},
};
constexpr Device windowDevice{
    .name = "window", .model = modelArm, .width = 2, .addresses = 0x80, .selection = 0, .eepromBytes = 8};
constexpr Device editorDevice{.name = "editors", .addresses = 9000, .block = 9000, .hasChip = false};

struct Operation {
    const char *name;
    Byte number;
    ChipState before;
    bool passes;
    bool bufferChanges = false;
};

using enum ChipState;

/// Of both kinds of session.
constexpr Operation commonOperations[] = {
    {"read", 2, programmed, true, true},
    {"read-protected", 2, isProtected, false, true},
    {"program", 3, blank, true},
    {"program-dirty", 3, dirty, false},
    {"blank-check", 4, blank, true},
    {"blank-check-programmed", 4, programmed, false},
    {"verify", 5, programmed, true},
    {"verify-differs", 5, differs, false},
    {"protect", 7, programmed, true},
    {"erase", 8, programmed, true},
    {"program-configuration", 9, blank, true},
    {"check-configuration", 10, programmed, true},
};

constexpr Operation armOperations[] = {
    {"auto", 0, blank, true},
    {"auto-again", 0, programmed, true},
    {"auto-unprotects", 0, isProtected, true},
    {"auto-quiet", 6, blank, true},
    {"check-configuration-blank", 10, blank, false},
};

constexpr Operation windowOperations[] = {
    {"auto", 6, blank, true},
    {"unknown", 11, blank, false},
};

constexpr Byte editorModes[] = {1,  2,  3,  4,  6,  10, 12, 13, 14, 15, 18, 22, 23, 24, 25, 26, 30, 31, 32, 39,
                                40, 41, 43, 44, 45, 46, 47, 48, 49, 50, 51, 55, 56, 58, 59, 60, 61, 62, 64};
constexpr Byte firstNote = 61;
constexpr Byte lastNote = 75;

Scenario session(const Device &device, Kind kind, const Operation &operation) {
    return {.name = std::string(device.name) + '/' + operation.name,
            .device = &device,
            .kind = kind,
            .operation = operation.number,
            .before = operation.before,
            .passes = operation.passes,
            .bufferChanges = operation.bufferChanges};
}

void addIdentityChecks(std::vector<Scenario> &all, const Device &device, Kind kind, const Operation &operation) {
    Scenario checked = session(device, kind, operation);
    checked.chipIdIsChecked = true;
    Scenario ignored = checked;
    ignored.chipIdDiffers = true;
    checked.name += "-identity";
    ignored.name += "-other-identity";
    all.push_back(checked);
    all.push_back(ignored);
}

void addOperations(std::vector<Scenario> &all, const Device &device, Kind kind, std::span<const Operation> own) {
    for (const Operation &operation : own)
        all.push_back(session(device, kind, operation));
    for (const Operation &operation : commonOperations)
        all.push_back(session(device, kind, operation));
    addIdentityChecks(all, device, kind, own.front());
}

void addSessions(std::vector<Scenario> &all) {
    for (const Device &device : armDevices)
        addOperations(all, device, Kind::arm, armOperations);
    for (const Device &device : familyDevices) {
        all.push_back(session(device, Kind::arm, {"erase", 8, programmed, true}));
        all.push_back(session(device, Kind::arm, {"check-configuration", 10, programmed, true}));
    }
    addOperations(all, windowDevice, Kind::window, windowOperations);
    Scenario steps = session(windowDevice, Kind::window, {"sequence", 0, dirty, true});
    steps.sequence = {8, 4, 3, 5, 9};
    all.push_back(steps);
    Scenario goesOn = session(windowDevice, Kind::window, {"sequence-not-blank", 0, programmed, true});
    goesOn.sequence = {4, 8, 3, 5, 9};
    all.push_back(goesOn);
}

} // namespace

const std::vector<Scenario> &allScenarios() {
    static const std::vector<Scenario> scenarios = [] {
        std::vector<Scenario> all;
        addSessions(all);
        all.push_back(session(armDevices[0], Kind::attach, {"attach", 0, blank, true}));
        all.push_back(session(armDevices[1], Kind::attach, {"attach", 0, blank, true}));
        all.push_back(session(windowDevice, Kind::attach, {"attach", 6, blank, true}));
        all.push_back(session(armDevices[0], Kind::attachAlone, {"attach-alone", 0, blank, false}));
        for (const Byte mode : editorModes)
            all.push_back({.name = "editor/" + std::to_string(mode),
                           .device = &editorDevice,
                           .kind = Kind::editor,
                           .operation = mode,
                           .passes = false,
                           .bufferChanges = true});
        for (Byte note = firstNote; note <= lastNote; ++note)
            all.push_back({.name = "note/" + std::to_string(note),
                           .device = &editorDevice,
                           .kind = Kind::note,
                           .operation = note,
                           .passes = false});
        return all;
    }();
    return scenarios;
}

} // namespace kx3::torture
