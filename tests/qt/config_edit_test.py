#!/usr/bin/env python3
"""`mpu6 config edit` with real key events on a display of its own, and without any display.

usage: config_edit_test.py PROGRAM

Exit code 77 when the tools for a display (xvfb, xdotool) are missing.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from mpu6_desk import Desk

TITLE = "Edit Configuration"
EDIT = "config edit --mode 15 --size 0x400"  # fuse bytes from 0x800 on
failures = 0


def case(name, condition, detail):
    global failures
    if not condition:
        failures += 1
        print(f"FAILED {name}\n{detail}")


def keys(*names):
    subprocess.run(["xdotool", "key", "--delay", "40", *names], check=True)


def wait_for(title):
    for _ in range(100):
        if subprocess.run(["xdotool", "search", "--onlyvisible", "--name", title], capture_output=True).returncode == 0:
            time.sleep(0.3)  # the window is there before it takes keys
            return
        time.sleep(0.1)
    raise TimeoutError(f"no window {title}")


def edit(desk, options, *steps):
    """Run the command and press each step's keys when its window has come."""
    pipe = subprocess.PIPE
    with desk.start(f"{EDIT} {options}", stdin=subprocess.DEVNULL, stdout=pipe, stderr=pipe, text=True) as process:
        try:
            for title, pressed in steps:
                wait_for(title)
                keys(*pressed)
            out, err = process.communicate(timeout=20)
        finally:
            process.kill()
    return process.returncode, out + err


def with_display(desk):
    change = (TITLE, ["Tab", "Home", "Return"])  # the first rows are CKSEL0 and CKSEL1; Return is OK
    enable_lock = (TITLE, ["shift+Tab"] * 8 + ["Home", "Return"])  # back over Cancel, OK and the lock bits to LB1
    code, shown = edit(desk, "-o a.hex --yes", (TITLE, ["Home", "Return"]))
    case("OK writes", code == 0 and "CKSEL0: Disable(1) -> Enable(0)" in shown and desk.names() == ["a.hex"], shown)
    written = desk.read("a.hex")
    for name, options, steps, text in [
        ("Escape writes no copy", "-i a.hex -o b.hex --yes", [(TITLE, ["Tab", "Home", "Escape"])], "cancelled"),
        ("the box refuses", "-i a.hex", [change, ("mpu6", ["Escape"])], ""),
        ("danger is not confirmed by --yes", "-i a.hex --yes", [enable_lock], "LB1"),
    ]:
        code, shown = edit(desk, options, *steps)
        case(name, code == 6 and text in shown and desk.names() == ["a.hex"] and desk.read("a.hex") == written, shown)
    code, shown = edit(desk, "-i a.hex", change, ("mpu6", ["Return"]))
    case("the box agrees", code == 0 and desk.read("a.hex") != written, shown)


def without_display(desk):
    for name in ("DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"):
        desk.environment.pop(name, None)
    result = desk.run("notes --mode 15 --size 0x8000 62 --window")
    case("a note on the terminal", result.code == 0 and "instead" in result.err and "4400h" in result.out, result)
    for display, word in (({}, "no display"), ({"DISPLAY": ":7654"}, "DISPLAY=:7654")):
        desk.environment.update(display)
        result = desk.run(f"{EDIT} -o c.hex")
        case(word, result.code == 7 and word in result.err and "mpu6 config set" in result.err, result)


def main():
    inside = len(sys.argv) > 2
    if not inside and not (shutil.which("xvfb-run") and shutil.which("xdotool")):
        print("SKIPPED: xvfb and xdotool are not installed")
        return 77
    if not inside:  # again, inside of a display
        server = ["xvfb-run", "-a", "-s", "-screen 0 1024x768x24 -noreset"]
        return subprocess.run([*server, sys.executable, __file__, sys.argv[1], "inside"], timeout=110).returncode
    os.environ["QT_QPA_PLATFORM"] = "xcb"
    with Desk(sys.argv[1], {}) as desk:
        with_display(desk)
        without_display(desk)
    return 1 if failures else 0


sys.exit(main())
