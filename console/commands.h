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
    erase = 8,
    programConfiguration = 9,
    checkConfiguration = 10,
};

struct Command {
    std::string_view name;
    Operation operation; ///< unused when the command runs none
    bool runs;           ///< runs an operation on a device
    bool needsInput;
    bool needsOutput;
    std::string_view summary;
    std::string_view example;
};

inline constexpr std::array commandTable{
    Command{"devices", {}, false, false, false, "list the devices that the profiles describe", "mpu6 devices"},
    Command{"program", Operation::program, true, true, false, "write a load file into the device",
            "mpu6 program --device ARM80-256K --input firmware.hex --verify"},
    Command{"read", Operation::read, true, false, true, "read the device into a file",
            "mpu6 read --device ARM80-256K --chip board.chip --output copy.hex"},
    Command{"verify", Operation::verify, true, true, false, "compare the device with a load file",
            "mpu6 verify --device ARM80-256K --chip board.chip --input firmware.hex"},
    Command{"erase", Operation::erase, true, false, false, "erase the device",
            "mpu6 erase --device ARM60-256K --chip board.chip"},
    Command{"blank-check", Operation::blankCheck, true, false, false, "check that the device is erased",
            "mpu6 blank-check --device ARM60-256K --chip board.chip --json"},
    Command{"auto", Operation::automatic, true, true, false,
            "run the device's automatic sequence: erase, blank check, program, verify, configuration",
            "mpu6 auto --device FUSE55-32K --input loader.hex --fuse low=0xFF --fuse lock=0x0F --trace story.jsonl"},
};

} // namespace kx3console
