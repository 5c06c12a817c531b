#!/usr/bin/env python3
"""Real boot loaders with the fuse and lock bytes of their boards: programmed, and all read back.

usage: boot_loader_test.py PROGRAM

Needs package arduino-core-avr; exit code 77 without it.
"""
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from avr_boards import read_boards
from load_files import hex_content
from mpu6_desk import Desk, require

OFFSETS = {"low": 0, "high": 1, "extended": 2, "lock": 7}
DEVICES = {
    "diecimila.menu.cpu.atmega328": "FUSE55-32K",
    "pro.menu.cpu.8MHzatmega328": "FUSE55-32K",
    "diecimila.menu.cpu.atmega168": "FUSE15-16K",
    "mega.menu.cpu.atmega2560": "FUSE30-256K",
}

boards = [each for each in read_boards() if each[0] in DEVICES]
if not boards:
    print("!! SKIPPED: real boot loaders; install package arduino-core-avr", file=sys.stderr)
    sys.exit(77)
for board, _, path, values in boards:
    fuses = " ".join(f"--fuse {name}=0x{value:02X}" for name, value in values.items())
    with Desk(sys.argv[1], {}) as desk:
        for command in (f"auto -i {path} {fuses}", f"verify -i {path} {fuses}", "read -o copy.bin --json"):
            result = desk.run(f"{command} -d {DEVICES[board]} --chip c.chip")
            require(result.code == 0, result)
        copy, wanted = result.file("copy.bin"), hex_content(path.read_bytes())[0]
        require(wanted and copy == bytes(wanted.get(address, 0xFF) for address in range(len(copy))), f"{board}: content")
        stored = {name: result.json["configuration"][offset] for name, offset in OFFSETS.items()}
        require(stored == values, f"{board}: {stored}")
