#include "scenario.h"

#include "rig/editor_modes.h"

#include <numeric>

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

using Rows = std::vector<Scenario>;

const Rows ofArm = {
    {.name = "auto"},
    {.name = "auto-again", .before = programmed},
    {.name = "auto-unprotects", .before = isProtected},
    {.name = "auto-quiet", .operation = 6},
    {.name = "check-configuration-blank", .operation = 10, .passes = false},
};
const Rows ofWindow = {
    {.name = "auto", .operation = 6},
    {.name = "unknown", .operation = 11, .passes = false},
};
const Rows ofBoth = {
    {.name = "read", .operation = 2, .before = programmed, .bufferChanges = true},
    {.name = "read-protected", .operation = 2, .before = isProtected, .passes = false, .bufferChanges = true},
    {.name = "program", .operation = 3},
    {.name = "program-dirty", .operation = 3, .before = dirty, .passes = false},
    {.name = "blank-check", .operation = 4},
    {.name = "blank-check-programmed", .operation = 4, .before = programmed, .passes = false},
    {.name = "verify", .operation = 5, .before = programmed},
    {.name = "verify-differs", .operation = 5, .before = differs, .passes = false},
    {.name = "protect", .operation = 7, .before = programmed},
    {.name = "erase", .operation = 8, .before = programmed},
    {.name = "program-configuration", .operation = 9},
    {.name = "check-configuration", .operation = 10, .before = programmed},
};
const Rows ofFamilies = {
    {.name = "erase", .operation = 8, .before = programmed},
    {.name = "check-configuration", .operation = 10, .before = programmed},
};

Rows identityRows(Byte automatic) {
    return {{.name = "auto-identity", .operation = automatic, .chipIdIsChecked = true},
            {.name = "auto-other-identity", .operation = automatic, .chipIdIsChecked = true, .chipIdDiffers = true}};
}

/// The row for each of some numbers.
Rows numbered(const std::vector<Byte> &numbers, bool bufferChanges) {
    Rows rows;
    for (const Byte number : numbers)
        rows.push_back(
            {.name = std::to_string(number), .operation = number, .passes = false, .bufferChanges = bufferChanges});
    return rows;
}

Rows scenarios() {
    Rows all;
    const auto add = [&all](const Target &target, Kind kind, const Rows &rows) {
        for (const Scenario &row : rows) {
            all.push_back(row);
            all.back().name = std::string(target.name) + '/' + row.name;
            all.back().target = &target;
            all.back().kind = kind;
        }
    };
    for (const Target &target : targets)
        for (const Rows &rows : {ofArm, ofBoth, identityRows(0)})
            add(target, Kind::arm, rows);
    for (const Target &target : familyTargets)
        add(target, Kind::arm, ofFamilies);
    constexpr Byte windowAuto = 6, firstNote = 61, lastNote = 75;
    for (const Rows &rows : {ofWindow, ofBoth, identityRows(windowAuto)})
        add(windowTarget, Kind::window, rows);
    add(windowTarget, Kind::window,
        {{.name = "sequence", .before = dirty, .sequence = {8, 4, 3, 5, 9}},
         {.name = "sequence-not-blank", .before = programmed, .sequence = {4, 8, 3, 5, 9}}});
    add(targets[0], Kind::attach, {{.name = "attach"}});
    add(targets[1], Kind::attach, {{.name = "attach"}});
    add(windowTarget, Kind::attach, {{.name = "attach", .operation = windowAuto}});
    add(targets[0], Kind::attachAlone, {{.name = "attach-alone", .passes = false}});
    add(editorTarget, Kind::editor, numbered(test::editorModes, true));
    std::vector<Byte> notes(lastNote - firstNote + 1);
    std::iota(notes.begin(), notes.end(), firstNote);
    add(noteTarget, Kind::note, numbered(notes, false));
    return all;
}

} // namespace

const std::vector<Scenario> &allScenarios() {
    static const Rows all = scenarios();
    return all;
}

} // namespace kx3::torture
