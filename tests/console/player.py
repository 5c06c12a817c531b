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
import pathlib
import re
import signal
import sys
import tomllib

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
import apart
from case_files import FILES
from load_files import hex_content
from mpu6_desk import QUESTION, Desk, Result, require

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


def main():
    program, area, *wanted = sys.argv[1:]
    tests = [(case["name"], case.get("goes_on"), lambda desk, case=case: play(case, desk)) for case in CASES.get(area, [])]
    tests += [(name, False, lambda desk, test=test: test(desk, CASES)) for name, test in apart.tests(area)]
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
