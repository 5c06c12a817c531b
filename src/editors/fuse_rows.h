// Captions that the fuse editors share.
#pragma once

#include "editors/tables.h"

namespace kx3 {

inline constexpr auto lowFuseRows =
    rowsOf(Hazard::none, u"CKSEL0:", u"CKSEL1:", u"CKSEL2:", u"CKSEL3:", u"SUT0:", u"SUT1:", u"CKOUT:", u"CKDIV8:");
inline constexpr Caption highFuseRows[] = {{u"BODLEVEL0:", Hazard::none}, {u"BODLEVEL1:", Hazard::none},
                                           {u"BODLEVEL2:", Hazard::none}, {u"EESAVE:", Hazard::none},
                                           {u"WDTON:", Hazard::none},     {u"SPIEN:", Hazard::programming},
                                           {u"DWEN:", Hazard::debug},     {u"RSTDISBL:", Hazard::resetPin}};
inline constexpr auto extendedFuseRows =
    rowsOf(Hazard::none, u"SELFPRGEN:", u"BODACT0:", u"BODACT1:", u"BODPD0:", u"BODPD1:");

inline constexpr std::u16string_view lowFuseFrame = u"Fuse Low Byte";
inline constexpr std::u16string_view highFuseFrame = u"Fuse High Byte";
inline constexpr std::u16string_view extendedFuseFrame = u"Fuse Extended Byte";
inline constexpr std::u16string_view calibrationFrame = u"Calibration byte";
inline constexpr std::u16string_view lockFrame = u"Lock Bit Byte";

inline constexpr auto calibrationValueRow = rowsOf(Hazard::none, u"Calib byte(read only):");
inline constexpr auto calibrationWriteRow = rowsOf(Hazard::none, u"Calib value write to device memory");
inline constexpr auto calibrationAddressRow = rowsOf(Hazard::none, u"Calib value write to buffer address:");

} // namespace kx3
