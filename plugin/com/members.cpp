#include "com/members.h"

#include <algorithm>
#include <iterator>

namespace kx3::com {

namespace {

constexpr DISPID onlyArgument = 0;

constexpr Member table[] = {
    {L"buflg", 0x40030000, DISPATCH_PROPERTYGET, VT_I4, nullptr,
     [](::_clsMPU &object, VARIANT *value) {
         V_VT(value) = VT_I4;
         return object.get_buflg(&V_I4(value));
     }},
    {L"buflg", 0x40030000, DISPATCH_PROPERTYPUT, VT_I4, L"buflg",
     [](::_clsMPU &object, VARIANT *value) { return object.put_buflg(V_I4(value)); }},
    {L"exitpower", 0x40030001, DISPATCH_PROPERTYGET, VT_BOOL, nullptr,
     [](::_clsMPU &object, VARIANT *value) {
         V_VT(value) = VT_BOOL;
         return object.get_exitpower(&V_BOOL(value));
     }},
    {L"exitpower", 0x40030001, DISPATCH_PROPERTYPUT, VT_BOOL, L"exitpower",
     [](::_clsMPU &object, VARIANT *value) { return object.put_exitpower(V_BOOL(value)); }},
    {L"runMpu6Prg", 0x60030000, DISPATCH_METHOD, VT_BOOL, L"usbenable",
     [](::_clsMPU &object, VARIANT *value) { return object.runMpu6Prg(&V_BOOL(value)); }},
    {L"mpu6warn", 0x60030001, DISPATCH_METHOD, VT_UI1, L"no",
     [](::_clsMPU &object, VARIANT *value) { return object.mpu6warn(&V_UI1(value)); }},
    {L"editfigmpu6", 0x60030002, DISPATCH_METHOD, VT_EMPTY, nullptr,
     [](::_clsMPU &object, VARIANT *) { return object.editfigmpu6(); }},
    {L"bufcommpu6", 0x60030004, DISPATCH_METHOD, VT_I2, L"num",
     [](::_clsMPU &object, VARIANT *value) { return object.bufcommpu6(&V_I2(value)); }},
    {L"freesharebuffermpu6", 0x60030006, DISPATCH_METHOD, VT_EMPTY, nullptr,
     [](::_clsMPU &object, VARIANT *) { return object.freesharebuffermpu6(); }},
    {L"sinitmpu6", 0x60030007, DISPATCH_METHOD, VT_EMPTY, nullptr,
     [](::_clsMPU &object, VARIANT *) { return object.sinitmpu6(); }},
};

bool sameName(const wchar_t *one, const wchar_t *other) noexcept {
    return ::CompareStringOrdinal(one, -1, other, -1, TRUE) == CSTR_EQUAL;
}

} // namespace

std::span<const Member> members() noexcept { return table; }

const Member *memberOf(DISPID identifier, WORD flags) noexcept {
    // A script reads a property with both flags, METHOD and PROPERTYGET, set; it calls a method for
    // its value in the same way.
    const auto *found = std::ranges::find_if(
        table, [=](const Member &member) { return member.identifier == identifier && (member.kind & flags) != 0; });
    return found == std::end(table) ? nullptr : found;
}

bool identifiersOf(std::span<LPOLESTR> names, std::span<DISPID> identifiers) noexcept {
    std::ranges::fill(identifiers, DISPID_UNKNOWN);
    const auto *member = std::ranges::find_if(table, [&](const Member &each) { return sameName(each.name, names[0]); });
    if (member == std::end(table)) return false;
    identifiers[0] = member->identifier;
    const bool takesNamedArgument = member->kind == DISPATCH_METHOD && member->argumentCount() == 1;
    for (std::size_t i = 1; i < names.size(); ++i)
        if (takesNamedArgument && sameName(member->argument, names[i])) identifiers[i] = onlyArgument;
    return std::ranges::find(identifiers, DISPID_UNKNOWN) == identifiers.end();
}

bool namesFit(const Member &member, const DISPPARAMS &parameters) noexcept {
    if (parameters.cNamedArgs == 0) return member.kind != DISPATCH_PROPERTYPUT;
    if (parameters.cNamedArgs > 1 || parameters.cArgs != 1) return false;
    const DISPID expected = member.kind == DISPATCH_PROPERTYPUT ? DISPID_PROPERTYPUT : onlyArgument;
    return parameters.rgdispidNamedArgs[0] == expected;
}

} // namespace kx3::com
