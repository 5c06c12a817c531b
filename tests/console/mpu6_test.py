#!/usr/bin/env python3
"""What mpu6 promises on the command line: one case a line, each at a desk of its own.

usage: mpu6_test.py PROGRAM [CASE...]
"""
import dataclasses
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
from typing import Callable

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from load_files import ihex, s_data, s_line
from mpu6_desk import TIMEOUT, Desk

DEVICE_BYTES = 0x40000
IMAGE = bytes((i * 7 + (i >> 8) * 13) & 0xFF for i in range(DEVICE_BYTES))


def srec(data, last):
    lines = s_data(0, data)
    end = {"start": s_line("7", 0), "count": s_line("5", len(lines)), "none": ""}[last]
    return "".join(lines + [end]).encode()


SMALL = bytes(range(1, 65))
SMALL_HEX = ihex((0x100, SMALL))
BAD_SUM = SMALL_HEX.replace(b"0102", b"0103", 1)

PROFILE = """[devices.MINE]
description = "a device of my own"
model_type = 80
size = 0x8000
block_size = 0x8000
algorithm_folder = "f"
algorithm_file = "g"
"""


def profile(**changes):
    """PROFILE with entries replaced, or taken out by None; line numbers stay."""
    lines = []
    for line in PROFILE.splitlines():
        key = line.split(" = ")[0]
        if key in changes:
            value = changes.pop(key)
            line = "#" if value is None else f"{key} = {value}"
        lines.append(line)
    lines += [f"{key} = {value}" for key, value in changes.items()]
    return "\n".join(lines).encode()


FILES = {
    "image.bin": IMAGE,
    "image.hex": ihex((0, IMAGE)),
    "image.s37": srec(IMAGE, "start"),
    "counted.s37": srec(IMAGE, "count"),
    "small.hex": SMALL_HEX,
    "endless.s37": srec(SMALL, "none"),
    "badsum.hex": BAD_SUM,
    "noend.hex": ihex((0x100, SMALL), end=False),
    "trailing.hex": SMALL_HEX + ihex((0x900, SMALL), end=False),
    "garbage.hex": b"what is this\n" + SMALL_HEX,
    "garbage2.hex": SMALL_HEX.replace(b"\n", b"\nwhat is this\n", 1),
    "overlap.hex": ihex((0x100, SMALL), (0x120, SMALL)),
    "outside.hex": ihex((0x3FFF8, b"0123456789ABCDEF"), (0x10001000, SMALL)),
    "elsewhere.hex": ihex((0x10001000, SMALL)),
    "nodata.hex": ihex(),
    "empty.hex": b"",
    "long.bin": IMAGE + b"more",
    "one.bin": b"\x55",
    "two.bin": b"\x54",
    "notchip.chip": b"this is no chip",
    "mine.toml": PROFILE.encode(),
    "missing.toml": profile(size=None),
    "unknown.toml": profile(blok_size=1),
    "mistyped.toml": profile(size='"large"'),
    "range.toml": profile(vcc=-1),
    "listed.toml": profile(configuration="[1, 2, 256]"),
    "broken.toml": PROFILE.encode() + b"vcc = = 3\n",
    "geometry.toml": profile(size="0x40000", block_size="0x10000"),
    "leads-out.toml": profile(algorithm_file='"../../up"'),
    "sum.toml": profile(firmware_version=200, signature=56),
    "armless.toml": profile(model_type=50, block_size=None),
    "eeprom.toml": profile(eeprom_size=64),
    "stray.toml": b"device = 3\n",
    "nothing.toml": b"# nothing\n",
    "good/algo4/arm80/flash.alg": b"\x01" * 0x6000,
    "good/algo/arm60/flash.bin": b"\x01",
    "clock/algo4/clk/clocked.alg": b"\x01",
    "clock/algo4/f/g.alg": b"\x00",
    "clocked.toml": profile(algorithm_clock='"clocked"'),
    "zero/algo4/arm80/flash.alg": b"\x00\x01",
    "long/algo4/arm80/flash.alg": b"\x01" * 0x6001,
    "void/algo4/arm80/flash.alg": b"",
    "none/readme": b"",
    "old.hex": b"old contents",
}


@dataclasses.dataclass
class Case:
    """`check` gets the last command's result and gives what must be true."""

    name: str
    command: str
    code: int = 0
    out: str = ""  # regular expressions that must match somewhere
    err: str = ""
    before: tuple = ()  # commands that must pass first
    check: Callable = None


def all_equal(result):
    return result.file("copy.bin") == IMAGE


D80, D60 = "-d ARM80-256K", "-d ARM60-256K"
WORDS = "-d ARM60-W256K"
PROGRAMMED = (f"program {D80} -i image.bin --chip c.chip",)

CASES = [
    # Whole operations on both drivers, byte and word devices, all formats.
    Case("help", "--help", out=r"(?s)Examples:.*mpu6 program .*Exit status:.*130"),
    Case("help of a command", "program --help", out="--skip-outside"),
    Case("version", "--version", out=r"^mpu6 \d+\.\d+\.\d+\n$"),
    Case("devices", "devices", out=r"ARM80-8M +arm_prg_32f +8388608 bytes"),
    Case("devices in JSON", "devices --json", check=lambda r: {"name", "driver", "bytes"} <= r.json["devices"][0].keys()),
    *[
        Case(
            f"program, verify, read: {device} from {source} into {copy}",
            f"verify -d {device} -i {copy} --chip c.chip",
            before=(
                f"program -d {device} -i {source} --chip c.chip --verify",
                f"read -d {device} -o {copy} --chip c.chip",
                f"read -d {device} -o copy.bin --chip c.chip",
            ),
            out=r"all 262144 bytes equal",
            check=all_equal,
        )
        for device, source, copy in [
            ("ARM80-256K", "image.hex", "copy.hex"),
            ("ARM60-256K", "image.s37", "copy.s19"),
            ("ARM60-W256K", "image.bin", "copy.bin"),
        ]
    ],
    Case("S-records that end with a count", f"program {D60} -i counted.s37", out="262144 bytes .*S-record"),
    Case("auto", f"auto {D80} -i image.hex --chip c.chip", err=r"(?s)Erase.*Blank Check.*Program.*Verify\(VCC:3\.3V\)",
         out="Auto sequence passed"),
    Case("auto on the other driver", f"auto {D60} -i image.hex", err=r"(?s)Erase.*Blank Check.*Program.*Verify"),
    Case("two verify passes", "auto -d ARM80-32K -i small.hex", err=r"(?s)VCC:3\.63V.*VCC:2\.97V"),
    Case("erase, then blank check", f"blank-check {D60} --chip c.chip",
         before=(f"program {D60} -i image.bin --chip c.chip", f"erase {D60} --chip c.chip"), out="is blank"),
    Case("gaps of a load file are erased bytes", "read -d ARM80-256K -o copy.bin --chip c.chip",
         before=(f"program {D80} -i small.hex --chip c.chip",),
         check=lambda r: r.file("copy.bin")[0x100:0x140] == SMALL and r.file("copy.bin").count(0xFF) == DEVICE_BYTES - 64),
    Case("raw data at a base address", "read -d ARM80-256K -o copy.bin --chip c.chip",
         before=(f"program {D80} -i one.bin --base 0x1234 --chip c.chip",),
         check=lambda r: r.file("copy.bin")[0x1234] == 0x55),
    Case("data outside, left out", f"program {D80} -i outside.hex --skip-outside", out=r"Left out.*0x40000-0x40007, 0x10001000-0x1000103F"),
    Case("a device of one's own", "program -d MINE --profiles mine.toml -i small.hex", out="MINE"),
    Case("algorithm images of one's own", f"program {D80} -i small.hex --algorithm-dir good"),
    Case("algorithm images of the other driver", f"program {D60} -i small.hex --algorithm-dir good"),
    Case("a clock-specific image comes first", "program -d MINE --profiles clocked.toml -i small.hex --algorithm-dir clock"),
    Case("log in Chinese", f"program {D80} -i small.hex --language zh-cn", err=">>编程成功。"),
    Case("log in another language", f"auto {D80} -i small.hex --language 33000", err="Стереть"),

    # What standard output and standard error are for.
    Case("quiet", f"program {D80} -i small.hex -q", check=lambda r: (r.out, r.err) == ("", "")),
    Case("progress lines in a pipe", f"program {D80} -i image.bin --progress always", err=r"(?s)Program \d+ %\n.*Program 100 %\n"),
    Case("no progress unless asked", f"program {D80} -i image.bin", check=lambda r: "%" not in r.err),
    Case("JSON", f"program {D80} -i image.hex --json", check=lambda r: (r.json["ok"], r.json["bytes"]) == (True, DEVICE_BYTES)),
    Case("JSON of a failure", f"program {D80} -i badsum.hex --json", 5,
         check=lambda r: (r.json["ok"], r.json["exit_code"], r.json["result"]) == (False, 5, "bad-file")),
    Case("JSON of a wrong command line", "program --json", 2, check=lambda r: "--device" in r.json["error"]["message"]),
    Case("JSON of differences", f"verify {D80} -i image.bin --json", 3,
         check=lambda r: r.json["differences"]["bytes"] == sum(byte != 0xFF for byte in IMAGE)),

    # Command lines.
    Case("no command", "", 2, err="subcommand"),
    Case("unknown option", "devices --nonsense", 2, err="nonsense"),
    Case("empty value", f"erase {D80} --chip ''", 2, err="--chip"),
    Case("unknown device", "erase -d arm60-8m", 2, err="Near it are: ARM60-8M, "),
    Case("unknown language", f"erase {D80} --language xx", 2, err="zh-cn"),
    Case("a language between two", f"erase {D80} --language 3001", 2, err="3001"),
    Case("unknown format", f"program {D80} -i image.bin --format elf", 2, err="ihex, srec or raw"),
    Case("no address", f"program {D80} -i image.bin --base -5", 2, err="--base"),
    Case("base with a format that has addresses", f"program {D80} -i small.hex --base 0", 2, err="--base"),
    Case("output format unknown", f"read {D80} -o copy.xyz", 2, err="--format"),
    Case("malformed fault", f"erase {D80} --faults nonsense", 2, err="nonsense"),

    # Load files.
    *[
        Case(f"load file: {name}", f"program {D80} -i {name} --chip c.chip", code, err=pattern,
             check=lambda r: not (r.directory / "c.chip").exists())
        for name, code, pattern in [
            ("badsum.hex", 5, r"badsum\.hex: 1: checksum"),
            ("noend.hex", 5, "no Intel HEX end record"),
            ("endless.s37", 5, "no Motorola S-record end record"),
            ("trailing.hex", 5, "no Intel HEX end record"),
            ("garbage.hex", 5, "--format raw"),
            ("garbage2.hex", 5, r"garbage2\.hex: 2: "),
            ("overlap.hex", 5, "overlapping data: address 0x120"),
            ("nodata.hex", 5, "no data"),
            ("empty.hex", 5, "empty"),
            ("missing.hex", 5, "No such file"),
            ("good", 5, "directory"),
            ("/dev/null", 5, "no regular file"),
            ("outside.hex", 6, r"0x40000-0x40007, 0x10001000-0x1000103F; the device has 0x0-0x3FFFF"),
            ("long.bin", 6, "0x40000-0x40003"),
        ]
    ],
    Case("nothing but outside", f"program {D80} -i elsewhere.hex --skip-outside", 5, err="no data for this device"),
    Case("overlapping data outside", f"program {D80} -i overlap.hex --base 0 --format ihex", 2),

    # Outputs: the old file stays whole, and nothing half-written remains.
    Case("output replaced", f"read {D80} -o old.hex", check=lambda r: r.file("old.hex").startswith(b":")),
    Case("a failed read leaves the old file", f"read {D80} -o old.hex --faults report@3+:missing", 4,
         check=lambda r: r.file("old.hex") == b"old contents" and not list(r.directory.glob("old.hex?*"))),
    Case("output in no directory", f"read {D80} -o nowhere/copy.hex", 1, err="nowhere/copy.hex cannot be written"),
    Case("output is a directory", f"read {D80} -o good --format raw", 6, err="directory"),
    Case("output is a device", f"read {D80} -o /dev/null --format raw", 6, err="no regular file"),
    Case("output on the chip", f"read {D80} -o c.chip --chip c.chip --format raw", 6, err="same file"),
    Case("trace on a full disk", f"erase {D80} --trace /dev/full", err="the trace /dev/full is incomplete"),
    Case("trace in no directory", f"erase {D80} --trace nowhere/t", 1, err="nowhere/t"),

    # Profiles: file, line and key.
    *[
        Case(f"profile: {name}", f"devices --profiles {name}.toml", 5, err=pattern)
        for name, pattern in [
            ("missing", r'missing\.toml:1: .*MINE has no entry "size"'),
            ("unknown", r'unknown\.toml:8: unknown entry "blok_size"\n.*block_size'),
            ("mistyped", r"mistyped\.toml:4: size must be an integer"),
            ("range", r"range\.toml:8: vcc = -1 is out of range; it may be 0 to"),
            ("listed", r"listed\.toml:8: configuration = 256 is out of range"),
            ("broken", r"broken\.toml:8: "),
            ("geometry", r"(?s)geometry\.toml:1: .*0x10000 does not suit.*block_size = 0xC000"),
            ("leads-out", "leads out of the algorithm folder"),
            ("sum", "add up to more than 255"),
            ("armless", r'MINE has no entry "block_size"'),
            ("eeprom", "know no EEPROM"),
            ("stray", r'stray\.toml:1: "device" does not belong here'),
            ("nothing", "no device"),
            ("absent", "No such file"),
        ]
    ],

    # Algorithm images.
    *[
        Case(f"algorithm image: {name}", f"erase {D80} --algorithm-dir {name}", 5, err=pattern)
        for name, pattern in [
            ("none", r"none/algo4/arm80/flash\.alg: there is no such file"),
            ("void", "empty"),
            ("zero", "begins with 0"),
            ("long", "24577 bytes; at most 24576"),
            ("absent", r"absent: No such file"),
        ]
    ],

    # Chips and what the programmer may do wrong.
    Case("verify finds one byte", f"verify {D80} -i two.bin --chip c.chip", 3, before=(f"program {D80} -i one.bin --chip c.chip",),
         err=r"address 0x0, device 0x55, file 0x54; 1 byte differs in all, 0 bits 0 instead of 1, 1 bit 1 instead of 0"),
    Case("a bit that does not hold", f"program {D80} -i image.bin --verify --faults bitflip@0x1234.5", 3,
         err=r"address 0x1234, .*1 byte differs"),
    Case("verify of a word device", f"verify {WORDS} -i two.bin --chip c.chip", 3, before=(f"program {WORDS} -i one.bin --chip c.chip",),
         err="address 0x0, device 0x55, file 0x54; 1 byte differs"),
    Case("not blank", f"blank-check {D80} --chip c.chip", 3, before=PROGRAMMED, err="not blank: address 0x0, device 0x00"),
    Case("program over other data", f"program {D80} -i two.bin --chip c.chip", 1, before=PROGRAMMED, err="failed in stage program: address"),
    Case("chip file of another device", "erase -d ARM80-1M --chip c.chip", 5, before=PROGRAMMED, err="262144"),
    Case("no chip file", f"erase {D80} --chip notchip.chip", 5, err="notchip.chip", check=lambda r: r.file("notchip.chip") == b"this is no chip"),
    Case("chip file cannot be kept", f"program {D80} -i small.hex --chip nowhere/c.chip", 1, err="nowhere/c.chip"),
    Case("another chip", f"erase {D80} --faults chipid@1+:wrong", 4, err="(?s)Answered: Abort.*identifier is not that of the device"),
    Case("no report", f"program {D80} -i small.hex --faults report@4+:missing", 4, err="no status report"),
    Case("a transfer fails", f"program {D80} -i small.hex --faults bulkwrite@2:fail", 4, err="transfer"),
    Case("reads fail twice", f"read {D60} -o copy.hex --faults bulkread@2+:fail", 4, err="transfer"),
    Case("a read fails once", f"read {D60} -o copy.hex --faults bulkread@2:fail=3"),
    Case("image comes back wrong", f"erase {D80} --faults bulkread@1:corrupt", 1, err="broken off"),
    Case("programmer not ready", f"erase {D80} --faults start@1:refuse", 4, err="not ready"),
    Case("device not prepared", f"erase {D80} --faults prepare@1:refuse", 4, err="prepared"),
    Case("programmer stops by itself", f"program {D60} -i image.bin --faults report@4:stop", 1, err="by itself"),
    Case("identity error in a run", f"erase {D80} --faults report@3:identity", 4, err="another one"),
    Case("compare error in a run", f"program {D80} -i image.bin --faults report@3:compare=0x1234", 1, err="address 0x1234"),
    Case("old firmware is a warning", f"erase {D80} --faults version@1:wrong", err="need update"),

    # Traces.
    Case("equal runs give equal traces", f"auto {D60} -i image.hex --trace t.jsonl --seed 5",
         before=(f"auto {D60} -i image.hex --trace u.jsonl --seed 5",), check=lambda r: r.file("t.jsonl") == r.file("u.jsonl")),
    Case("a trace tells the story", "auto -d ARM80-32K -i small.hex --trace t.jsonl", check=lambda r:
         [line["packet"] for line in r.trace() if "packet" in line] == [
             "signature 1", "announce the algorithm image", "request the algorithm image", "ask for the firmware version",
             "announce data for the programmer, bank 2", "run 0 in bank 0, block 0 (last)"]),
    Case("a trace counts comparisons", f"verify {D80} -i image.bin --chip c.chip --trace t.jsonl", before=PROGRAMMED,
         check=lambda r: sum(line.get("count", 0) for line in r.trace() if line.get("call") == "CompareByte") == DEVICE_BYTES),
]


def require(condition, message):
    if not condition:
        raise AssertionError(message)


def run_case(case, desk):
    for command in case.before:
        result = desk.run(command)
        require(result.code == 0, result)
    result = desk.run(case.command)
    require(result.code == case.code, f"expected exit {case.code}; {result}")
    require(re.search(case.out, result.out), f"standard output lacks {case.out!r}; {result}")
    require(re.search(case.err, result.err), f"standard error lacks {case.err!r}; {result}")
    require(case.code in (0, 130) or re.search(r"^mpu6: ", result.err, re.M), f"no error message; {result}")
    require(case.check is None or case.check(result), f"the check does not hold; {result}")


# ---- Cases with a life of their own -----------------------------------------------------------


def start_slow(desk, command):
    """Start an operation that takes its time, and wait until it programs."""
    process = desk.start(f"{command} --faults slow=20000 --progress never", stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    seen = b""
    while b">>Program" not in seen:
        line = process.stderr.readline()
        require(line, f"`mpu6 {command}` ended: {seen.decode()}")
        seen += line
    return process


def test_stop_by_a_signal(desk):
    for device, number in [(D80, signal.SIGINT), (D60, signal.SIGTERM)]:
        device += f" --chip {number}.chip"
        process = start_slow(desk, f"program {device} -i image.bin")
        process.send_signal(number)
        _, err = process.communicate(timeout=TIMEOUT)
        require(process.returncode == 130, f"exit {process.returncode}: {err.decode()}")
        require(b">>Stopped." in err, f"no orderly end: {err.decode()}")
        after = desk.run(f"erase {device}")
        require(after.code == 0, f"the next session fails: {after}")


def test_two_hosts(desk):
    first = start_slow(desk, f"program {D80} -i image.bin --instance 7")
    for options, message in [("--instance 7", "instance number 7"), ("--instance 8", "device buffer"), ("", "device buffer")]:
        second = desk.run(f"erase {D60} {options}")
        require(second.code == 4 and message in second.err, second)
    first.kill()
    first.communicate(timeout=TIMEOUT)
    after = desk.run(f"erase {D60} --instance 7")
    require(after.code == 0, f"after a killed host: {after}")


def test_missing_libraries(desk):
    program = pathlib.Path(desk.program)
    for missing, code, command in [
        ("libkx6io.so", 127, f"erase {D80}"),  # linked: the system says so
        ("libkx3io.so", 4, f"erase {D80}"),
        ("libmpu6records.so", 1, f"program {D80} -i small.hex"),
    ]:
        there = pathlib.Path(tempfile.mkdtemp(dir=desk.path))
        for file in [program, *program.parent.glob("lib*.so*")]:
            if file.name != missing:
                shutil.copy(file, there)
        desk.program = there / program.name
        result = desk.run(command)
        require(result.code == code and missing in result.err, f"without {missing}: {result}")


def test_bar_on_a_terminal(desk):
    code, shown = desk.on_terminal(f"program {D80} -i image.bin")
    require(code == 0, f"exit {code}: {shown}")
    require(re.search(r"\r\x1b\[KProgram \[#{30}\] 100 %", shown), f"no full bar: {shown!r}")
    require(re.search(r"\r\x1b\[K>>Program passed", shown), f"the log does not take the bar's place: {shown!r}")


def test_unwritable_standard_output(desk):
    with open("/dev/full", "wb") as full:
        process = desk.start("devices", stdout=full, stderr=subprocess.PIPE)
        _, err = process.communicate(timeout=TIMEOUT)
    require(process.returncode == 1 and b"standard output" in err, f"exit {process.returncode}: {err}")


def test_nothing_is_left_behind(desk):
    desk.environment["TMPDIR"] = str(desk.path / "none")
    for command, code in [(f"erase {D80}", 0), (f"erase {D80} --faults start@1:refuse", 4)]:
        require(desk.run(command).code == code, command)
    left = os.listdir(desk.path / "none")
    require(left == ["readme"], f"temporary files remain: {left}")
    blocks = [name for name in os.listdir("/dev/shm") if desk.environment["KX3MPU6_NAMESPACE"] + "-" in name]
    require(not blocks, f"shared blocks remain: {blocks}")


def main(cases, names):
    """Run the cases, and the functions test_... among the names of a module."""
    program, wanted = sys.argv[1], sys.argv[2:]
    tests = [(case.name, lambda desk, case=case: run_case(case, desk)) for case in cases]
    tests += [(name[5:].replace("_", " "), run) for name, run in names.items() if name.startswith("test_")]
    failed = 0
    for name, run in tests:
        if wanted and name not in wanted:
            continue
        try:
            with Desk(program, FILES) as desk:
                run(desk)
            print(f"ok      {name}", flush=True)
        except AssertionError as error:
            failed += 1
            print(f"FAILED  {name}\n        {error}", flush=True)
    print(f"{len(wanted or tests) - failed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(CASES, globals()))
