"""Runs mpu6 in a directory and a world of shared blocks of its own, and looks at what it leaves there."""

import json
import os
import pathlib
import pty
import re
import shlex
import shutil
import subprocess
import tempfile
import time

TIMEOUT = 60
QUESTION = re.compile(rb"Ignore\?|Cancel \(default\)\?|\[y/N\]|to go on:")


def require(condition, message):
    if not condition:
        raise AssertionError(message)


class Result:
    def __init__(self, command, code, out, err, directory):
        self.command, self.code, self.out, self.err, self.directory = command, code, out, err, directory

    def file(self, name):
        return (self.directory / name).read_bytes()

    @property
    def json(self):
        return json.loads(self.out)

    def trace(self):
        return [json.loads(line) for line in self.file("t.jsonl").decode().splitlines()]

    def __str__(self):
        return f"`mpu6 {self.command}` gave {self.code}\n--- out\n{self.out}\n--- err\n{self.err}"


class Desk:
    """A directory with files, and the program to work on them. A command is split as a shell does; words
    behind it are taken as they are."""

    count = 0

    def __init__(self, program, files):
        Desk.count += 1
        self.program = str(pathlib.Path(program).resolve())
        self.path = pathlib.Path(tempfile.mkdtemp(prefix="mpu6-test-"))
        self.environment = dict(os.environ, KX3MPU6_NAMESPACE=f"test-{os.getpid()}-{Desk.count}", LC_ALL="C.UTF-8")
        for name, data in files.items():
            (self.path / name).parent.mkdir(parents=True, exist_ok=True)
            (self.path / name).write_bytes(data)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.clear()

    def clear(self):
        shutil.rmtree(self.path, ignore_errors=True)

    def content(self):
        """All files with their bytes."""
        return {path: path.read_bytes() for path in self.path.rglob("*") if path.is_file()}

    def start(self, command, *words, **streams):
        line = [self.program, *shlex.split(command), *words]
        return subprocess.Popen(line, cwd=self.path, env=self.environment, **streams)

    def run(self, command, *words):
        pipe = subprocess.PIPE
        with self.start(command, *words, stdin=subprocess.DEVNULL, stdout=pipe, stderr=pipe) as process:
            try:
                out, err = process.communicate(timeout=TIMEOUT)
            except subprocess.TimeoutExpired:
                process.kill()
                raise AssertionError(f"`mpu6 {command}` hangs") from None
        return Result(shlex.join([command, *words]), process.returncode, out.decode(), err.decode(), self.path)

    def on_terminal(self, command, *words, answers=()):
        """The exit code, and what a terminal shows. Each question gets the next answer: keys, or a signal."""
        answers = list(answers)
        master, slave = pty.openpty()
        process = self.start(command, *words, stdin=slave, stdout=slave, stderr=slave)
        os.close(slave)
        shown, answered, deadline = b"", 0, time.monotonic() + TIMEOUT
        while time.monotonic() < deadline:
            try:
                shown += os.read(master, 4096)
            except OSError:  # the terminal's other end is closed
                break
            if not answers or len(QUESTION.findall(shown)) <= answered:
                continue
            answer = answers.pop(0)
            answered += 1
            if isinstance(answer, str):
                os.write(master, answer.encode() + b"\n")
            else:
                process.send_signal(answer)
        code = process.wait(timeout=TIMEOUT)
        os.close(master)
        return code, shown.decode()

    def read(self, name):
        return (self.path / name).read_bytes()

    def names(self):
        return sorted(os.listdir(self.path))
