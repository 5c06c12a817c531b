// User-interface texts in twelve language blocks.
#pragma once

#include "base/types.h"

#include <array>
#include <string_view>

namespace kx3 {

/// Identifiers of the texts, as offsets inside a language block.
enum TextId : Long {
    textUserCodeTitle = 1010,       ///< "Edit Configuration\User_Code"
    textWarning = 1066,             ///< "Warning! ", first part of the chip-ID box title
    textOk = 1067,                  ///< "OK"
    textCancel = 1068,              ///< "Cancel"
    textNoteTitle = 1095,           ///< "Note!"
    textDeviceAddress = 1149,       ///< ">>Device Address:"
    textDeviceData = 1150,          ///< "H  Device Data:"
    textBufferAddress = 1151,       ///< "H  Buffer Address:"
    textBufferData = 1152,          ///< "H  Buffer Data:"
    textStop = 1210,                ///< "Stop"
    textInformation = 1240,         ///< "Information"
    textDisable = 1273,             ///< "Disable", a bit of value 1
    textEnable = 1274,              ///< "Enable", a bit of value 0
    textDeviceCodeError = 1278,     ///< "Device Code Error!"
    textDeviceBufferHeading = 1281, ///< " Device         Buffer"
    textProgramMemory = 1282,       ///< "Program Memory:"
    textDataMemory = 1284,          ///< "   Data Memory:"
    textEditTitle = 1293,           ///< "Edit Configuration"
    textVerify = 2002,
    textBlankCheck = 2003,
    textProgram = 2005,
    textSecure = 2006,
    textErase = 2008,
    textProgConfig = 2024,
};

/// The languages in the order of their blocks.
inline constexpr std::array<std::string_view, 12> languageNames{
    "en", "zh-cn", "zh-tw", "ko", "pl", "default", "it", "nl", "pt-br", "tr", "hu", "ru",
};
/// Distance between two language blocks; the first one starts at 0.
inline constexpr Long languageStep = 3000;
inline constexpr Long languageCount{languageNames.size()};

/// The text with identifier `language` + `id`, exactly as stored. Raises "resource not found" when
/// `language` is not the start of one of the twelve blocks, or the table holds no such text.
[[nodiscard]] std::u16string_view stringTableText(Long language, Long id);

} // namespace kx3
