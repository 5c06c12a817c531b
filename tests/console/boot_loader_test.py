#!/usr/bin/env python3
"""Real boot loaders with the fuse and lock bytes of their boards: programmed, and all read back.

usage: boot_loader_test.py PROGRAM [CASE...]

Needs package arduino-core-avr; exit code 77 without it.
"""
import pathlib
import sys

import mpu6_test
from mpu6_test import Case
from load_files import hex_content

PACKAGE = pathlib.Path("/usr/share/arduino/hardware/arduino/avr")
BYTES = ("low_fuses", "high_fuses", "extended_fuses", "lock_bits")
OFFSETS = (0, 1, 2, 7)
NAMES = ("low", "high", "extended", "lock")

# Device, board, and the processor of boards that have several.
BOARDS = [
    ("FUSE55-32K", "diecimila", "atmega328"),
    ("FUSE55-32K", "pro", "8MHzatmega328"),
    ("FUSE15-16K", "diecimila", "atmega168"),
    ("FUSE30-256K", "mega", "atmega2560"),
]


def boot_loader(board, processor):
    """What the package says of a board: file and configuration bytes."""
    entries = dict(line.strip().split("=", 1) for line in (PACKAGE / "boards.txt").read_text().splitlines()
                   if "=" in line and not line.startswith("#"))
    of_board, of_processor = f"{board}.bootloader.", f"{board}.menu.cpu.{processor}.bootloader."

    def value(key):
        return entries.get(of_processor + key) or entries[of_board + key]

    return PACKAGE / "bootloaders" / value("file"), [int(value(key), 16) for key in BYTES]


def holds(result, path, values):
    copy, wanted = result.file("copy.bin"), hex_content(path.read_bytes())[0]
    image = bytes(wanted.get(address, 0xFF) for address in range(len(copy)))
    return wanted and copy == image and [result.json["configuration"][offset] for offset in OFFSETS] == values


def case(device, board, processor):
    path, values = boot_loader(board, processor)
    fuses = " ".join(f"--fuse {name}=0x{value:02X}" for name, value in zip(NAMES, values))
    return Case(f"{path.name} of {board}, {processor}", f"read -d {device} -o copy.bin --chip c.chip --json",
                before=(f"auto -d {device} -i {path} {fuses} --chip c.chip", f"verify -d {device} -i {path} {fuses} --chip c.chip"),
                check=lambda result: holds(result, path, values))


if __name__ == "__main__":
    if not (PACKAGE / "boards.txt").exists():
        print("!! SKIPPED: real boot loaders; install package arduino-core-avr", file=sys.stderr)
        sys.exit(77)
    sys.exit(mpu6_test.main([case(*board) for board in BOARDS], {}))
