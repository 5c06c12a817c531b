// Captions that the fuse editors share.
#pragma once

#include <string_view>

namespace kx3 {

inline constexpr std::u16string_view lowFuseRows[] = {u"CKSEL0:", u"CKSEL1:", u"CKSEL2:", u"CKSEL3:",
                                                      u"SUT0:",   u"SUT1:",   u"CKOUT:",  u"CKDIV8:"};
inline constexpr std::u16string_view highFuseRows[] = {u"BODLEVEL0:", u"BODLEVEL1:", u"BODLEVEL2:", u"EESAVE:",
                                                       u"WDTON:",     u"SPIEN:",     u"DWEN:",      u"RSTDISBL:"};
inline constexpr std::u16string_view extendedFuseRows[] = {u"SELFPRGEN:", u"BODACT0:", u"BODACT1:", u"BODPD0:",
                                                           u"BODPD1:"};

inline constexpr std::u16string_view lowFuseFrame = u"Fuse Low Byte";
inline constexpr std::u16string_view highFuseFrame = u"Fuse High Byte";
inline constexpr std::u16string_view extendedFuseFrame = u"Fuse Extended Byte";
inline constexpr std::u16string_view calibrationFrame = u"Calibration byte";
inline constexpr std::u16string_view lockFrame = u"Lock Bit Byte";

inline constexpr std::u16string_view calibrationValueRow[] = {u"Calib byte(read only):"};
inline constexpr std::u16string_view calibrationWriteRow[] = {u"Calib value write to device memory"};
inline constexpr std::u16string_view calibrationAddressRow[] = {u"Calib value write to buffer address:"};

} // namespace kx3
