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
import tempfile
import time

TITLE = "Edit Configuration"
DEVICE = ["--mode", "15", "--size", "0x400"]  # fuse bytes from 0x800 on
failures = 0


def case(name, condition, detail=""):
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


def edit(program, words, *steps):
    """Run the command and press each step's keys when its window has come."""
    with subprocess.Popen(
        [program, "config", "edit", *DEVICE, *words],
        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
    ) as process:
        try:
            for title, pressed in steps:
                wait_for(title)
                keys(*pressed)
            out, err = process.communicate(timeout=20)
        finally:
            process.kill()
    return process.returncode, out, err


def with_display(program):
    image = pathlib.Path("a.hex")
    enable_first = ["Home", "Return"]  # the first row is CKSEL0; Return is OK
    code, out, err = edit(program, ["-o", "a.hex", "--yes"], (TITLE, enable_first))
    case("OK writes", code == 0 and "CKSEL0: Disable(1) -> Enable(0)" in out and image.exists(), out + err)
    written = image.read_bytes()

    code, out, err = edit(program, ["-i", "a.hex", "-o", "b.hex", "--yes"], (TITLE, ["Tab", *enable_first[:1], "Escape"]))
    case("Escape writes no copy", code == 6 and "cancelled" in err and not pathlib.Path("b.hex").exists(), out + err)

    change = (TITLE, ["Tab", "Home", "Return"])
    code, out, err = edit(program, ["-i", "a.hex"], change, ("mpu6", ["Escape"]))
    case("the box refuses", code == 6 and image.read_bytes() == written, out + err)
    code, out, err = edit(program, ["-i", "a.hex"], change, ("mpu6", ["Return"]))
    case("the box agrees", code == 0 and image.read_bytes() != written, out + err)

    enable_lock = (TITLE, ["shift+Tab"] * 8 + ["Home", "Return"])  # back over Cancel, OK and the lock bits to LB1
    code, out, err = edit(program, ["-i", "a.hex", "--yes"], enable_lock)
    case("danger is not confirmed by --yes", code == 6 and "lock you out" in err and "LB1" in err, out + err)


def without_display(program):
    bare = {name: value for name, value in os.environ.items() if name not in ("DISPLAY", "WAYLAND_DISPLAY")}
    for environment, word in ((bare, "no display"), ({**bare, "DISPLAY": ":7654"}, "DISPLAY=:7654")):
        command = [program, "config", "edit", *DEVICE, "-o", "c.hex"]
        done = subprocess.run(command, env=environment, capture_output=True, text=True, timeout=60)
        case(word, done.returncode == 7 and word in done.stderr and "mpu6 config set" in done.stderr, done.stderr)
    command = [program, "notes", "--mode", "15", "--size", "0x8000", "62", "--window"]
    done = subprocess.run(command, env=bare, capture_output=True, text=True, timeout=60)
    case("a note on the terminal", done.returncode == 0 and "instead" in done.stderr and "4400h" in done.stdout, done)


def main():
    program = str(pathlib.Path(sys.argv[1]).resolve())
    inside = len(sys.argv) > 2
    if not inside and not (shutil.which("xvfb-run") and shutil.which("xdotool")):
        print("SKIPPED: xvfb and xdotool are not installed")
        return 77
    if not inside:  # again, inside of a display
        server = ["xvfb-run", "-a", "-s", "-screen 0 1024x768x24 -noreset"]
        return subprocess.run([*server, sys.executable, __file__, program, "inside"], timeout=110).returncode
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        os.environ["QT_QPA_PLATFORM"] = "xcb"
        with_display(program)
        del os.environ["QT_QPA_PLATFORM"]
        without_display(program)
    return 1 if failures else 0


sys.exit(main())
