// The commands of `mpu6`.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace kx3console {

/// Operation numbers of host and plug-in, `prgresult`(1).
enum class Operation : std::uint8_t {
    automatic = 0,
    read = 2,
    program = 3,
    blankCheck = 4,
    verify = 5,
    automaticProgram = 6, ///< the device's own sequence
    erase = 8,
    programConfiguration = 9,
    checkConfiguration = 10,
};

/// What a command does. From `set` to `edit` it changes configuration bytes.
enum class Verb : std::uint8_t { devices, run, list, show, get, set, defaults, edit, notes, blocks };

struct Command {
    std::string_view name; ///< "config show": command show of command config
    Verb verb;
    std::string_view summary;
    std::string_view details; ///< for the help text; may be empty
    std::string_view example;
    Operation operation = {}; ///< of Verb::run
    /// What is said when the operation has passed, with the names of RunReport's members.
    std::string_view passed{};

    [[nodiscard]] constexpr bool runs() const { return verb == Verb::run; }
    [[nodiscard]] constexpr bool changes() const { return verb >= Verb::set && verb <= Verb::edit; }
    [[nodiscard]] constexpr bool isConfig() const { return verb >= Verb::list && verb <= Verb::edit; }
    /// Takes a load file, writes one.
    [[nodiscard]] constexpr bool needsInput() const {
        return runs() &&
               (operation == Operation::program || operation == Operation::verify || operation == Operation::automatic);
    }
    [[nodiscard]] constexpr bool needsOutput() const { return runs() && operation == Operation::read; }
};

inline constexpr std::string_view changeDetails =
    "The changes are shown before anything is written, and a question asks for consent; --yes\n"
    "answers it. The image is changed in place unless --output names another file; all of its\n"
    "other data stay as they are, and it is replaced only when all is well.";

inline constexpr std::array commandTable{
    Command{"devices", Verb::devices, "list the devices that the profiles describe", "", "mpu6 devices"},
    Command{"program", Verb::run, "write a load file into the device", "",
            "mpu6 program --device ARM80-256K --input firmware.hex --verify", Operation::program,
            "Programmed{verified} {device}: {bytes} bytes of {input} ({format})."},
    Command{"read", Verb::run, "read the device into a file", "",
            "mpu6 read --device ARM80-256K --chip board.chip --output copy.hex", Operation::read,
            "Read {bytes} bytes of {device} into {output} ({format})."},
    Command{"verify", Verb::run, "compare the device with a load file", "",
            "mpu6 verify --device ARM80-256K --chip board.chip --input firmware.hex", Operation::verify,
            "Verified {device}: all {bytes} bytes equal {input} ({format})."},
    Command{"erase", Verb::run, "erase the device", "", "mpu6 erase --device ARM60-256K --chip board.chip",
            Operation::erase, "Erased {device}."},
    Command{"blank-check", Verb::run, "check that the device is erased", "",
            "mpu6 blank-check --device ARM60-256K --chip board.chip --json", Operation::blankCheck,
            "{device} is blank."},
    Command{"auto", Verb::run,
            "run the device's automatic sequence: erase, blank check, program, verify, configuration", "",
            "mpu6 auto --device FUSE55-32K --input loader.hex --fuse low=0xFF --fuse lock=0x0F --trace story.jsonl",
            Operation::automatic, "Auto sequence passed on {device}: {bytes} bytes of {input} ({format})."},
    Command{"config list", Verb::list, "list the fields of a device and what they can hold",
            "FIELD is a caption or its beginning, \"Frame/Caption\", \"Frame/\" for all fields of a frame,\n"
            "or a control's name such as \"Combo1(3)\".",
            "mpu6 config list --mode 15 --size 0x4000"},
    Command{"config show", Verb::show, "show fields and bytes", "Bytes that the image does not have count as erased.",
            "mpu6 config show --mode 15 --size 0x4000 --input uno.hex"},
    Command{"config get", Verb::get, "print the values of fields alone", "One value a line.",
            "mpu6 config get --mode 15 --size 0x4000 --input board.hex CKDIV8"},
    Command{"config set", Verb::set, "change fields through the device's editor", changeDetails,
            "mpu6 config set --mode 15 --size 0x4000 --input board.hex CKDIV8=enable \"Lock Bit Byte/LB1\"=1 --yes"},
    Command{"config defaults", Verb::defaults, "write the device's default configuration bytes", changeDetails,
            "mpu6 config defaults --mode 15 --size 0x4000 --output fuses.hex --yes"},
    Command{"config edit", Verb::edit, "change fields in the device's own dialog",
            "Needs a display and libkx3mpu6-qt.so. After OK the changes are shown before anything is written,\n"
            "and a question asks for consent, in a window where there is no terminal; --yes answers it. Changes\n"
            "that can lock you out are confirmed on the terminal, or by --accept-danger.",
            "mpu6 config edit --mode 15 --size 0x4000 --input board.hex"},
    Command{"notes", Verb::notes, "show what is particular about a device", "", "mpu6 notes --device ARM80-256K 75"},
    Command{"blocks", Verb::blocks, "list the shared blocks of host and plug-in, or explain one",
            "For people who write hosts: each element that the plug-in reads or writes, its values and who writes it.",
            "mpu6 blocks prgresult"},
};

} // namespace kx3console
