// What a device profile may say: one row a key, with the block element that the value goes to.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kx3console {

enum class Field : std::size_t {
    model_type,
    selection,
    family,
    maker,
    description,
    size,
    bytes_per_address,
    block_size,
    bank,
    vcc,
    vcc_high,
    page_length,
    option,
    power_mode,
    pins,
    ground_pins,
    maker_id,
    device_id,
    id_test,
    firmware_version,
    signature,
    signature_level,
    signature_model,
    editor_option,
    verify_margin,
    algorithm_clock,
    algorithm_folder,
    algorithm_file,
    auto_sequence,
    note,
    configuration,
    load_base,
    eeprom_size,
};

/// Which profiles must have a key.
enum class Required : std::uint8_t { never, withArmDriver, always };

enum class ValueKind : std::uint8_t { integer, boolean, text, bytes };

/// One key of a profile. `low` and `high` bound an integer, each member of a list, or a text's
/// length.
struct ProfileField {
    Field field;
    std::string_view key;
    ValueKind kind;
    std::int64_t low;
    std::int64_t high;
    std::string_view block; ///< root of the shared block; empty for what stays in the host
    std::int32_t element;   ///< of the block; a list goes on from here
    std::size_t most;       ///< members of a list
    Required required;
    std::int64_t standard; ///< the value when the key is left out; for a list none, for a text ""
    std::string_view meaning;
};

inline constexpr std::int64_t longestText = 200;

// clang-format off
inline constexpr std::array profileTable{
    ProfileField{Field::model_type, "model_type", ValueKind::integer, 40, 32767, "modeltype", 0, 1, Required::always, 0,
        "model type: 74 and above driver arm_prg_32f, 40 to 73 with selection 0x40 driver arm_prg"},
    ProfileField{Field::selection, "selection", ValueKind::integer, 0, 255, "selmode", 0, 1, Required::never, 0x40,
        "selection flags; 0x40 and not 0x01 selects driver arm_prg"},
    ProfileField{Field::family, "family", ValueKind::integer, 0, 255, "prgmode", 0, 1, Required::never, 0,
        "device family code; selects verify ranges and configuration editor"},
    ProfileField{Field::maker, "maker", ValueKind::text, 0, longestText, "wcompany", 0, 1, Required::never, 0,
        "the device's maker"},
    ProfileField{Field::description, "description", ValueKind::text, 0, longestText, "", 0, 1, Required::never, 0,
        "shown by `mpu6 devices`"},
    ProfileField{Field::size, "size", ValueKind::integer, 1, 0x20000000, "tlength", 0, 1, Required::always, 0,
        "device size in addresses"},
    ProfileField{Field::bytes_per_address, "bytes_per_address", ValueKind::integer, 1, 2, "wordmode", 0, 1, Required::never, 1,
        "1: byte device, 2: device of 16-bit words"},
    ProfileField{Field::block_size, "block_size", ValueKind::integer, 1, 0x20000000, "ramlg", 0, 1, Required::withArmDriver, 0,
        "addresses that one run of the programmer handles"},
    ProfileField{Field::bank, "bank", ValueKind::integer, 0, 127, "rambknum", 0, 1, Required::never, 0,
        "bank of the programmer's memory"},
    ProfileField{Field::vcc, "vcc", ValueKind::integer, 0, 3276, "bvcc", 0, 1, Required::never, 330,
        "supply voltage in units of 10 mV"},
    ProfileField{Field::vcc_high, "vcc_high", ValueKind::integer, 0, 32767, "bvcch", 0, 1, Required::never, 0,
        "family option of the verify ranges"},
    ProfileField{Field::page_length, "page_length", ValueKind::integer, 0, 32767, "pagelength", 0, 1, Required::never, 0,
        "family option of the verify ranges"},
    ProfileField{Field::option, "option", ValueKind::integer, 0, 255, "woption", 0, 1, Required::never, 0,
        "family option of the verify ranges"},
    ProfileField{Field::power_mode, "power_mode", ValueKind::integer, 0, 255, "figmode", 0, 1, Required::never, 0,
        "how the device is prepared"},
    ProfileField{Field::pins, "pins", ValueKind::integer, 0, 32767, "chippin", 0, 1, Required::never, 0,
        "pin count"},
    ProfileField{Field::ground_pins, "ground_pins", ValueKind::bytes, 0, 255, "bgndpin", 0, 2, Required::never, 0,
        "socket pins that are connected to ground"},
    ProfileField{Field::maker_id, "maker_id", ValueKind::integer, 0, 255, "compid", 0, 1, Required::never, 0,
        "identifier of the maker that the chip reports"},
    ProfileField{Field::device_id, "device_id", ValueKind::integer, 0, 255, "typeid", 0, 1, Required::never, 0,
        "first device code byte that the chip reports"},
    ProfileField{Field::id_test, "id_test", ValueKind::boolean, 0, 0, "chipidtestmode", 0, 1, Required::never, 0,
        "compare the chip's identifier before an operation"},
    ProfileField{Field::firmware_version, "firmware_version", ValueKind::integer, 0, 255, "wsign", 1, 1, Required::never, 1,
        "firmware version that the programmer should have"},
    ProfileField{Field::signature, "signature", ValueKind::integer, 0, 255, "wsign", 2, 1, Required::never, 0,
        "added to firmware_version in the signature packet; the sum is at most 255"},
    ProfileField{Field::signature_level, "signature_level", ValueKind::integer, 0, 255, "figvol", 1, 1, Required::never, 0,
        "the signature packet is sent when this equals signature_model"},
    ProfileField{Field::signature_model, "signature_model", ValueKind::integer, 0, 32767, "modeltype", 2, 1, Required::never, 0,
        "see signature_level"},
    ProfileField{Field::editor_option, "editor_option", ValueKind::integer, 0, 255, "figvol", 0, 1, Required::never, 0,
        "option of the configuration editors"},
    ProfileField{Field::verify_margin, "verify_margin", ValueKind::integer, 0, 19, "wlverifyvcc", 0, 1, Required::never, 0,
        "verify at 5 % times this above and below vcc; 0: at vcc only"},
    ProfileField{Field::algorithm_clock, "algorithm_clock", ValueKind::text, 0, longestText, "algorithm", 0, 1, Required::never, 0,
        "name of the clock-specific algorithm image, tried first in folder clk"},
    ProfileField{Field::algorithm_folder, "algorithm_folder", ValueKind::text, 1, longestText, "algorithm", 1, 1, Required::withArmDriver, 0,
        "folder of the general algorithm image"},
    ProfileField{Field::algorithm_file, "algorithm_file", ValueKind::text, 1, longestText, "algorithm", 2, 1, Required::withArmDriver, 0,
        "name of the general algorithm image without its ending"},
    ProfileField{Field::auto_sequence, "auto_sequence", ValueKind::bytes, 0, 19, "autoprg", 0, 11, Required::never, 0,
        "operation numbers of the automatic sequence of a device that the host drives itself"},
    ProfileField{Field::note, "note", ValueKind::integer, 0, 255, "wwarnno", 0, 1, Required::never, 0,
        "number of the device note"},
    ProfileField{Field::configuration, "configuration", ValueKind::bytes, 0, 255, "", 0, 11, Required::never, 0,
        "configuration bytes behind the device data; 0xFF when left out"},
    ProfileField{Field::load_base, "load_base", ValueKind::integer, 0, 0xFFFFFFFF, "", 0, 1, Required::never, 0,
        "load file address of the device's first byte"},
    ProfileField{Field::eeprom_size, "eeprom_size", ValueKind::integer, 0, 0x10000, "", 0, 1, Required::never, 0,
        "bytes of the EEPROM of a device that the host drives itself"},
};
// clang-format on

constexpr bool rowsFollowFields() {
    for (std::size_t i = 0; i < profileTable.size(); ++i)
        if (static_cast<std::size_t>(profileTable[i].field) != i) return false;
    return true;
}
static_assert(rowsFollowFields(), "a row stands where its field says");

} // namespace kx3console
