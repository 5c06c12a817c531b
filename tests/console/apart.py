"""Cases with a life of their own: for an area of the player, functions of a desk and of the tables in cases/*.toml."""
import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile

from case_files import CODE, FUSES
from load_files import hex_content, ihex, s_data, s_line, srec_content
from mpu6_desk import TIMEOUT, require

D80, D60 = "-d ARM80-256K", "-d ARM60-256K"


def plain(mode):
    return f"--mode {mode} --size 0x4000"


# ---- Commands on a device --------------------------------------------------------------------------------


def start_slow(desk, command):
    """Start an operation that takes its time, and wait until it programs."""
    process = desk.start(f"{command} --faults slow=20000 --progress never", stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    seen = b""
    while b">>Program" not in seen:
        line = process.stderr.readline()
        require(line, f"`mpu6 {command}` ended: {seen.decode()}")
        seen += line
    return process


def stop_by_a_signal(desk, _):
    for device, number in [(D80, signal.SIGINT), (D60, signal.SIGTERM)]:
        device += f" --chip {number}.chip"
        process = start_slow(desk, f"program {device} -i image.bin")
        process.send_signal(number)
        _, err = process.communicate(timeout=TIMEOUT)
        require(process.returncode == 130, f"exit {process.returncode}: {err.decode()}")
        require(b">>Stopped." in err, f"no orderly end: {err.decode()}")
        after = desk.run(f"erase {device}")
        require(after.code == 0, f"the next session fails: {after}")


def two_hosts(desk, _):
    first = start_slow(desk, f"program {D80} -i image.bin --instance 7")
    for options, message in [("--instance 7", "instance number 7"), ("--instance 8", "device buffer"), ("", "device buffer")]:
        second = desk.run(f"erase {D60} {options}")
        require(second.code == 4 and message in second.err, second)
    first.kill()
    first.communicate(timeout=TIMEOUT)
    after = desk.run(f"erase {D60} --instance 7")
    require(after.code == 0, f"after a killed host: {after}")


def missing_libraries(desk, _):
    program = pathlib.Path(desk.program)
    for missing, code, command in [
        ("libkx6io.so", 127, f"erase {D80}"),
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


def bar_on_a_terminal(desk, _):
    code, shown = desk.on_terminal(f"program {D80} -i image.bin")
    require(code == 0, f"exit {code}: {shown}")
    require(re.search(r"\r\x1b\[KProgram \[#{30}\] 100 %", shown), f"no full bar: {shown!r}")
    require(re.search(r"\r\x1b\[K>>Program passed", shown), f"the log does not take the bar's place: {shown!r}")


def unwritable_standard_output(desk, _):
    with open("/dev/full", "wb") as full:
        process = desk.start("devices", stdout=full, stderr=subprocess.PIPE)
        _, err = process.communicate(timeout=TIMEOUT)
    require(process.returncode == 1 and b"standard output" in err, f"exit {process.returncode}: {err}")


def nothing_is_left_behind(desk, _):
    desk.environment["TMPDIR"] = str(desk.path / "none")
    for command, code in [(f"erase {D80}", 0), (f"erase {D80} --faults start@1:refuse", 4)]:
        require(desk.run(command).code == code, command)
    left = os.listdir(desk.path / "none")
    require(left == ["readme"], f"temporary files remain: {left}")
    blocks = [name for name in os.listdir("/dev/shm") if desk.environment["KX3MPU6_NAMESPACE"] + "-" in name]
    require(not blocks, f"shared blocks remain: {blocks}")


# ---- Configuration ---------------------------------------------------------------------------------------


def what_is_listed_can_be_typed_again(desk, cases):
    for editor, modes in cases["editors"].items():
        for mode in modes:
            listed = desk.run(f"config list --json {plain(mode)}")
            fields = listed.json["fields"]
            names = [(field["frame"], field["caption"]) for field in fields]
            require(listed.json["editor"] == editor and names and all(caption for _, caption in names), listed)
            words = ["/".join(name) if names.count(name) == 1 else field["control"] for field, name in zip(fields, names)]
            found = desk.run(f"config list --json {plain(mode)}", *words)
            require(found.code == 0 and found.json["fields"] == fields, found)


def languages(desk, cases):
    for language, words in cases["languages"].items():
        items = desk.run(f"config list --json {plain(15)} --language {language} SUT0").json["fields"][0]["items"]
        require(len(items) == 2 and "\t" not in "".join(items), f"{language}: {items}")
        require(items == (words or items), f"words of {language}: {items}")


def values_are_stored(desk, cases):
    for mode, first, before, words, after in cases["stored"]["cases"]:
        data, wanted = bytes.fromhex(before), bytes.fromhex(after)
        (desk.path / "a.hex").write_bytes(ihex((0, CODE), (first, data)))
        command = f"config set {plain(mode)} -i a.hex --yes"
        result = desk.run(f"{command} --accept-danger --json", *words)
        require(result.code == 0, result)
        content = hex_content((desk.path / "a.hex").read_bytes())
        require(content == hex_content(ihex((0, CODE), (first, wanted))), f"mode {mode} stores {content}; {result}")
        told = {change["address"]: change["after"] for change in result.json["changes"]["bytes"]}
        require(told == {first + i: b for i, (a, b) in enumerate(zip(data, wanted)) if a != b}, result)
        again = desk.run(command, *words)
        require(again.code == 0 and "No change" in again.out, again)


def dangers(desk, cases):
    for mode, first, data, word, danger in cases["dangers"]["cases"]:
        image = ihex((0, CODE), (first, bytes.fromhex(data)))
        (desk.path / "a.hex").write_bytes(image)
        command = f"config set {plain(mode)} -i a.hex --yes"
        result = desk.run(command, word)
        require(result.code == (6 if danger else 0), f"mode {mode}; {result}")
        if danger:
            require("lock you out" in result.err and (desk.path / "a.hex").read_bytes() == image, result)
        require(desk.run(f"{command} --accept-danger", word).code == 0, f"mode {mode}, {word}: not accepted")


def srec(first, data):
    return "".join([s_line("0", 0, b"a header"), *s_data(first, data), s_line("7", 0x1234)]).encode()


def images_are_rewritten(desk, _):
    """What CKDIV8=disable makes of files, and nothing else."""
    before = bytes.fromhex("6299FF5A000000FF0000")
    after = b"\xE2" + before[1:]
    missing = bytes.fromhex("FFFFFFFF01FFFFFF00FF")  # over no bytes; the editor never writes the fourth
    others = ((0x20, CODE), (0x100000, b"eeprom"))
    changed = ihex((0, CODE), (FUSES, after), start=0x1234)
    for name, content, options, wanted, read in [
        ("fuses.hex", None, "-i fuses.hex", changed, hex_content),
        ("old.hex", None, "-i changed.hex -o old.hex", changed, hex_content),
        ("data.hex", ihex(*others), "-i data.hex", ihex(*others, (FUSES, missing[:3]), (FUSES + 4, missing[4:])), hex_content),
        ("a.s37", srec(FUSES - 6, b"before" + before + b"behind"), "-i a.s37", srec(FUSES - 6, b"before" + after + b"behind"),
         srec_content),
        ("a.bin", bytes(FUSES) + before + b"tail", "-i a.bin", bytes(FUSES) + after + b"tail", bytes),
        ("short.bin", CODE, "-i short.bin", CODE.ljust(FUSES, b"\xFF") + missing, bytes),
        ("part.bin", before, f"-i part.bin --base {FUSES:#x}", after, bytes),
    ]:
        if content is not None:
            (desk.path / name).write_bytes(content)
        result = desk.run(f"config set {plain(15)} {options} CKDIV8=disable --yes")
        require(result.code == 0 and read(result.file(name)) == read(wanted), f"{result}\n{result.file(name)[:500]}")
        require(name != "data.hex" or "does not have yet" in result.out, result)


AREAS = {
    "command_line": [stop_by_a_signal, two_hosts, missing_libraries, bar_on_a_terminal, unwritable_standard_output,
                     nothing_is_left_behind],
    "config_fields": [what_is_listed_can_be_typed_again, languages],
    "config_values": [values_are_stored],
    "config_files": [images_are_rewritten],
    "config_consent": [dangers],
}


def tests(area):
    return [(test.__name__.replace("_", " "), test) for test in AREAS.get(area, [])]
