#!/usr/bin/env python3
"""What `mpu6 config` and `mpu6 notes` promise, in tables of cases.

usage: config_test.py PROGRAM AREA
"""

import json
import re
import sys

from driver import Desk, srec
from load_files import hex_content, ihex, s_line, srec_content

EDITORS = {
    62: [1, 2],
    63: [3, 4, 6, 10],
    64: [12],
    65: [13, 14, 15, 18, 30, 31, 32, 55, 56, 58, 59, 60, 61, 62],
    66: [22, 26],
    67: [23, 24, 25],
    68: [39, 40, 41, 43, 44],
    69: [45, 46, 47, 48, 49],
    600: [50],
    601: [51],
    602: [64],
}
LANGUAGES = "en zh-cn zh-tw ko pl default it nl pt-br tr hu ru".split()

SIZE = 0x4000
FUSES = 2 * SIZE  # first configuration byte of a fuse device
CODE = bytes(range(48))
# Low, high and extended fuses, the calibration bytes, and the lock bits.
FUSE_BYTES = bytes([0x62, 0x99, 0xFF, 0x5A, 0x00, 0x00, 0x00, 0xFF, 0x00, 0x00])
IMAGE = ihex((0, CODE), (FUSES, FUSE_BYTES), start=0x1234)

PROFILES = b"""
[devices.WORDS]
model_type = 80
size = 0x8000
block_size = 0x8000
family = 45
note = 72
algorithm_folder = "f"
algorithm_file = "g"

[devices.INSIDE]
model_type = 80
size = 0x8000
block_size = 0x8000
family = 64
algorithm_folder = "f"
algorithm_file = "g"

[devices.HALF]
model_type = 80
size = 0x8000
block_size = 0x8000
family = 15
algorithm_folder = "f"
algorithm_file = "g"
"""
FILES = {"image.hex": IMAGE, "mine.toml": PROFILES}

failures = 0
count = 0


def case(name, condition, detail=""):
    global failures, count
    count += 1
    if not condition:
        failures += 1
        print(f"FAILED {name}\n{detail}")


def plain(mode, size=SIZE, pins=None, figvol=None):
    words = ["--mode", str(mode), "--size", str(size)]
    words += ["--pins", str(pins)] if pins is not None else []
    return words + (["--figvol", str(figvol)] if figvol is not None else [])


def image_of(mode, data, first, size=SIZE):
    return ihex((0, CODE), (first, data))


# ---- Fields and their names ---------------------------------------------------------------------------


def fields(program):
    with Desk(program, FILES) as desk:
        for editor, modes in EDITORS.items():
            for mode in modes:
                result = desk.run("config", "list", *plain(mode), "--json")
                listed = result.json["fields"] if result.code == 0 else []
                names = [(field["frame"], field["caption"]) for field in listed]
                good = result.json.get("editor") == f"edit_figmpu{editor}" and listed and all(c for _, c in names)
                case(f"list mode {mode}", good, result)
                # Whatever a person reads in the list can be typed again.
                for field in listed:
                    name = f"{field['frame']}/{field['caption']}"
                    if names.count((field["frame"], field["caption"])) > 1:
                        name = field["control"]
                    found = desk.run("config", "list", *plain(mode), name, "--json").json.get("fields", [])
                    case(f"mode {mode} finds {name}", [f["control"] for f in found] == [field["control"]], found)
        for mode in (0, 5, 11, 42, 63, 255):
            result = desk.run("config", "list", *plain(mode))
            case(f"mode {mode} has no editor", result.code == 2 and "no configuration editor" in result.err, result)

        for mode, name, controls in FOUND:
            result = desk.run("config", "list", *plain(mode), name, "--json")
            found = [field["control"] for field in result.json.get("fields", [])]
            case(f"mode {mode} {name!r}", found == controls, result)
        for mode, name, message in NOT_FOUND:
            result = desk.run("config", "list", *plain(mode), name)
            case(f"mode {mode} {name!r}", result.code == 2 and re.search(message, result.err), result)

        words = {}
        for language in LANGUAGES:
            result = desk.run("config", "list", *plain(15), "SUT0", "--language", language, "--json")
            words[language] = result.json["fields"][0]["items"]
            case(f"two items in {language}", len(words[language]) == 2, result)
        case("words of English", words["en"] == ["Enable(0)", "Disable(1)"], words)
        case("words of simplified Chinese", words["zh-cn"] == ["有效(0)", "无效(1)"], words)
        case("items bear no tabs", "\t" not in "".join(sum(words.values(), [])), words)

        for (mode, pins, figvol), name, enabled in ENABLED:
            result = desk.run("config", "list", *plain(mode, pins=pins, figvol=figvol), name, "--json")
            found = [field["enabled"] for field in result.json.get("fields", [])]
            case(f"mode {mode} pins {pins} figvol {figvol} {name}", found == enabled, result)


FOUND = [
    (15, "CKDIV8", ["Combo1(7)"]),
    (15, "  ckdiv8 : ", ["Combo1(7)"]),
    (15, "ckd", ["Combo1(7)"]),
    (15, "fuse low byte / CKDIV8:", ["Combo1(7)"]),
    (15, "fuse l/ckd", ["Combo1(7)"]),
    (15, "combo1(7)", ["Combo1(7)"]),
    (15, "Lock Bit Byte/", [f"Combo4({i})" for i in range(6)]),
    (15, "lock/", [f"Combo4({i})" for i in range(6)]),
    (15, "LB1", ["Combo4(0)"]),
    (1, "HWBS", ["Check1(1)"]),  # not the beginning of HWBS2
    (1, "hwbs2", ["Check1(0)"]),
    (24, "Option Register 3/4/P36EN", ["Combo4(0)"]),
    (24, "Option Register 3/4/", [f"Combo4({i})" for i in range(8)]),
    (68 - 29, "on chip rom", ["Combo1(1)"]),
    (22, "Lock Size :", ["Combo2"]),
    (18, "Combo2(7)", ["Combo2(7)"]),
]
NOT_FOUND = [
    (15, "CKSEL", r"Combo1\(0\).*Combo1\(1\).*Combo1\(2\).*Combo1\(3\)"),
    (18, "RSTDISBL", r"Combo2\(6\).*Combo2\(7\)"),
    (15, "CKDIV9", "Near it are: CKDIV8"),
    (15, "fuse/", "more than one"),
    (15, "Combo3(5)", "no configuration field"),  # hidden in this mode
    (3, "CKSEL2", "no configuration field"),
    (67 - 44, "Label1", "no configuration field"),
    (15, "Fuse High Byte/CKDIV8", "no configuration field"),
    (15, "/", "no configuration field"),
    (15, ":", "no configuration field"),
    (15, "é", "no configuration field"),
]
ENABLED = [
    ((3, None, None), "SPIEN", [True]),
    ((3, None, 14), "SPIEN", [False]),
    ((3, None, 38), "SPIEN", [False]),
    ((15, None, None), "SPIEN", [False]),
    ((18, 64, None), "JTAGEN", [True]),
    ((18, 44, None), "JTAGEN", []),
    ((12, 14, None), "BODLEVEL0", [True]),
    ((12, 13, None), "BODLEVEL0", []),
]


# ---- Values -------------------------------------------------------------------------------------------

# Mode, first address of the bytes, bytes before, assignments, bytes after.
SET = [
    (15, FUSES, "6299FF5A000000FF0000", ["CKDIV8=Disable(1)"], "E299FF5A000000FF0000"),
    (15, FUSES, "6299FF5A000000FF0000", ["CKDIV8=dis", "sut1=0", "LB2=#0"], "C299FF5A000000FD0000"),
    # The address row takes an entry only once the check box before it is checked, in whatever order.
    (
        15,
        FUSES,
        "6299FF5A000000FF0000",
        ["calib value write to buffer=0x123456", "Check1=checked"],
        "6299FF5A015634FF0012",
    ),
    (15, FUSES, "629900000000003F0000", ["CKDIV8=1"], "E299F80000000" + "0FF0000"),
    (3, FUSES, "00DF0000000000000000", ["CKOUT=1"], "4CDFFE00000000FC0000"),
    (10, FUSES, "00DFFF00000000FF0000", ["BODACT0=enable"], "20DF1D00000000FF0000"),
    (1, SIZE, "FFFFFF", ["HWBS=checked", "ISP start=[000]", "WDT=Fosc/2"], "17FFF8"),
    (1, SIZE, "FFFFFF", ["HWBS=on", "ISP start=NO ISP", "WDT=#7"], "F7FFFF"),
    (2, SIZE, "FFFFFFFF", ["IAP boundary=3c"], "FFFDFF3C"),
    (22, SIZE, "1F", ["Lock Size=0 k"], "1F"),
    (22, SIZE, "1F", ["Boot Block=write p"], "0F"),
    (24, SIZE, "FFFFFFFFFF", ["P36EN=enable"], "FFF3FFFF4A"),
    (24, SIZE, "FFFFFFFF4A", ["P36EN=disable"], "FFF3FFFFCA"),
    (45, SIZE, "FF" * 8, ["FMPRE=12345678"], "78563412FFFFFFFF"),
    (45, SIZE, "FF" * 8, ["FMPPE=0xAB"], "FFFFFFFFAB000000"),
    (48, SIZE - 48, "0123456789ABCDEF" * 5 + "00000000", ["USER_REG0=0x1"], "01000000" + ("0123456789ABCDEF" * 5 + "0" * 8)[8:]),
    (50, SIZE, "FF00FFFEFFFF", ["JTAGUID=7", "WDPER0=disable"], "0701FFFEFFFF"),
    (64, SIZE - 40, "FF" * 28, ["BL_CONFIG=12345678"], "78563412" + "FF" * 24),
]
# What cannot be set: mode, assignment, exit code, message.
REFUSED = [
    (15, "CKDIV8", 2, "no assignment"),
    (15, "CKDIV8=", 2, "is no item"),
    (15, "=1", 2, "no configuration field"),
    (15, "CKDIV8=2", 2, r"#0 Enable\(0\), #1 Disable\(1\)"),
    (15, "CKDIV8=#7", 2, "is no item"),
    (15, "CKDIV8=-1", 2, "is no item"),
    (15, "CKDIV8=99999999999999999999", 2, "is no item"),
    (15, "lock/=1", 2, "names a frame"),
    (15, "SPIEN=enable", 2, "cannot be changed"),
    (15, "calib value write to buffer=1", 2, "cannot be changed"),
    (15, "calib byte(read=1", 2, "only be read"),
    (15, "Check1=2", 2, "checked or unchecked"),
    (45, "FMPRE=1234567", 2, "refuses OK: FMPRE: 8 hexadecimal digits"),
    (45, "FMPRE=123456789", 2, "does not fit"),
    (45, "FMPRE=0x123456789", 2, "no hexadecimal number of 32 bits"),
    (45, "FMPRE=", 2, "refuses OK"),
    (45, "FMPRE=XYZXYZXY", 2, "refuses OK: FMPRE"),
    (45, "FMPRE=12 45678", 2, "refuses OK: FMPRE"),
    (45, "FMPRE=有效有效有效有效", 2, "refuses OK: FMPRE"),
    (50, "JTAGUID=1FF", 2, "does not fit"),
    (50, "JTAGUID=", 2, "refuses OK: JTAGUID"),
    (2, "IAP boundary=1FF", 2, 'cannot hold "1FF"'),
    (2, "IAP boundary=-1", 2, "refuses OK: IAP boundary"),
    (26, "Lock Size=2", 2, "more than one item"),  # an index, or the text "2 k"
    (13, "calib byte value=2", 2, "more than one item"),
]


def values(program):
    for mode, first, before, words, after in SET:
        name = f"mode {mode} {words}"
        with Desk(program, {"a.hex": image_of(mode, bytes.fromhex(before), first)}) as desk:
            result = desk.run("config", "set", *plain(mode), "-i", "a.hex", *words, "--yes", "--accept-danger", "--json")
            case(name, result.code == 0, result)
            content, _ = hex_content(desk.read("a.hex"))
            wanted = {**dict(enumerate(CODE)), **{first + i: b for i, b in enumerate(bytes.fromhex(after))}}
            case(f"{name}: bytes", content == wanted, result)
            told = {change["address"]: change["after"] for change in result.json["changes"]["bytes"]}
            differ = {first + i: b for i, (a, b) in enumerate(zip(bytes.fromhex(before), bytes.fromhex(after))) if a != b}
            case(f"{name}: told", told == differ, result)
            again = desk.run("config", "set", *plain(mode), "-i", "a.hex", *words, "--yes")
            case(f"{name}: again", again.code == 0 and "No change" in again.out, again)

    for mode, word, code, message in REFUSED:
        image = ihex((0, CODE), (SIZE, b"\x1F" * 64), (FUSES, FUSE_BYTES))
        with Desk(program, {"a.hex": image}) as desk:
            result = desk.run("config", "set", *plain(mode), "-i", "a.hex", word, "--yes", "--accept-danger")
            case(f"mode {mode} {word!r}", result.code == code and re.search(message, result.err), result)
            case(f"mode {mode} {word!r}: untouched", desk.read("a.hex") == image and desk.names() == ["a.hex"])

    with Desk(program, FILES) as desk:
        on_image = [*plain(15), "-i", "image.hex"]
        result = desk.run("config", "get", *on_image, "CKDIV8")
        case("one value alone", result.out == "Enable(0)\n", result)
        result = desk.run("config", "get", *on_image, "CKDIV8", "LB1")
        case("several values", result.out == "Fuse Low Byte/CKDIV8=Enable(0)\nLock Bit Byte/LB1=Disable(1)\n", result)
        result = desk.run("config", "get", *on_image, "CKDIV8", "--language", "zh-cn")
        case("a value in Chinese", result.out == "有效(0)\n", result)
        result = desk.run("config", "set", *on_image, "CKDIV8=无效", "--language", "zh-cn", "-y", "-n")
        case("setting in Chinese", result.code == 0 and "62 -> E2" in result.out, result)
        result = desk.run("config", "set", *on_image, "CKDIV8=1", "Combo1(7)=0", "-y")
        case("a field given twice", result.code == 2 and "more than once" in result.err, result)
        result = desk.run("config", "show", *on_image)
        case("bytes beside the fields", re.search(r"CKDIV8 +Enable\(0\) +0x8000 bit 7 = 0", result.out), result)
        case("all bytes", re.findall(r"0x800\d: (\w\w)", result.out) == [f"{b:02X}" for b in FUSE_BYTES], result)
        shown = desk.run("config", "show", *on_image, "CKDIV8", "--json").json
        case("one byte of one field", shown["bytes"] == [{"address": FUSES, "value": 0x62, "in_source": True}], shown)


# ---- Files --------------------------------------------------------------------------------------------

FILE_TROUBLE = [
    ("missing.hex", None, 5, "No such file"),
    ("empty.hex", b"", 5, "empty"),
    ("cut.hex", IMAGE[: IMAGE.rindex(b":")], 5, "end record"),
    ("sum.hex", IMAGE.replace(b"0102", b"0103", 1), 5, "checksum"),
    ("text.hex", b"what is this\n", 5, "does not begin like that"),
    ("far.hex", ihex((0x10000000, CODE)), 5, "no data for this device"),
]
USAGE = [
    (["config"], "subcommand"),
    (["config", "frobnicate"], "subcommand"),
    (["config", "show", "--mode", "15"], "--size"),
    (["config", "show", "--size", "15"], "--mode"),
    (["config", "show", "--mode", "256", "--size", "15"], "--mode"),
    (["config", "show", "--mode", "15", "--size", "0"], "--size"),
    (["config", "show", "--mode", "15", "--size", "-1"], "--size"),
    (["config", "show", "--mode", "15", "--size", "2147483648"], "--size"),
    (["config", "show", "--device", "WORDS", "--mode", "15", "--size", "1"], "excludes"),
    (["config", "show"], "no device"),
    (["config", "show", "--device", "NONE"], "no device"),
    (["config", "show", "--device", ""], "empty"),
    (["config", "list", "--device", "ARM80-1M"], "no configuration editor"),
    (["config", "show", *plain(15)], "no image"),
    (["config", "set", *plain(15), "CKDIV8=1"], "no image"),
    (["config", "show", *plain(15), "-i", "image.hex", "--language", "xx"], "language"),
    (["config", "show", *plain(15), "-i", "image.hex", "--format", "elf"], "format"),
    (["config", "show", *plain(15), "-i", "image.hex", "--base", "0"], "--base"),
    (["config", "show", *plain(15), "-i", "image.hex", "--chip", "a.chip"], "--chip"),
    (["config", "show", *plain(15), "--chip", "a.chip"], "profile"),
    (["config", "list", *plain(46, 40)], "larger --size"),
    (["config", "defaults", *plain(1), "-i", "image.hex", "-y"], "no default"),
    (["config", "defaults", *plain(15), "-o", "new.bin", "-y"], "raw file"),
    (["config", "defaults", *plain(15), "-o", "new", "-y"], "ending"),
    (["config", "set", *plain(15), "-i", "image.hex", "-o", "new.s19", "CKDIV8=1", "-y"], "copied as it is"),
]


def files(program):
    def set_in(desk, name, *more):
        return desk.run("config", "set", *plain(15), "-i", name, "CKDIV8=disable", "--yes", *more)

    with Desk(program, FILES) as desk:
        result = set_in(desk, "image.hex")
        content, start = hex_content(desk.read("image.hex"))
        before, _ = hex_content(IMAGE)
        case("other data stay", result.code == 0 and content == {**before, FUSES: 0xE2}, result)
        case("the start address stays", start == 0x1234, desk.read("image.hex"))

        result = set_in(desk, "image.hex", "-o", "copy.hex")
        case("a copy without a change", result.code == 0 and desk.read("copy.hex") != b"", result)

        (desk.path / "data.hex").write_bytes(ihex((0x20, CODE), (0x100000, b"eeprom")))
        result = set_in(desk, "data.hex")
        content, _ = hex_content(desk.read("data.hex"))
        kept = {a: b for a, b in content.items() if not FUSES <= a < FUSES + 10}
        case("data outside the device stay", kept == hex_content(ihex((0x20, CODE), (0x100000, b"eeprom")))[0], result)
        bytes_added = bytes(content.get(FUSES + i, 0) for i in (0, 1, 2, 4, 7))
        case("bytes that were missing", bytes_added == b"\xFF\xFF\xFF\x01\xFF" and FUSES + 3 not in content, result)
        case("they are told", "does not have yet" in result.out, result)

        (desk.path / "a.s37").write_bytes(srec(FUSES - 6, b"before" + FUSE_BYTES + b"behind"))
        result = set_in(desk, "a.s37")
        content, start, header = srec_content(desk.read("a.s37"))
        wanted = b"before" + bytes([0xE2]) + FUSE_BYTES[1:] + b"behind"
        good = bytes(content[a] for a in sorted(content)) == wanted and min(content) == FUSES - 6
        case("S-records", result.code == 0 and good, result)
        case("header and start address stay", (header, start) == (b"a header", 0x1234), desk.read("a.s37"))

        (desk.path / "counted.s19").write_bytes((s_line("1", 0, CODE[:16]) + s_line("5", 1)).encode())
        result = set_in(desk, "counted.s19")
        case("S-records that end with their count", result.code == 0 and set_in(desk, "counted.s19").code == 0, result)

        raw = bytes(FUSES) + FUSE_BYTES + b"tail"
        (desk.path / "a.bin").write_bytes(raw)
        result = set_in(desk, "a.bin")
        case("raw", desk.read("a.bin") == raw[:FUSES] + b"\xE2" + raw[FUSES + 1 :], result)
        (desk.path / "short.bin").write_bytes(CODE)
        result = set_in(desk, "short.bin")
        grown = desk.read("short.bin")
        case("raw that ends before", grown[: len(CODE)] == CODE and set(grown[len(CODE) : FUSES]) == {0xFF}, result)
        (desk.path / "part.bin").write_bytes(FUSE_BYTES)
        result = set_in(desk, "part.bin", "--base", hex(FUSES))
        case("raw with a base", desk.read("part.bin") == b"\xE2" + FUSE_BYTES[1:], result)
        (desk.path / "behind.bin").write_bytes(b"x" * 20)
        result = set_in(desk, "behind.bin", "--base", hex(FUSES + 4))
        case("raw that begins too late", result.code == 6 and desk.read("behind.bin") == b"x" * 20, result)

        result = desk.run("config", "defaults", *plain(18), "-o", "new.hex", "--yes", "--accept-danger")
        content, _ = hex_content(desk.read("new.hex"))
        wanted = bytes.fromhex("5ED9F4FF000000EC0000")
        case("a file of defaults alone", content == {FUSES + i: b for i, b in enumerate(wanted)}, result)

        # The byte of these editors is kept twice; opening alone changes no file.
        (desk.path / "two.hex").write_bytes(ihex((0x103F, b"\x0B"), (SIZE, b"\x55")))
        before = desk.read("two.hex")
        result = desk.run("config", "show", *plain(39), "-i", "two.hex")
        case("a look writes nothing", result.code == 0 and desk.read("two.hex") == before, result)
        result = desk.run("config", "set", *plain(39), "-i", "two.hex", "COP=disable", "--yes")
        content, _ = hex_content(desk.read("two.hex"))
        case("both copies are written", content == {0x103F: 0x0F, SIZE: 0x0F}, result)

        shown = desk.run("config", "show", *plain(15), "-i", "two.hex", "--json").json
        missing = {byte["address"]: (byte["value"], byte["in_source"]) for byte in shown["bytes"]}
        case("missing bytes count as erased", missing == {FUSES + i: (0xFF, False) for i in range(10)}, shown)

        result = desk.run("config", "show", "--device", "HALF", "--profiles", "mine.toml", "-i", "image.hex")
        case("a profile with too small a buffer", result.code == 5 and "bytes_per_address" in result.err, result)

    for name, content, code, message in FILE_TROUBLE:
        with Desk(program, {name: content} if content is not None else {}) as desk:
            result = set_in(desk, name)
            case(name, result.code == code and re.search(message, result.err, re.I), result)
            case(f"{name}: untouched", desk.names() == ([] if content is None else [name]))
            case(f"{name}: content", content is None or desk.read(name) == content)
    for words, message in USAGE:
        with Desk(program, FILES) as desk:
            result = desk.run(*words, "--profiles", "mine.toml") if len(words) > 2 else desk.run(*words)
            case(" ".join(words), result.code == 2 and message in result.err, result)
            case(f"{' '.join(words)}: nothing written", desk.names() == sorted(FILES))
            told = desk.run(*words, "--json") if len(words) > 2 else None
            case(f"{' '.join(words)}: JSON", told is None or told.json["exit_code"] == 2, told)
    with Desk(program, FILES) as desk:
        (desk.path / "folder").mkdir()
        result = set_in(desk, "image.hex", "-o", "folder")
        case("an output that is a folder", result.code == 6, result)
        result = set_in(desk, "image.hex", "-o", "nowhere/new.hex")
        case("an output that cannot be made", result.code == 1 and desk.read("image.hex") == IMAGE, result)


# ---- Consent ------------------------------------------------------------------------------------------

# Bytes from the low fuse on, assignments, whether they can lock the user out.
DANGERS = [
    ("FF99FF5A000000FF0000", ["CKDIV8=0"], False),
    ("FF99FF5A000000FF0000", ["LB1=0"], True),
    ("FF99FF5A000000FE0000", ["LB1=1"], False),
    ("FF99FF5A000000FE0000", ["LB1=0"], False),  # no change
    ("FF99FF5A000000FF0000", ["JTAGEN=1"], True),
    ("FFD9FF5A000000FF0000", ["JTAGEN=0"], False),
    ("FF99FF5A000000FF0000", ["OCDEN=0"], True),
]
OTHER_DANGERS = [
    (3, FUSES, "62DFFFFF000000FF0000", "RSTDISBL=enable", True),
    (3, FUSES, "625FFFFF000000FF0000", "RSTDISBL=disable", False),
    (3, FUSES, "62DFFFFF000000FF0000", "SPIEN=disable", True),
    (3, FUSES, "62DFFFFF000000FF0000", "DWEN=enable", True),
    (22, SIZE, "1F", "Debug Lock=disable", True),
    (22, SIZE, "1E", "Debug Lock=enable", False),
    (22, SIZE, "1F", "Lock Size=16k", True),
    (26, SIZE, "1F", "SPI Read=disable", True),
    (26, SIZE, "1E", "SPI Read=enable", False),
    (1, SIZE, "FFFFFF", "LOCK=checked", True),
    (1, SIZE, "FEFFFF", "LOCK=unchecked", False),
    (45, SIZE, "FF" * 8, "FMPRE=FFFFFFFE", True),
    (51, 0x103F, "FF", "EEPROM Security=enable", True),
]


def consent(program):
    all_dangers = [(15, FUSES, data, words[0], danger) for data, words, danger in DANGERS] + OTHER_DANGERS
    for mode, first, data, word, danger in all_dangers:
        image = image_of(mode, bytes.fromhex(data), first)
        name = f"mode {mode} {data} {word}"
        with Desk(program, {"a.hex": image}) as desk:
            words = ["config", "set", *plain(mode), "-i", "a.hex", word, "--yes"]
            result = desk.run(*words)
            case(f"{name}: danger", result.code == (6 if danger else 0), result)
            case(f"{name}: named", not danger or "lock you out" in result.err, result)
            case(f"{name}: kept", not danger or desk.read("a.hex") == image)
            case(f"{name}: accepted", desk.run(*words, "--accept-danger").code == 0)

    safe = ["config", "set", *plain(15), "-i", "image.hex", "CKDIV8=disable"]
    danger = ["config", "set", *plain(15), "-i", "image.hex", "LB1=enable"]
    changed = hex_content(ihex((0, CODE), (FUSES, b"\xE2" + FUSE_BYTES[1:])))[0]
    with Desk(program, FILES) as desk:
        result = desk.run(*safe)
        case("nobody to ask", result.code == 6 and "--yes" in result.err, result)
        case("the diff comes first", "CKDIV8: Enable(0) -> Disable(1)" in result.out and "62 -> E2" in result.out, result)
        result = desk.run(*safe, "--json")
        case("the diff in JSON", len(result.json["changes"]["bytes"]) == 1 and not result.json["written"], result)
        result = desk.run(*safe, "--dry-run")
        case("a dry run", result.code == 0, result)
        for answer in ("n", "", "yy"):
            result = desk.type(answer, *safe)
            case(f"answer {answer!r}", result.code == 6, result)
        result = desk.type("y", *danger)
        case("danger needs more than y", result.code == 6, result)
        result = desk.type("lock me out", *danger, "--yes")
        case("--yes never asks", result.code == 6, result)
        case("nothing was written", desk.read("image.hex") == IMAGE and desk.names() == sorted(FILES))
        result = desk.type("y", *safe)
        case("answer y", result.code == 0 and hex_content(desk.read("image.hex"))[0] == changed, result)
        result = desk.type("Lock me out", *danger)
        case("danger confirmed", result.code == 0 and hex_content(desk.read("image.hex"))[0][FUSES + 7] == 0xFE, result)
        result = desk.run("config", "defaults", *plain(18), "-i", "image.hex", "--yes")
        case("defaults can lock, too", result.code == 6 and "BLB11" in result.err, result)


# ---- The chip -----------------------------------------------------------------------------------------


def chip(program):
    with Desk(program, {**FILES, "code.bin": bytes(range(256)) * 128}) as desk:
        mine = ["--profiles", "mine.toml"]
        result = desk.run("program", "--device", "WORDS", *mine, "--chip", "a.chip", "-i", "code.bin")
        case("programmed", result.code == 0, result)
        on_chip = ["--device", "WORDS", *mine, "--chip", "a.chip"]
        result = desk.run("config", "set", *on_chip, "FMPPE=12345678", "--yes", "--accept-danger")
        case("set on the chip", result.code == 0, result)
        words = ["--device", "WORDS", "--chip", "a.chip", *mine, "FMPRE", "FMPPE"]  # a file, then fields
        result = desk.run("config", "get", *words)
        case("read back", result.out == "OTP register/FMPRE=FFFFFFFF\nOTP register/FMPPE=12345678\n", result)
        result = desk.run("verify", "--device", "WORDS", *mine, "--chip", "a.chip", "-i", "code.bin")
        case("the code is as it was", result.code == 0, result)

        before = desk.read("a.chip")
        result = desk.run("config", "set", *on_chip, "FMPPE=FFFFFFFF")
        case("no consent, no change", result.code == 6 and desk.read("a.chip") == before, result)
        inside = ["--device", "INSIDE", *mine, "--chip", "b.chip"]
        result = desk.run("config", "set", *inside, "BL_CONFIG=12345678", "--yes", "--accept-danger")
        case("registers inside the code", result.code == 6 and "Read the device into a file" in result.err, result)
        (desk.path / "no.chip").write_bytes(b"this is no chip")
        result = desk.run("config", "show", "--device", "WORDS", *mine, "--chip", "no.chip")
        case("no chip file", result.code == 5 and desk.read("no.chip") == b"this is no chip", result)

        fuses = ["--device", "FUSE15-16K", "--chip", "c.chip"]
        case("defaults", desk.run("config", "defaults", *fuses, "--yes").code == 0)
        case("fuses", desk.run("config", "set", *fuses, "CKDIV8=disable", "--yes").code == 0)
        result = desk.run("config", "show", *fuses, "Fuse Low Byte/", "--json")
        case("fuses read back", result.json["bytes"][0]["value"] == 0xE2, result)


# ---- Notes --------------------------------------------------------------------------------------------

NOTES = [
    (["--mode", "0", "--size", "0x10000", "62"], ["Note: Information memory", "8000h ---FFFFh"]),
    (["--mode", "0", "--size", "0x9000", "62"], ["4400h ---8FFFh"]),
    (["--mode", "0x1B", "--size", "0x10000", "65"], ["Note!", "FLASH2:          450h - 4FFh", "must be filled"]),
    (["--mode", "0x29", "--size", "0x10000", "68"], ["FE00h ---FFFFh", "EEON bits"]),
    (["--mode", "0x29", "--size", "0x10000", "68", "--language", "zh-cn"], ["提示！", "编程器不能读出"]),
    (["--mode", "0", "--size", "0x10000", "75"], ["CCFG registers"]),
    (["--device", "WORDS"], ["can only be written one time"]),
    (["--device", "WORDS", "75"], ["CCFG registers"]),
    (["--mode", "0x1E", "--size", "0x10000", "65"], ["says nothing"]),
    (["--mode", "0", "--size", "0x10000", "60"], ["says nothing"]),
    (["--mode", "0", "--size", "0x10000", "76"], ["says nothing"]),
]
NO_NOTES = [
    (["--device", "INSIDE"], "no note of its own"),
    (["--mode", "1", "--size", "16"], "no note of its own"),
    (["--device", "WORDS", "128"], "number"),
    (["--device", "WORDS", "-1"], ""),
    (["--device", "WORDS", "abc"], "abc"),
    ([], "no device"),
]


def notes(program):
    with Desk(program, FILES) as desk:
        for words, texts in NOTES:
            result = desk.run("notes", *words, "--profiles", "mine.toml")
            good = result.code == 0 and all(text in result.out.replace("\n", "") for text in texts)
            case(f"notes {words}", good, result)
            told = desk.run("notes", *words, "--profiles", "mine.toml", "--json").json
            case(f"notes {words} in JSON", told["shown"] == ("says nothing" not in texts), json.dumps(told))
        for words, message in NO_NOTES:
            result = desk.run("notes", *words, "--profiles", "mine.toml")
            case(f"notes {words}", result.code == 2 and message in result.err, result)


def main():
    program, area = sys.argv[1:]
    {"fields": fields, "values": values, "files": files, "consent": consent, "chip": chip, "notes": notes}[area](program)
    print(f"{area}: {count} checks, {failures} failed")
    return 1 if failures or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
