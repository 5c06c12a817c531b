#!/usr/bin/env python3
"""The fuse and lock bytes of real boards, shown and set by name.

usage: boards_test.py PROGRAM

Without package arduino-core-avr the test is skipped. Which bit of which byte has which name is written
down here from the chips' own tables.
"""

import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from avr_boards import read_boards
from load_files import hex_content, ihex
from mpu6_desk import Desk

SIZE = 0x4000
FIRST = 2 * SIZE
PLACES = {"low": 0, "high": 1, "extended": 2, "lock": 7}  # offsets of the bytes that boards.txt gives

LOW = ["CKSEL0", "CKSEL1", "CKSEL2", "CKSEL3", "SUT0", "SUT1", "CKOUT", "CKDIV8"]
LOCK = ["LB1", "LB2", "BLB01", "BLB02", "BLB11", "BLB12"]
BOOT = ["BOOTRST", "BOOTSZ0", "BOOTSZ1"]
BROWN_OUT = ["BODLEVEL0", "BODLEVEL1", "BODLEVEL2"]
HIGH_JTAG = [*BOOT, "EESAVE", "WDTON", "SPIEN", "JTAGEN", "OCDEN"]
HIGH_WIRE = [*BOOT, "EESAVE", "WDTON", "SPIEN", "DWEN", "RSTDISBL"]
HIGH_BROWN_OUT = [*BROWN_OUT, "EESAVE", "WDTON", "SPIEN", "DWEN", "RSTDISBL"]

# Group of the chip: mode, and the names of the bits of each byte, from bit 0 on. Bits without a name
# are not used by the chip; the editor writes them as 1.
GROUPS = {
    "atmega328p": (55, {"low": LOW, "high": HIGH_WIRE, "extended": BROWN_OUT, "lock": LOCK}),
    "atmega168": (60, {"low": LOW, "high": HIGH_BROWN_OUT, "extended": BOOT, "lock": LOCK}),
    "atmega1280": (30, {"low": LOW, "high": HIGH_JTAG, "extended": BROWN_OUT, "lock": LOCK}),
    "atmega2560": (30, {"low": LOW, "high": HIGH_JTAG, "extended": BROWN_OUT, "lock": LOCK}),
    # The editor of this group names bits 6 and 7 of the high byte after another package's chip.
    "atmega32u4": (18, {"low": LOW, "high": HIGH_JTAG[:6], "extended": [*BROWN_OUT, "HWBE"], "lock": LOCK}),
    "attiny85": (4, {"low": LOW, "high": HIGH_BROWN_OUT, "extended": ["SELFPRGEN"], "lock": LOCK[:2]}),
}
BYTE_NAMES = {"low": "Fuse Low Byte", "high": "Fuse High Byte", "extended": "Fuse Extended Byte", "lock": "Lock Bit Byte"}


def words_of(group):
    """Every name with its byte and bit."""
    return [(byte, bit, name) for byte, names in group.items() for bit, name in enumerate(names)]


def check(condition, message):
    if not condition:
        raise AssertionError(message)


def check_shown(desk, device, group, values):
    image = ihex(*[(FIRST + PLACES[byte], bytes([value])) for byte, value in values.items()])
    (desk.path / "board.hex").write_bytes(image)
    result = desk.run(f"config show {device} -i board.hex --json")
    check(result.code == 0, result)
    shown = {(field["frame"], field["caption"]): field for field in result.json["fields"]}
    for byte, bit, name in words_of(group):
        if byte not in values:
            continue
        wanted = "Disable(1)" if values[byte] >> bit & 1 else "Enable(0)"
        field = shown[BYTE_NAMES[byte], name]
        check(field["value"] == wanted, f"{name} is {field['value']}, not {wanted}")
        check(field["addresses"] == [FIRST + PLACES[byte]], f"{name} lies at {field['addresses']}")
    check(desk.read("board.hex") == image, "showing changed the file")


def check_set(desk, device, group, values):
    """Set by name, from erased bytes, all that the editor lets a person set."""
    listed = desk.run(f"config list {device} --json").json["fields"]
    can_be_set = {(field["frame"], field["caption"]) for field in listed if field["enabled"]}
    bits = [
        (byte, bit, name, values[byte] >> bit & 1)
        for byte, bit, name in words_of(group)
        if byte in values and (BYTE_NAMES[byte], name) in can_be_set
    ]
    words = [f"{BYTE_NAMES[byte]}/{name}={'disable' if value else 'enable'}" for byte, _, name, value in bits]
    (desk.path / "new.hex").write_bytes(ihex((0, b"code")))
    done = desk.run(f"config set {device} -i new.hex --yes --accept-danger", *words)
    check(done.code == 0, done)
    content, _ = hex_content(desk.read("new.hex"))
    for byte, bit, name, value in bits:
        stored = content[FIRST + PLACES[byte]] >> bit & 1
        check(stored == value, f"{name} was stored as {stored}")
    for byte, names in group.items():
        unused = 0xFF & ~((1 << len(names)) - 1)
        if byte != "high":
            check(content[FIRST + PLACES[byte]] & unused == unused, f"unused bits of the {byte} byte")
    return len(bits)


def main():
    boards = list(read_boards())
    if not boards:
        print("SKIPPED: install arduino-core-avr to check the fuses of real boards")
        return 77
    seen, bits, failed = 0, 0, 0
    with Desk(sys.argv[1], {}) as desk:
        for board, chip, _, values in boards:
            if chip not in GROUPS or not values:
                continue
            mode, group = GROUPS[chip]
            device = f"--mode {mode} --size {SIZE}"
            try:
                check_shown(desk, device, group, values)
                bits += check_set(desk, device, group, values)
                seen += 1
            except AssertionError as error:
                failed += 1
                print(f"FAILED {board} ({chip}, mode {mode}): {error}")
    print(f"{seen} boards passed, {failed} failed, {bits} bits set by name")
    return 1 if failed or seen == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
