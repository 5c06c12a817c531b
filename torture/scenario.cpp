#include "scenario.h"

#include "rig/editor_modes.h"

namespace kx3::torture {

namespace {

using enum ChipState;
using test::modelArm;

constexpr Target targets[] = {
    {"small32f"},
    {"smallArm", {.model = modelArm}},
    {"blocks32f", {.addresses = 0xC080, .block = 0xC000}},
    {"blocksArm", {.addresses = 0x8080, .block = 0x8000, .model = modelArm}},
    {"words32f", {.width = 2, .addresses = 0x180, .block = 0x180, .margin = 2}},
    {"wordsArm", {.width = 2, .addresses = 0x180, .block = 0x180, .margin = 1, .model = modelArm}},
    {"chunks32f", {.addresses = 0xD000, .block = 0xD000}},
    {"chunksArm", {.addresses = 0x9000, .block = 0x9000, .model = modelArm}},
};
/// Families that get data of their own with operations that run at once.
constexpr Target familyTargets[] = {
    {"dataFirst32f", {.addresses = 0x1000, .block = 0x1000, .family = 0x1B}},
    {"dataLastArm", {.addresses = 0x1000, .block = 0x1000, .family = 0x2E, .model = modelArm}},
};
constexpr Target windowTarget{"window", {.width = 2, .addresses = 0x80, .model = modelArm, .selection = 0}, 8};
constexpr Target editorTarget{"editor", {.addresses = 9000, .block = 9000}, 0, false};
constexpr Target noteTarget{"note", editorTarget.device, 0, false};

enum class Of : Byte { arm, window, both };

struct Operation {
    Of kind;
    const char *name;
    Byte number;
    ChipState before;
    bool passes = true;
    bool bufferChanges = false;
};

constexpr Operation operations[] = {
    {Of::arm, "auto", 0, blank},
    {Of::arm, "auto-again", 0, programmed},
    {Of::arm, "auto-unprotects", 0, isProtected},
    {Of::arm, "auto-quiet", 6, blank},
    {Of::arm, "check-configuration-blank", 10, blank, false},
    {Of::window, "auto", 6, blank},
    {Of::window, "unknown", 11, blank, false},
    {Of::both, "read", 2, programmed, true, true},
    {Of::both, "read-protected", 2, isProtected, false, true},
    {Of::both, "program", 3, blank},
    {Of::both, "program-dirty", 3, dirty, false},
    {Of::both, "blank-check", 4, blank},
    {Of::both, "blank-check-programmed", 4, programmed, false},
    {Of::both, "verify", 5, programmed},
    {Of::both, "verify-differs", 5, differs, false},
    {Of::both, "protect", 7, programmed},
    {Of::both, "erase", 8, programmed},
    {Of::both, "program-configuration", 9, blank},
    {Of::both, "check-configuration", 10, programmed},
};

class Scenarios {
  public:
    Scenarios() {
        for (const Target &target : targets)
            addOperations(target, Kind::arm, Of::arm, 0);
        for (const Target &target : familyTargets) {
            add(target, Kind::arm, "erase", 8, programmed);
            add(target, Kind::arm, "check-configuration", 10, programmed);
        }
        constexpr Byte windowAuto = 6;
        addOperations(windowTarget, Kind::window, Of::window, windowAuto);
        add(windowTarget, Kind::window, "sequence", 0, dirty).sequence = {8, 4, 3, 5, 9};
        add(windowTarget, Kind::window, "sequence-not-blank", 0, programmed).sequence = {4, 8, 3, 5, 9};
        add(targets[0], Kind::attach, "attach", 0);
        add(targets[1], Kind::attach, "attach", 0);
        add(windowTarget, Kind::attach, "attach", windowAuto);
        add(targets[0], Kind::attachAlone, "attach-alone", 0).passes = false;
        for (const Byte mode : test::editorModes) {
            Scenario &opened = add(editorTarget, Kind::editor, std::to_string(mode), mode);
            opened.passes = false;
            opened.bufferChanges = true;
        }
        constexpr Byte firstNote = 61, lastNote = 75;
        for (Byte number = firstNote; number <= lastNote; ++number)
            add(noteTarget, Kind::note, std::to_string(number), number).passes = false;
    }
    std::vector<Scenario> all;

  private:
    Scenario &add(const Target &target, Kind kind, const std::string &name, Byte operation, ChipState before = blank) {
        all.push_back({std::string(target.name) + '/' + name, &target, kind, operation, before});
        return all.back();
    }
    void addOperations(const Target &target, Kind kind, Of of, Byte automatic) {
        for (const Operation &operation : operations) {
            if (operation.kind != of && operation.kind != Of::both) continue;
            Scenario &added = add(target, kind, operation.name, operation.number, operation.before);
            added.passes = operation.passes;
            added.bufferChanges = operation.bufferChanges;
        }
        add(target, kind, "auto-identity", automatic).chipIdIsChecked = true;
        Scenario &other = add(target, kind, "auto-other-identity", automatic);
        other.chipIdIsChecked = other.chipIdDiffers = true;
    }
};

} // namespace

const std::vector<Scenario> &allScenarios() {
    static const Scenarios scenarios;
    return scenarios.all;
}

} // namespace kx3::torture
