#!/usr/bin/env python3
"""Plays the cases of cases/*.toml: what mpu6 promises on the command line.

usage: player.py PROGRAM AREA [CASE...]

A case is a command in a directory of its own that holds FILES, or, with `goes_on`, in that of the case before:

  run, words  the command as a shell takes it, and words behind it that are taken as they are
  before      commands that must pass first
  terminal    run on a terminal, where each question gets the next of these answers: keys, or a signal's name
  code        exit code, 0 when left out; the error of a wrong command line (2) must come as JSON, too
  out, err    regular expressions that match somewhere in standard output and standard error
  json        values of standard output's JSON by their paths; "*" takes all members of a list
  trace       what the lines of trace t.jsonl have under a key, in their order
  text        regular expressions that match somewhere in files
  content     files of erased bytes but for these pieces, "address file-of-the-piece"
  hex, same   files of the same Intel HEX content as others; files that are equal
  absent      files that must not be there
  untouched   no file has been changed or made
"""
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import tomllib

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from case_files import CODE, FILES, FUSES
from load_files import hex_content, ihex, s_data, s_line, srec_content
from mpu6_desk import QUESTION, TIMEOUT, Desk, Result, require

CASES = {}
for path in (pathlib.Path(__file__).parent / "cases").glob("*.toml"):
    CASES.update(tomllib.loads(path.read_text()))


def pick(value, path):
    head, _, rest = path.partition(".")
    if head == "*":
        return [pick(each, rest) if rest else each for each in value]
    value = value[int(head) if isinstance(value, list) else head]
    return pick(value, rest) if rest else value


def erased_but_for(size, pieces):
    image = bytearray(b"\xFF" * size)
    for piece in pieces:
        address, name = piece.split()
        data = FILES[name]
        image[int(address, 0) : int(address, 0) + len(data)] = data
    return bytes(image)


def check_files(case, result):
    for name, pattern in case.get("text", {}).items():
        require(re.search(pattern, result.file(name).decode()), f"{name} lacks {pattern!r}; {result}")
    for name, pieces in case.get("content", {}).items():
        data = result.file(name)
        require(data == erased_but_for(len(data), pieces), f"{name} has other content; {result}")
    for name, other in case.get("hex", {}).items():
        require(hex_content(result.file(name)) == hex_content(FILES[other]), f"{name} is not like {other}; {result}")
    for name in case.get("absent", []):
        require(not (result.directory / name).exists(), f"{name} is there; {result}")
    if "same" in case:
        require(len({result.file(name) for name in case["same"]}) == 1, f"{case['same']} differ")


def run(case, desk):
    words = case.get("words", [])
    if "terminal" not in case:
        return desk.run(case.get("run", ""), *words)
    answers = [getattr(signal, answer, answer) if answer.isupper() else answer for answer in case["terminal"]]
    code, shown = desk.on_terminal(case.get("run", ""), *words, answers=answers)
    require(len(QUESTION.findall(shown.encode())) == len(answers), f"not {len(answers)} questions: {shown!r}")
    return Result(case.get("run", ""), code, shown, shown, desk.path)


def play(case, desk):
    for command in case.get("before", []):
        result = desk.run(command)
        require(result.code == 0, result)
    before = desk.content()
    result = run(case, desk)
    code = case.get("code", 0)
    require(result.code == code, f"expected exit {code}; {result}")
    require(re.search(case.get("out", ""), result.out), f"standard output lacks {case.get('out')!r}; {result}")
    require(re.search(case.get("err", ""), result.err), f"standard error lacks {case.get('err')!r}; {result}")
    require(code in (0, 130) or "mpu6: " in result.err, f"no error message; {result}")
    for path, wanted in case.get("json", {}).items():
        require(pick(result.json, path) == wanted, f"{path} is not {wanted}; {result}")
    for key, wanted in case.get("trace", {}).items():
        got = [line[key] for line in result.trace() if key in line]
        require(got == wanted, f"the trace's {key} are {got}")
    check_files(case, result)
    require(not case.get("untouched") or desk.content() == before, f"files were changed; {result}")
    if code == 2 and "--json" not in case.get("run", ""):
        told = desk.run(case.get("run", "") + " --json", *case.get("words", []))
        require(told.json["exit_code"] == 2, told)


# Cases with a life of their own.

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


def stop_by_a_signal(desk):
    for device, number in [(D80, signal.SIGINT), (D60, signal.SIGTERM)]:
        device += f" --chip {number}.chip"
        process = start_slow(desk, f"program {device} -i image.bin")
        process.send_signal(number)
        _, err = process.communicate(timeout=TIMEOUT)
        require(process.returncode == 130, f"exit {process.returncode}: {err.decode()}")
        require(b">>Stopped." in err, f"no orderly end: {err.decode()}")
        after = desk.run(f"erase {device}")
        require(after.code == 0, f"the next session fails: {after}")


def two_hosts(desk):
    first = start_slow(desk, f"program {D80} -i image.bin --instance 7")
    for options, message in [("--instance 7", "instance number 7"), ("--instance 8", "device buffer"), ("", "device buffer")]:
        second = desk.run(f"erase {D60} {options}")
        require(second.code == 4 and message in second.err, second)
    first.kill()
    first.communicate(timeout=TIMEOUT)
    after = desk.run(f"erase {D60} --instance 7")
    require(after.code == 0, f"after a killed host: {after}")


def missing_libraries(desk):
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


def bar_on_a_terminal(desk):
    code, shown = desk.on_terminal(f"program {D80} -i image.bin")
    require(code == 0, f"exit {code}: {shown}")
    require(re.search(r"\r\x1b\[KProgram \[#{30}\] 100 %", shown), f"no full bar: {shown!r}")
    require(re.search(r"\r\x1b\[K>>Program passed", shown), f"the log does not take the bar's place: {shown!r}")


def unwritable_standard_output(desk):
    with open("/dev/full", "wb") as full:
        process = desk.start("devices", stdout=full, stderr=subprocess.PIPE)
        _, err = process.communicate(timeout=TIMEOUT)
    require(process.returncode == 1 and b"standard output" in err, f"exit {process.returncode}: {err}")


def nothing_is_left_behind(desk):
    desk.environment["TMPDIR"] = str(desk.path / "none")
    for command, code in [(f"erase {D80}", 0), (f"erase {D80} --faults start@1:refuse", 4)]:
        require(desk.run(command).code == code, command)
    left = os.listdir(desk.path / "none")
    require(left == ["readme"], f"temporary files remain: {left}")
    blocks = [name for name in os.listdir("/dev/shm") if desk.environment["KX3MPU6_NAMESPACE"] + "-" in name]
    require(not blocks, f"shared blocks remain: {blocks}")


# ---- Configuration ---------------------------------------------------------------------------------------


def what_is_listed_can_be_typed_again(desk):
    for editor, modes in CASES["editors"].items():
        for mode in modes:
            listed = desk.run(f"config list --json {plain(mode)}")
            fields = listed.json["fields"]
            names = [(field["frame"], field["caption"]) for field in fields]
            require(listed.json["editor"] == editor and names and all(caption for _, caption in names), listed)
            words = ["/".join(name) if names.count(name) == 1 else field["control"] for field, name in zip(fields, names)]
            found = desk.run(f"config list --json {plain(mode)}", *words)
            require(found.code == 0 and found.json["fields"] == fields, found)


def languages(desk):
    for language, words in CASES["languages"].items():
        items = desk.run(f"config list --json {plain(15)} --language {language} SUT0").json["fields"][0]["items"]
        require(len(items) == 2 and "\t" not in "".join(items), f"{language}: {items}")
        require(items == (words or items), f"words of {language}: {items}")


def values_are_stored(desk):
    for mode, first, before, words, after in CASES["stored"]["cases"]:
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


def dangers(desk):
    for mode, first, data, word, danger in CASES["dangers"]["cases"]:
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


def images_are_rewritten(desk):
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


APART = {
    "command_line": [stop_by_a_signal, two_hosts, missing_libraries, bar_on_a_terminal, unwritable_standard_output,
                     nothing_is_left_behind],
    "config_fields": [what_is_listed_can_be_typed_again, languages],
    "config_values": [values_are_stored],
    "config_files": [images_are_rewritten],
    "config_consent": [dangers],
}


def main():
    program, area, *wanted = sys.argv[1:]
    tests = [(case["name"], case.get("goes_on"), lambda desk, case=case: play(case, desk)) for case in CASES.get(area, [])]
    tests += [(test.__name__.replace("_", " "), False, test) for test in APART.get(area, [])]
    failed = 0
    desk = None
    for name, goes_on, test in tests:
        if wanted and name not in wanted:
            continue
        if not goes_on:
            if desk:
                desk.clear()
            desk = Desk(program, FILES)
        try:
            test(desk)
        except AssertionError as error:
            failed += 1
            print(f"FAILED  {name}\n        {error}", flush=True)
    if desk:
        desk.clear()
    print(f"{area}: {len(wanted or tests) - failed} passed, {failed} failed")
    return 1 if failed or not tests else 0


if __name__ == "__main__":
    sys.exit(main())
