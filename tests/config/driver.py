"""Runs mpu6 in a directory of its own and looks at what it leaves there."""

import json
import os
import pathlib
import pty
import select
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from load_files import s_data, s_line

TIMEOUT = 60


class Result:
    def __init__(self, code, out, err=""):
        self.code, self.out, self.err = code, out, err

    @property
    def json(self):
        return json.loads(self.out)

    def __str__(self):
        return f"exit {self.code}\n--- out\n{self.out}\n--- err\n{self.err}"


class Desk:
    """A directory with files, and the program to work on them."""

    def __init__(self, program, files=None):
        self.program = str(pathlib.Path(program).resolve())
        self.folder = tempfile.TemporaryDirectory()
        self.path = pathlib.Path(self.folder.name)
        for name, content in (files or {}).items():
            (self.path / name).write_bytes(content)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.folder.cleanup()

    def run(self, *words):
        done = subprocess.run(
            [self.program, *words], cwd=self.path, stdin=subprocess.DEVNULL, capture_output=True, timeout=TIMEOUT
        )
        return Result(done.returncode, done.stdout.decode(), done.stderr.decode())

    def type(self, answer, *words):
        """Run at a terminal and type `answer` once the program waits at a question."""
        process, terminal = pty.fork()
        if process == 0:
            os.chdir(self.path)
            os.execv(self.program, [self.program, *words])
        shown, typed, end = b"", False, time.monotonic() + TIMEOUT
        while time.monotonic() < end and select.select([terminal], [], [], TIMEOUT)[0]:
            try:
                part = os.read(terminal, 4096)
            except OSError:  # the other side is closed
                break
            shown += part
            if not typed and shown.rstrip().endswith((b"[y/N]", b"on:")):
                os.write(terminal, answer.encode() + b"\n")
                typed = True
        os.close(terminal)
        return Result(os.waitstatus_to_exitcode(os.waitpid(process, 0)[1]), shown.decode())

    def read(self, name):
        return (self.path / name).read_bytes()

    def names(self):
        return sorted(os.listdir(self.path))


def srec(first, data, header=b"a header", start=0x1234):
    return "".join([s_line("0", 0, header), *s_data(first, data), s_line("7", start)]).encode()
