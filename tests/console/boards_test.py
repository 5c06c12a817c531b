#!/usr/bin/env python3
"""Real boards: their fuse and lock bytes shown and set by name, and real boot loaders programmed with them.

usage: boards_test.py PROGRAM

Without package arduino-core-avr the test is skipped. Which bit of which byte has which name is written
down here from the chips' own tables.
"""
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from avr_boards import read_boards
from load_files import hex_content, ihex
from mpu6_desk import Desk, require

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

# Boards whose boot loaders are programmed, and the profiles of their chips.
DEVICES = {
    "diecimila.menu.cpu.atmega328": "FUSE55-32K",
    "pro.menu.cpu.8MHzatmega328": "FUSE55-32K",
    "diecimila.menu.cpu.atmega168": "FUSE15-16K",
    "mega.menu.cpu.atmega2560": "FUSE30-256K",
}


def check_shown(desk, device, bits, values):
    image = ihex(*[(FIRST + PLACES[byte], bytes([value])) for byte, value in values.items()])
    (desk.path / "board.hex").write_bytes(image)
    result = desk.run(f"config show {device} -i board.hex --json")
    require(result.code == 0, result)
    shown = {(field["frame"], field["caption"]): field for field in result.json["fields"]}
    for byte, _, name, value in bits:
        field, wanted = shown[BYTE_NAMES[byte], name], "Disable(1)" if value else "Enable(0)"
        require(field["value"] == wanted, f"{name} is {field['value']}, not {wanted}")
        require(field["addresses"] == [FIRST + PLACES[byte]], f"{name} lies at {field['addresses']}")
    require(desk.read("board.hex") == image, "showing changed the file")


def check_set(desk, device, group, bits):
    """Set by name, from erased bytes, all that the editor lets a person set."""
    listed = desk.run(f"config list {device} --json").json["fields"]
    can_be_set = {(field["frame"], field["caption"]) for field in listed if field["enabled"]}
    bits = [bit for bit in bits if (BYTE_NAMES[bit[0]], bit[2]) in can_be_set]
    words = [f"{BYTE_NAMES[byte]}/{name}={'disable' if value else 'enable'}" for byte, _, name, value in bits]
    (desk.path / "new.hex").write_bytes(ihex((0, b"code")))
    done = desk.run(f"config set {device} -i new.hex --yes --accept-danger", *words)
    require(done.code == 0 and words, done)
    content, _ = hex_content(desk.read("new.hex"))
    for byte, bit, name, value in bits:
        require(content[FIRST + PLACES[byte]] >> bit & 1 == value, f"{name} was not stored as {value}")
    for byte, names in group.items():
        unused = 0xFF & ~((1 << len(names)) - 1)
        if byte != "high":
            require(content[FIRST + PLACES[byte]] & unused == unused, f"unused bits of the {byte} byte")


def check_boot_loader(desk, device, path, values):
    fuses = " ".join(f"--fuse {name}=0x{value:02X}" for name, value in values.items())
    for command in (f"auto -i {path} {fuses}", f"verify -i {path} {fuses}", "read -o copy.bin --json"):
        result = desk.run(f"{command} -d {device} --chip c.chip")
        require(result.code == 0, result)
    copy, wanted = result.file("copy.bin"), hex_content(path.read_bytes())[0]
    require(wanted and copy == bytes(wanted.get(address, 0xFF) for address in range(len(copy))), "other content")
    stored = {name: result.json["configuration"][offset] for name, offset in PLACES.items()}
    require(stored == values, f"{stored}")


def check(board, chip, path, values):
    """Everything of a board; whether it has anything to check."""
    with Desk(sys.argv[1], {}) as desk:
        if chip in GROUPS and values:
            mode, group = GROUPS[chip]
            bits = [(byte, bit, name, values[byte] >> bit & 1)
                    for byte, names in group.items() if byte in values for bit, name in enumerate(names)]
            check_shown(desk, f"--mode {mode} --size {SIZE}", bits, values)
            check_set(desk, f"--mode {mode} --size {SIZE}", group, bits)
        if board in DEVICES:
            check_boot_loader(desk, DEVICES[board], path, values)
    return board in DEVICES or (chip in GROUPS and bool(values))


boards = list(read_boards())
if not boards:
    print("!! SKIPPED: the fuses and boot loaders of real boards; install package arduino-core-avr", file=sys.stderr)
    sys.exit(77)
seen = 0
for board, *facts in boards:
    try:
        seen += check(board, *facts)
    except AssertionError as error:
        sys.exit(f"FAILED {board}: {error}")
print(f"{seen} boards passed")
require(seen > len(DEVICES), "no boards that are known")
