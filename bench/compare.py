#!/usr/bin/env python3
"""Speed and memory of kx3mpu6 against its goals, in one table; see compare.sh.

The engine's own figures come from engine_bench, which times the bare work beside them. Whole
processes of mpu6 are timed in turn with those of other programs for the same job.
"""
import json
import os
import pathlib
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

ROUNDS = 11
MIB = 1 << 20
ROWS = []


def row(identifier, what, figure, goal, met, note=""):
    ROWS.append((identifier, what, figure, goal, {True: "met", False: "NOT MET", None: "-"}[met], note))


# Whole processes.


def seconds(command):
    start = time.perf_counter()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return time.perf_counter() - start


def alternating(ours, theirs):
    """Medians of both commands, run in turn."""
    for command in (ours, theirs):
        seconds(command)
    times = [(seconds(ours), seconds(theirs)) for _ in range(ROUNDS)]
    return tuple(statistics.median(column) for column in zip(*times))


def peak_kibibytes(command):
    """Largest resident set of a command. GNU time starts it, since a copy of this interpreter would
    count its own memory in."""
    with tempfile.NamedTemporaryFile("r") as report:
        subprocess.run(["time", "-f", "%M", "-o", report.name, *command], check=True, stdout=subprocess.DEVNULL)
        return int(report.read())


def peer(variable, name):
    """Path and version of a program to compare with, or None."""
    path = shutil.which(os.environ.get(variable, name))
    if path is None:
        return None, None
    shown = subprocess.run([path, "-v" if name == "avrdude" else "--version"], capture_output=True, text=True, check=False)
    found = re.search(r"(?:[Vv]ersion |v)(\d+(?:\.\d+)+)", shown.stdout + shown.stderr)
    if found is None:  # some builds do not know their own
        found = re.search(r"(\d+(?:\.\d+)+)", package_version(path))
    return path, found.group(1) if found else "unknown"


def package_version(path):
    owner = subprocess.run(["dpkg", "-S", os.path.realpath(path)], capture_output=True, text=True, check=False).stdout
    package = owner.split(":")[0]
    return subprocess.run(["dpkg-query", "-W", "-f=${Version}", package], capture_output=True, text=True, check=False).stdout


def at_least(version, *wanted):
    return tuple(int(part) for part in re.findall(r"\d+", version)) >= wanted


def ratio_row(identifier, what, ours, theirs, goal, note):
    mine, other = alternating(ours, theirs)
    row(identifier, what, f"{mine * 1e3:.1f} ms / {other * 1e3:.1f} ms = {mine / other:.3f}", f"<= {goal}", mine / other <= goal, note)


def compare_with_flashrom(mpu6):
    program, version = peer("FLASHROM", "flashrom")
    if program is None:
        row("P4", "8 MiB, beside flashrom", "-", "<= 0.12", None, "flashrom is not installed")
        return
    dummy = [program, "-p", "dummy:emulate=MX25L6436", "-c", "MX25L6436E/MX25L6445E/MX25L6465E/MX25L6473E/MX25L6473F"]
    ratio_row("P4", "read 8 MiB", [mpu6, "read", "-d", "ARM80-8M", "-o", "read.bin", "--format", "raw", "-q"],
              [*dummy, "-r", "other.bin"], 0.5, f"flashrom {version}")
    if at_least(version, 1, 4):
        ratio_row("P4", "program + verify 8 MiB",
                  [mpu6, "auto", "-d", "ARM80-8M", "-i", "8192.bin", "--format", "raw", "-q"],
                  [*dummy, "-w", "8192.bin"], 0.12, f"flashrom {version}")
    else:
        row("P4", "program + verify 8 MiB", "-", "<= 0.12", None, f"flashrom {version} waits by the clock when it writes")


def compare_with_avrdude(mpu6):
    program, version = peer("AVRDUDE", "avrdude")
    ours = [mpu6, "auto", "-d", "ARM80-256K", "-i", "256.bin", "--format", "raw", "-q"]
    mine = statistics.median(seconds(ours) for _ in range(ROUNDS))
    if program is None or not at_least(version, 7, 2):
        reason = f"avrdude {version} has no dry run" if program else "avrdude is not installed"
        row("P5", "program + verify 256 KiB", f"{mine * 1e3:.1f} ms", "<= 0.05 x", None, reason)
        return
    ratio_row("P5", "program + verify 256 KiB", ours,
              [program, "-c", "dryrun", "-p", "m2560", "-U", "flash:w:256.bin:r"], 0.05, f"avrdude {version}")


def measure_start(binaries):
    command = [binaries / "first_session", binaries / "libkx3mpu6.so"]
    times = [float(subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout) for _ in range(ROUNDS)]
    first = statistics.median(times)
    row("P8", "load the plug-in to first session", f"{first / 1e3:.2f} ms", "<= 2 ms", first <= 2000)


def measure_memory(mpu6):
    peaks = {size: peak_kibibytes([mpu6, "program", "-d", f"ARM80-{name}", "-i", f"{size}.bin", "--format", "raw", "-q"])
             for size, name in ((256, "256K"), (1024, "1M"), (8192, "8M"))}
    shown = ", ".join(f"{size} KiB: {peak} KiB" for size, peak in peaks.items())
    row("P9", "peak memory of mpu6 program", shown, "8 MiB: <= 22528 KiB", peaks[8192] <= 22 * 1024)


# The engine alone.


def medians(program):
    """Counters and times (us) of engine_bench, each the median of several repetitions."""
    command = [program, "--benchmark_format=json", f"--benchmark_repetitions={ROUNDS}", "--benchmark_report_aggregates_only=true",
               "--benchmark_min_time=0.05"]
    report = json.loads(subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout)
    found = {}
    for entry in report["benchmarks"]:
        if entry.get("aggregate_name") == "median":
            name = entry["run_name"].replace("/manual_time", "")
            found[name] = {**entry, "us": entry["real_time"]}
    return found


def measure_engine(program):
    all_of = medians(program)

    def ratio(identifier, what, name, goal):
        value = all_of[name]["ratio"]
        row(identifier, what, f"{value:.3f}", f"<= {goal} x", value <= goal)

    ratio("P1", "verify, bytes / bare loop of calls", "verify/byte/8192", 1.10)
    ratio("P2", "verify, words / bare loop of calls", "verify/word/8192", 1.15)
    per_byte = all_of["transfer/program_byte/8192"]["ns/byte"]
    row("P3", "program 8 MiB", f"{per_byte:.3f} ns/byte", "<= 0.30 ns/byte", per_byte <= 0.30)
    ratio("P6", "attach + release / open, stat, map, unmap", "attachAndRelease<Host>", 1.15)
    foreign = all_of["attachAndRelease<ForeignHost>"]["ratio"]
    row("P6", "the same, blocks of another process", f"{foreign:.3f}", "-", None, "locks tell whether their holders live")
    session = all_of["emptySession"]["us"]
    row("P7", "empty session", f"{session:.1f} us", "<= 25 us", session <= 25)
    together, slowest = all_of["editors"]["us"], all_of["editors"]["slowest_us"]
    row("P10", "editors: open, change, OK", f"all {together:.0f} us, slowest {slowest:.1f} us", "1000 us, 20 us",
        together < 1000 and slowest <= 20)
    ends = [sum(all_of[f"{what}/{size}"]["ns/byte"] for what in ("transfer/program_byte", "verify/byte")) for size in (64, 65536)]
    growth = max(ends) / min(ends)
    row("P11", "program + verify, 64 KiB and 64 MiB", f"{ends[0]:.3f} and {ends[1]:.3f} ns/byte: {growth:.2f}", "<= 1.3 x", growth <= 1.3)


def main():
    binaries = pathlib.Path(sys.argv[1]).resolve()
    mpu6 = str(binaries / "mpu6")
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        os.environ["KX3MPU6_NAMESPACE"] = f"compare{os.getpid()}"
        for kibibytes in (256, 1024, 8192):
            pathlib.Path(f"{kibibytes}.bin").write_bytes(os.urandom(kibibytes * 1024))
        measure_engine(binaries / "engine_bench")
        compare_with_flashrom(mpu6)
        compare_with_avrdude(mpu6)
        measure_start(binaries)
        measure_memory(mpu6)
        os.chdir("/")
    ROWS.sort(key=lambda cells: int(cells[0][1:]))
    widths = [max(len(cells[i]) for cells in ROWS) for i in range(5)]
    for *cells, note in ROWS:
        print("  ".join(cell.ljust(width) for cell, width in zip(cells, widths)), note)
    return any(cells[4] == "NOT MET" for cells in ROWS)


if __name__ == "__main__":
    sys.exit(main())
