#!/usr/bin/env python3
"""What `mpu6 config` and `mpu6 notes` promise, in tables of cases.

usage: config_test.py PROGRAM AREA
"""

import pathlib
import re
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from load_files import hex_content, ihex, s_data, s_line, srec_content
from mpu6_desk import Desk

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

CHANGED = b"\xE2" + FUSE_BYTES[1:]  # by CKDIV8=disable

PROFILE = """[devices.{}]
model_type = 80
size = 0x8000
block_size = 0x8000
family = {}
note = {}
algorithm_folder = "f"
algorithm_file = "g"
"""
PROFILES = "".join(PROFILE.format(*entries) for entries in [("WORDS", 45, 72), ("INSIDE", 64, 0), ("HALF", 15, 0)])
FILES = {"image.hex": IMAGE, "mine.toml": PROFILES.encode()}

failures = 0
count = 0


def case(name, condition, detail=""):
    global failures, count
    count += 1
    if not condition:
        failures += 1
        print(f"FAILED {name}\n{detail}")


def plain(mode, options=""):
    return f"--mode {mode} --size {SIZE} {options}"


# ---- Fields and their names ---------------------------------------------------------------------------


def fields(program):
    with Desk(program, FILES) as desk:

        def listed(device, *names):
            result = desk.run(f"config list --json {device}", *names)
            return result, result.json.get("fields", [])

        for editor, modes in EDITORS.items():
            for mode in modes:
                result, shown = listed(plain(mode))
                names = [(field["frame"], field["caption"]) for field in shown]
                good = result.json.get("editor") == f"edit_figmpu{editor}" and names and all(c for _, c in names)
                case(f"list mode {mode}", good, result)
                # Whatever a person reads in the list can be typed again.
                for field, name in zip(shown, names):
                    word = "/".join(name) if names.count(name) == 1 else field["control"]
                    _, found = listed(plain(mode), word)
                    case(f"mode {mode} finds {word}", [f["control"] for f in found] == [field["control"]], found)
        for mode in (0, 5, 11, 42, 63, 255):
            result = desk.run(f"config list {plain(mode)}")
            case(f"mode {mode} has no editor", result.code == 2 and "no configuration editor" in result.err, result)

        for mode, name, controls in FOUND:
            result, found = listed(plain(mode), name)
            case(f"mode {mode} {name!r}", [field["control"] for field in found] == controls, result)
        for mode, name, message in NOT_FOUND:
            result = desk.run(f"config list {plain(mode)}", name)
            case(f"mode {mode} {name!r}", result.code == 2 and re.search(message, result.err), result)
        for mode, options, name, enabled in ENABLED:
            result, found = listed(plain(mode, options), name)
            case(f"mode {mode} {options} {name}", [field["enabled"] for field in found] == enabled, result)

        for language in LANGUAGES:
            result, found = listed(plain(15, f"--language {language}"), "SUT0")
            words = found[0]["items"]
            case(f"two items in {language}", len(words) == 2 and "\t" not in "".join(words), result)
            case(f"words of {language}", words == WORDS.get(language, words), result)


WORDS = {"en": ["Enable(0)", "Disable(1)"], "zh-cn": ["有效(0)", "无效(1)"]}
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
    (39, "on chip rom", ["Combo1(1)"]),
    # The rows of a frame, in their order.
    (1, "Option Register 0/", ["Check1(0)", "Check1(1)", "Check1(2)", "Combo1"]),
    (2, "Option Register 2/", ["Check3(0)", "Check3(1)", "Check3(2)", "Check3(3)", "Combo2"]),
    (13, "Calibration byte/", ["Text1(0)", "Combo5", "Check1", "Text1(1)"]),
    (15, "Fuse High Byte/", [f"Combo2({i})" for i in range(8)]),
    (26, "Write Lock Protection Bits/", ["Combo1", "Combo2", "Combo3"]),
    (47, "OTP register/", [f"Text1({i})" for i in (0, 1, 2, 3, 4, 5, 8, 9, 10)]),
    (50, "Fuse Byte 1/", [f"Combo{i}({k})" for i in (1, 2) for k in range(4)]),
    (50, "Fuse Byte 2/", ["Combo3", "Combo4", "Combo5"]),
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
    (23, "Label1", "no configuration field"),
    (15, "Fuse High Byte/CKDIV8", "no configuration field"),
    (15, "/", "no configuration field"),
    (15, ":", "no configuration field"),
    (15, "é", "no configuration field"),
]
ENABLED = [
    (3, "", "SPIEN", [True]),
    (3, "--figvol 14", "SPIEN", [False]),
    (3, "--figvol 38", "SPIEN", [False]),
    (15, "", "SPIEN", [False]),
    (18, "--pins 64", "JTAGEN", [True]),
    (18, "--pins 44", "JTAGEN", []),
    (12, "--pins 14", "BODLEVEL0", [True]),
    (12, "--pins 13", "BODLEVEL0", []),
]


# ---- Values -------------------------------------------------------------------------------------------

# Mode, first address of the bytes, bytes before, assignments, bytes after.
SET = [
    (15, FUSES, "6299FF5A000000FF0000", ["CKDIV8=Disable(1)"], "E299FF5A000000FF0000"),
    (15, FUSES, "6299FF5A000000FF0000", ["CKDIV8=dis", "sut1=0", "LB2=#0"], "C299FF5A000000FD0000"),
    # The address row takes an entry only once the check box before it is checked, in whatever order.
    (15, FUSES, "6299FF5A000000FF0000", ["calib value write to buffer=0x123456", "Check1=checked"], "6299FF5A015634FF0012"),
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
# What cannot be set: mode, assignment, message.
REFUSED = [
    (15, "CKDIV8", "no assignment"),
    (15, "CKDIV8=", "is no item"),
    (15, "=1", "no configuration field"),
    (15, "CKDIV8=2", r"#0 Enable\(0\), #1 Disable\(1\)"),
    (15, "CKDIV8=#7", "is no item"),
    (15, "CKDIV8=-1", "is no item"),
    (15, "CKDIV8=99999999999999999999", "is no item"),
    (15, "lock/=1", "names a frame"),
    (15, "SPIEN=enable", "cannot be changed"),
    (15, "calib value write to buffer=1", "cannot be changed"),
    (15, "calib byte(read=1", "only be read"),
    (15, "Check1=2", "checked or unchecked"),
    (45, "FMPRE=1234567", "refuses OK: FMPRE: 8 hexadecimal digits"),
    (45, "FMPRE=123456789", "does not fit"),
    (45, "FMPRE=0x123456789", "no hexadecimal number of 32 bits"),
    (45, "FMPRE=", "refuses OK"),
    (45, "FMPRE=XYZXYZXY", "refuses OK: FMPRE"),
    (45, "FMPRE=12 45678", "refuses OK: FMPRE"),
    (45, "FMPRE=有效有效有效有效", "refuses OK: FMPRE"),
    (50, "JTAGUID=1FF", "does not fit"),
    (50, "JTAGUID=", "refuses OK: JTAGUID"),
    (2, "IAP boundary=1FF", 'cannot hold "1FF"'),
    (2, "IAP boundary=-1", "refuses OK: IAP boundary"),
    (26, "Lock Size=2", "more than one item"),  # an index, or the text "2 k"
    (13, "calib byte value=2", "more than one item"),
]


def values(program):
    for mode, first, before, words, after in SET:
        name = f"mode {mode} {words}"
        data, wanted = bytes.fromhex(before), bytes.fromhex(after)
        command = f"config set {plain(mode)} -i a.hex --yes"
        with Desk(program, {"a.hex": ihex((0, CODE), (first, data))}) as desk:
            result = desk.run(f"{command} --accept-danger --json", *words)
            case(name, result.code == 0, result)
            case(f"{name}: bytes", hex_content(desk.read("a.hex")) == hex_content(ihex((0, CODE), (first, wanted))), result)
            told = {change["address"]: change["after"] for change in result.json["changes"]["bytes"]}
            differ = {first + i: b for i, (a, b) in enumerate(zip(data, wanted)) if a != b}
            case(f"{name}: told", told == differ, result)
            again = desk.run(command, *words)
            case(f"{name}: again", again.code == 0 and "No change" in again.out, again)

    image = ihex((0, CODE), (SIZE, b"\x1F" * 64), (FUSES, FUSE_BYTES))
    with Desk(program, {"a.hex": image}) as desk:
        for mode, word, message in REFUSED:
            result = desk.run(f"config set {plain(mode)} -i a.hex --yes --accept-danger", word)
            case(f"mode {mode} {word!r}", result.code == 2 and re.search(message, result.err), result)
            case(f"mode {mode} {word!r}: untouched", desk.read("a.hex") == image and desk.names() == ["a.hex"])

    with Desk(program, FILES) as desk:
        for command, code, pattern in SHOWN:
            result = desk.run(f"config {command} {plain(15)} -i image.hex")
            case(command, result.code == code and re.search(pattern, result.out + result.err), result)
        result = desk.run(f"config show {plain(15)} -i image.hex")
        case("all bytes", re.findall(r"0x800\d: (\w\w)", result.out) == [f"{b:02X}" for b in FUSE_BYTES], result)
        shown = desk.run(f"config show {plain(15)} -i image.hex CKDIV8 --json").json
        case("one byte of one field", shown["bytes"] == [{"address": FUSES, "value": 0x62, "in_source": True}], shown)


SHOWN = [
    ("get CKDIV8", 0, r"^Enable\(0\)\n$"),
    ("get CKDIV8 LB1", 0, r"^Fuse Low Byte/CKDIV8=Enable\(0\)\nLock Bit Byte/LB1=Disable\(1\)\n$"),
    ("get CKDIV8 --language zh-cn", 0, r"^有效\(0\)\n$"),
    ("set CKDIV8=无效 --language zh-cn -y -n", 0, "62 -> E2"),
    ("set CKDIV8=1 'Combo1(7)=0' -y", 2, "more than once"),
    ("show", 0, r"CKDIV8 +Enable\(0\) +0x8000 bit 7 = 0"),
]


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
    ("config", "subcommand"),
    ("config frobnicate", "subcommand"),
    ("config show --mode 15", "--size"),
    ("config show --size 15", "--mode"),
    ("config show --mode 256 --size 15", "--mode"),
    ("config show --mode 15 --size 0", "--size"),
    ("config show --mode 15 --size -1", "--size"),
    ("config show --mode 15 --size 2147483648", "--size"),
    ("config show --device WORDS --mode 15 --size 1", "excludes"),
    ("config show", "no device"),
    ("config show --device NONE", "no device"),
    ("config show --device ''", "empty"),
    ("config list --device ARM80-1M", "no configuration editor"),
    (f"config show {plain(15)}", "no image"),
    (f"config set {plain(15)} CKDIV8=1", "no image"),
    (f"config show {plain(15)} -i image.hex --language xx", "language"),
    (f"config show {plain(15)} -i image.hex --format elf", "format"),
    (f"config show {plain(15)} -i image.hex --base 0", "--base"),
    (f"config show {plain(15)} -i image.hex --chip a.chip", "--chip"),
    (f"config show {plain(15)} --chip a.chip", "profile"),
    ("config list --mode 46 --size 40", "larger --size"),
    (f"config defaults {plain(1)} -i image.hex -y", "no default"),
    (f"config defaults {plain(15)} -o new.bin -y", "raw file"),
    (f"config defaults {plain(15)} -o new -y", "ending"),
    (f"config set {plain(15)} -i image.hex -o new.s19 CKDIV8=1 -y", "copied as it is"),
]


def srec(first, data):
    return "".join([s_line("0", 0, b"a header"), *s_data(first, data), s_line("7", 0x1234)]).encode()


OTHERS = ((0x20, CODE), (0x100000, b"eeprom"))
MISSING = bytes.fromhex("FFFFFFFF01FFFFFF00FF")  # what the editor writes over no bytes; the fourth it never writes

# What CKDIV8=disable makes of a file, with further options.
REWRITTEN = [
    ("image.hex", IMAGE, "", ihex((0, CODE), (FUSES, CHANGED), start=0x1234)),
    ("old.hex", b"", "-i image.hex -o old.hex", ihex((0, CODE), (FUSES, CHANGED), start=0x1234)),
    ("data.hex", ihex(*OTHERS), "", ihex(*OTHERS, (FUSES, MISSING[:3]), (FUSES + 4, MISSING[4:]))),
    ("a.s37", srec(FUSES - 6, b"before" + FUSE_BYTES + b"behind"), "", srec(FUSES - 6, b"before" + CHANGED + b"behind")),
    ("a.bin", bytes(FUSES) + FUSE_BYTES + b"tail", "", bytes(FUSES) + CHANGED + b"tail"),
    ("short.bin", CODE, "", CODE.ljust(FUSES, b"\xFF") + MISSING),
    ("part.bin", FUSE_BYTES, f"--base {FUSES:#x}", CHANGED),
]


def content_of(name, data):
    return {"hex": hex_content, "s37": srec_content, "bin": bytes}[name.rpartition(".")[2]](data)


def files(program):
    def set_in(desk, name, options=""):
        return desk.run(f"config set {plain(15)} {'' if '-i' in options else '-i ' + name} CKDIV8=disable --yes {options}")

    for name, before, options, after in REWRITTEN:
        with Desk(program, {**FILES, name: before}) as desk:
            result = set_in(desk, name, options)
            good = result.code == 0 and content_of(name, desk.read(name)) == content_of(name, after)
            case(f"{name} {options}", good, f"{result}\n{desk.read(name)[:500]}")
            case(f"{name}: missing bytes are told", (name == "data.hex") <= ("does not have yet" in result.out), result)

    with Desk(program, FILES) as desk:
        (desk.path / "counted.s19").write_bytes((s_line("1", 0, CODE[:16]) + s_line("5", 1)).encode())
        result = set_in(desk, "counted.s19")
        case("S-records that end with their count", result.code == 0 and set_in(desk, "counted.s19").code == 0, result)
        (desk.path / "done.hex").write_bytes(ihex((FUSES, CHANGED)))
        result = set_in(desk, "done.hex", "-o copy.hex")
        good = result.code == 0 and hex_content(desk.read("copy.hex")) == hex_content(desk.read("done.hex"))
        case("a copy without a change", good, result)
        (desk.path / "behind.bin").write_bytes(b"x" * 20)
        result = set_in(desk, "behind.bin", f"--base {FUSES + 4:#x}")
        case("raw that begins too late", result.code == 6 and desk.read("behind.bin") == b"x" * 20, result)

        result = desk.run(f"config defaults {plain(18)} -o new.hex --yes --accept-danger")
        wanted = hex_content(ihex((FUSES, bytes.fromhex("5ED9F4FF000000EC0000"))))
        case("a file of defaults alone", hex_content(desk.read("new.hex")) == wanted, result)

        # The byte of these editors is kept twice; opening alone changes no file.
        before = ihex((0x103F, b"\x0B"), (SIZE, b"\x55"))
        (desk.path / "two.hex").write_bytes(before)
        result = desk.run(f"config show {plain(39)} -i two.hex")
        case("a look writes nothing", result.code == 0 and desk.read("two.hex") == before, result)
        result = desk.run(f"config set {plain(39)} -i two.hex COP=disable --yes")
        case("both copies are written", hex_content(desk.read("two.hex"))[0] == {0x103F: 0x0F, SIZE: 0x0F}, result)

        shown = desk.run(f"config show {plain(15)} -i two.hex --json").json
        missing = {byte["address"]: (byte["value"], byte["in_source"]) for byte in shown["bytes"]}
        case("missing bytes count as erased", missing == {FUSES + i: (0xFF, False) for i in range(10)}, shown)

        result = desk.run("config show --device HALF --profiles mine.toml -i image.hex")
        case("a profile with too small a buffer", result.code == 5 and "bytes_per_address" in result.err, result)

    for name, content, code, message in FILE_TROUBLE:
        with Desk(program, {name: content} if content is not None else {}) as desk:
            result = set_in(desk, name)
            case(name, result.code == code and re.search(message, result.err, re.I), result)
            case(f"{name}: untouched", desk.names() == ([] if content is None else [name]))
            case(f"{name}: content", content is None or desk.read(name) == content)
    with Desk(program, FILES) as desk:
        for command, message in USAGE:
            options = "--profiles mine.toml" if command.count(" ") > 1 else ""
            result = desk.run(f"{command} {options}")
            case(command, result.code == 2 and message in result.err, result)
            told = desk.run(f"{command} {options} --json") if options else None
            case(f"{command}: JSON", told is None or told.json["exit_code"] == 2, told)
        case("nothing is written", desk.names() == sorted(FILES))
        (desk.path / "folder").mkdir()
        result = set_in(desk, "image.hex", "-o folder")
        case("an output that is a folder", result.code == 6, result)
        result = set_in(desk, "image.hex", "-o nowhere/new.hex")
        case("an output that cannot be made", result.code == 1 and desk.read("image.hex") == IMAGE, result)


# ---- Consent ------------------------------------------------------------------------------------------

# Mode, first address of the bytes, bytes before, assignment, whether it can lock the user out.
DANGERS = [
    (15, FUSES, "FF99FF5A000000FF0000", "CKDIV8=0", False),
    (15, FUSES, "FF99FF5A000000FF0000", "LB1=0", True),
    (15, FUSES, "FF99FF5A000000FE0000", "LB1=1", False),
    (15, FUSES, "FF99FF5A000000FE0000", "LB1=0", False),  # no change
    (15, FUSES, "FF99FF5A000000FF0000", "JTAGEN=1", True),
    (15, FUSES, "FFD9FF5A000000FF0000", "JTAGEN=0", False),
    (15, FUSES, "FF99FF5A000000FF0000", "OCDEN=0", True),
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
# What is typed at the question (none: no terminal), assignment, options, exit code.
ANSWERS = [
    (None, "CKDIV8=disable", "", 6),
    (None, "CKDIV8=disable", "--dry-run", 0),
    ("n", "CKDIV8=disable", "", 6),
    ("", "CKDIV8=disable", "", 6),
    ("yy", "CKDIV8=disable", "", 6),
    ("y", "LB1=enable", "", 6),
    ("lock me out", "LB1=enable", "--yes", 6),
    ("y", "CKDIV8=disable", "", 0),
    ("Lock me out", "LB1=enable", "", 0),
]


def consent(program):
    for mode, first, data, word, danger in DANGERS:
        image = ihex((0, CODE), (first, bytes.fromhex(data)))
        name = f"mode {mode} {data} {word}"
        with Desk(program, {"a.hex": image}) as desk:
            command = f"config set {plain(mode)} -i a.hex --yes"
            result = desk.run(command, word)
            case(f"{name}: danger", result.code == (6 if danger else 0), result)
            case(f"{name}: named", not danger or "lock you out" in result.err, result)
            case(f"{name}: kept", not danger or desk.read("a.hex") == image)
            case(f"{name}: accepted", desk.run(f"{command} --accept-danger", word).code == 0)

    written = {"CKDIV8=disable": (FUSES, 0xE2), "LB1=enable": (FUSES + 7, 0xFE)}
    with Desk(program, FILES) as desk:
        for answer, word, options, code in ANSWERS:
            before, _ = hex_content(desk.read("image.hex"))
            command = f"config set {plain(15)} -i image.hex {word} {options}"
            if answer is None:
                result = desk.run(command)
                got, shown = result.code, result.out
            else:
                got, shown = desk.on_terminal(command, answers=[answer])
            case(f"{command}, answer {answer!r}", got == code, shown)
            address, value = written[word]
            wanted = {**before, address: value} if code == 0 and answer else before
            case(f"{command}, answer {answer!r}: content", hex_content(desk.read("image.hex"))[0] == wanted, shown)
        case("no other file", desk.names() == sorted(FILES))
        result = desk.run(f"config set {plain(15)} -i image.hex CKDIV8=enable")
        case("nobody to ask", result.code == 6 and "--yes" in result.err, result)
        case("the diff comes first", "CKDIV8: Disable(1) -> Enable(0)" in result.out and "E2 -> 62" in result.out, result)
        result = desk.run(f"config set {plain(15)} -i image.hex CKDIV8=enable --json")
        case("the diff in JSON", len(result.json["changes"]["bytes"]) == 1 and not result.json["written"], result)
        result = desk.run(f"config defaults {plain(18)} -i image.hex --yes")
        case("defaults can lock, too", result.code == 6 and "BLB11" in result.err, result)


# ---- The chip -----------------------------------------------------------------------------------------


def chip(program):
    words = "--device WORDS --profiles mine.toml --chip a.chip"
    inside = "--device INSIDE --profiles mine.toml --chip b.chip"
    fuses = "--device FUSE15-16K --chip c.chip"
    steps = [
        (f"program {words} -i code.bin", 0, ""),
        (f"config set {words} FMPPE=12345678 --yes --accept-danger", 0, ""),
        (f"config get {words} FMPRE FMPPE", 0, "^OTP register/FMPRE=FFFFFFFF\nOTP register/FMPPE=12345678\n$"),
        (f"verify {words} -i code.bin", 0, ""),
        (f"config set {words} FMPPE=FFFFFFFF", 6, ""),
        (f"config get {words} FMPPE", 0, "^12345678\n$"),
        (f"config set {inside} BL_CONFIG=12345678 --yes --accept-danger", 6, "Read the device into a file"),
        ("config show --device WORDS --profiles mine.toml --chip no.chip", 5, ""),
        (f"config defaults {fuses} --yes", 0, ""),
        (f"config set {fuses} CKDIV8=disable --yes", 0, ""),
        (f"config show {fuses} 'Fuse Low Byte/'", 0, "0x4000: E2"),
    ]
    with Desk(program, {**FILES, "code.bin": bytes(range(256)) * 128, "no.chip": b"this is no chip"}) as desk:
        del desk.environment["KX3MPU6_NAMESPACE"]  # as users run it
        for command, code, pattern in steps:
            result = desk.run(command)
            case(command, result.code == code and re.search(pattern, result.out + result.err), result)
        case("no chip file", desk.read("no.chip") == b"this is no chip")


# ---- Notes --------------------------------------------------------------------------------------------

# Options, and what standard output has; where nothing is shown, standard error.
NOTES = [
    ("--mode 0 --size 0x10000 62", "Note: Information memory(?s:.)*8000h ---FFFFh"),
    ("--mode 0 --size 0x9000 62", "4400h ---8FFFh"),
    ("--mode 0x1B --size 0x10000 65", "Note!(?s:.)*FLASH2:          450h - 4FFh(?s:.)*must be filled"),
    ("--mode 0x29 --size 0x10000 68", "FE00h ---FFFFh(?s:.)*EEON bits"),
    ("--mode 0x29 --size 0x10000 68 --language zh-cn", "提示！(?s:.)*编程器不能读出"),
    ("--mode 0 --size 0x10000 75", "CCFG registers"),
    ("--device WORDS", "can only be written one time"),
    ("--device WORDS 75", "CCFG registers"),
    ("--mode 0x1E --size 0x10000 65", "says nothing"),
    ("--mode 0 --size 0x10000 60", "says nothing"),
    ("--mode 0 --size 0x10000 76", "says nothing"),
]
NO_NOTES = [
    ("--device INSIDE", "no note of its own"),
    ("--mode 1 --size 16", "no note of its own"),
    ("--device WORDS 128", "number"),
    ("--device WORDS -1", ""),
    ("--device WORDS abc", "abc"),
    ("", "no device"),
]


def notes(program):
    with Desk(program, FILES) as desk:
        for options, pattern in NOTES:
            command = f"notes {options} --profiles mine.toml"
            result = desk.run(command)
            case(command, result.code == 0 and re.search(pattern, result.out), result)
            told = desk.run(f"{command} --json")
            case(f"{command} in JSON", told.json["shown"] == (pattern != "says nothing"), told)
        for options, message in NO_NOTES:
            result = desk.run(f"notes {options} --profiles mine.toml")
            case(f"notes {options}", result.code == 2 and message in result.err, result)


def main():
    program, area = sys.argv[1:]
    {"fields": fields, "values": values, "files": files, "consent": consent, "chip": chip, "notes": notes}[area](program)
    print(f"{area}: {count} checks, {failures} failed")
    return 1 if failures or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
