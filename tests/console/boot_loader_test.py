#!/usr/bin/env python3
"""Real boot loaders with the fuse and lock bytes of their boards: programmed, and all read back.

usage: boot_loader_test.py PROGRAM [CASE...]

Needs package arduino-core-avr; exit code 77 without it.
"""
import sys

import mpu6_test
from avr_boards import read_boards
from load_files import hex_content
from mpu6_test import Case

OFFSETS = {"low": 0, "high": 1, "extended": 2, "lock": 7}
DEVICES = {
    "diecimila.menu.cpu.atmega328": "FUSE55-32K",
    "pro.menu.cpu.8MHzatmega328": "FUSE55-32K",
    "diecimila.menu.cpu.atmega168": "FUSE15-16K",
    "mega.menu.cpu.atmega2560": "FUSE30-256K",
}


def holds(result, path, values):
    copy, wanted = result.file("copy.bin"), hex_content(path.read_bytes())[0]
    image = bytes(wanted.get(address, 0xFF) for address in range(len(copy)))
    stored = {name: result.json["configuration"][offset] for name, offset in OFFSETS.items()}
    return wanted and copy == image and stored == values


def case(device, board, path, values):
    fuses = " ".join(f"--fuse {name}=0x{value:02X}" for name, value in values.items())
    return Case(f"{path.name} of {board}", f"read -d {device} -o copy.bin --chip c.chip --json",
                before=(f"auto -d {device} -i {path} {fuses} --chip c.chip", f"verify -d {device} -i {path} {fuses} --chip c.chip"),
                check=lambda result: holds(result, path, values))


if __name__ == "__main__":
    cases = [case(DEVICES[board], board, path, values) for board, _, path, values in read_boards() if board in DEVICES]
    if not cases:
        print("!! SKIPPED: real boot loaders; install package arduino-core-avr", file=sys.stderr)
        sys.exit(77)
    sys.exit(mpu6_test.main(cases, {}))
