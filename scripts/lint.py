#!/usr/bin/env python3
"""clang-tidy over the product's own code, as preset sanitize compiles it; the tests are left to the compilers.

    scripts/lint.py [--analyze] [FOLDER...]     FOLDER: only files below it, for instance src/arm
    --analyze                                   the static analyzer's checks, too

Most of the time goes to the system's headers, so the sources of a folder that are compiled alike are
checked as one, unless names of theirs clash. Exit code 1 when there are findings.
"""
import collections
import concurrent.futures
import json
import os
import pathlib
import shlex
import subprocess
import sys
import tempfile

BUILD = pathlib.Path("build/sanitize").resolve()
PRODUCT = ("src/", "plugin/native/", "console/", "simulator/", "ui/")


def groups(folders):
    """Sources that are compiled alike, by folder: (command without files, sources)."""
    found = collections.defaultdict(set)
    for entry in json.loads((BUILD / "compile_commands.json").read_text()):
        source = os.path.relpath(entry["file"])
        if source.startswith(PRODUCT) and source.startswith(folders) and source.endswith(".cpp"):
            command = shlex.split(entry["command"])
            options = command[: command.index("-o")]
            found[os.path.dirname(source), tuple(options)].add(source)
    return [(options, sorted(sources)) for (_, options), sources in sorted(found.items())]


def units(output, number, options, sources):
    """The translation units to check for a group: one of all its sources, or each source by itself."""
    if len(sources) > 1:
        unit = output / f"{number}.cpp"
        unit.write_text("".join(f'#include "{os.path.abspath(source)}"\n' for source in sources))
        joins = subprocess.run([*options, "-fsyntax-only", unit], cwd=BUILD, capture_output=True, check=False)
        if joins.returncode == 0:
            return [(options, str(unit))]
    return [(options, os.path.abspath(source)) for source in sources]


def main():
    arguments = sys.argv[1:]
    analyze = "--analyze" in arguments
    folders = tuple(argument for argument in arguments if argument != "--analyze") or ("",)
    jobs = int(os.environ.get("KX3_JOBS", os.cpu_count()))
    with tempfile.TemporaryDirectory(dir=BUILD) as folder, concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        output = pathlib.Path(folder)
        work = [pool.submit(units, output, number, *group) for number, group in enumerate(groups(folders))]
        checked = [unit for task in work for unit in task.result()]
        (output / "compile_commands.json").write_text(
            json.dumps([{"directory": str(BUILD), "file": unit, "arguments": [*options, "-c", unit]}
                        for options, unit in checked]))
        # A unit of several sources includes them by their names.
        left_out = "-bugprone-suspicious-include" + ("" if analyze else ",-clang-analyzer-*")
        tidy = ["clang-tidy", "--quiet", "-p", str(output), f"--checks={left_out}"]
        results = pool.map(lambda unit: subprocess.run([*tidy, unit[1]], capture_output=True, text=True, check=False),
                           checked)
        failed = 0
        for result in results:
            if result.returncode:
                failed += 1
                print(result.stdout, result.stderr, sep="")
    print(f"{len(checked)} units checked, {failed} with findings")
    return failed > 0 or not checked


if __name__ == "__main__":
    sys.exit(main())
