"""Runs mpu6 in a directory of its own and looks at what it leaves there."""

import json
import os
import pathlib
import pty
import select
import subprocess
import tempfile
import time

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


# ---- Load files ---------------------------------------------------------------------------------------


def hex_line(kind, address, data=b""):
    body = bytes([len(data), address >> 8 & 0xFF, address & 0xFF, kind]) + data
    return ":" + (body + bytes([-sum(body) & 0xFF])).hex().upper() + "\n"


def ihex(*pieces, start=None):
    """Pieces are (address, bytes); `start` is an execution start address."""
    text, high = "", 0
    for first, data in pieces:
        for at in range(0, len(data), 16):
            address = first + at
            if address >> 16 != high:
                high = address >> 16
                text += hex_line(4, 0, high.to_bytes(2, "big"))
            text += hex_line(0, address & 0xFFFF, data[at : at + 16])
    if start is not None:
        text += hex_line(5, 0, start.to_bytes(4, "big"))
    return (text + hex_line(1, 0)).encode()


def s_line(kind, address, data=b""):
    body = address.to_bytes({"1": 2, "9": 2, "0": 2}.get(kind, 4), "big") + data
    body = bytes([len(body) + 1]) + body
    return "S" + kind + (body + bytes([~sum(body) & 0xFF])).hex().upper() + "\n"


def srec(first, data, header=b"a header", start=0x1234):
    lines = [s_line("0", 0, header)]
    lines += [s_line("3", first + at, data[at : at + 16]) for at in range(0, len(data), 16)]
    return "".join(lines + [s_line("7", start)]).encode()


def hex_content(text):
    """All data bytes of an Intel HEX file by address, and its start address."""
    content, high, start = {}, 0, None
    for line in text.decode().split():
        body = bytes.fromhex(line[1:])
        assert sum(body) & 0xFF == 0, line
        count, address, kind, data = body[0], body[1] << 8 | body[2], body[3], body[4:-1]
        assert count == len(data), line
        if kind == 0:
            content.update({high + address + i: value for i, value in enumerate(data)})
        elif kind == 2:
            high = int.from_bytes(data, "big") << 4
        elif kind == 4:
            high = int.from_bytes(data, "big") << 16
        elif kind == 5:
            start = int.from_bytes(data, "big")
    return content, start


def srec_content(text):
    """The same of S-records, with the header."""
    content, start, header = {}, None, None
    for line in text.decode().split():
        width = {"0": 2, "1": 2, "2": 3, "3": 4, "7": 4, "8": 3, "9": 2}.get(line[1])
        body = bytes.fromhex(line[2:])
        assert (sum(body) & 0xFF) == 0xFF, line
        if width is None:
            continue
        address, data = int.from_bytes(body[1 : 1 + width], "big"), body[1 + width : -1]
        if line[1] == "0":
            header = data
        elif line[1] in "123":
            content.update({address + i: value for i, value in enumerate(data)})
        else:
            start = address
    return content, start, header
