#!/usr/bin/env python3
"""Compare the branches that no test takes with the list of those that are known, each with its reason.

    uncovered.py COVERAGE.json LIST.md

COVERAGE.json is gcovr's (--json --branches). A row of the list's tables is
"| file | beginning of the line of code | branches | reason |". Prints what the list lacks and what it has
too much; exit code 1 when it lacks something or fewer than 95 % of the branches are taken.
"""

import json
import re
import sys
from pathlib import Path

GOAL = 0.95


def code_at(sources: dict, file: str, number: int) -> str:
    if file not in sources:
        sources[file] = Path(file).read_text(encoding="utf-8").split("\n")
    return sources[file][number - 1].strip()


def main(coverage: str, listed: str) -> int:
    sources: dict = {}
    total = 0
    uncovered: dict = {}
    for file in json.loads(Path(coverage).read_text(encoding="utf-8"))["files"]:
        for line in file["lines"]:
            if line["gcovr/noncode"]:
                continue
            branches = line["branches"]
            total += len(branches)
            missed = sum(branch["count"] == 0 for branch in branches)
            if missed:
                code = code_at(sources, file["file"], line["line_number"])
                key = (file["file"], code)
                uncovered[key] = uncovered.get(key, 0) + missed

    rows = []
    for text in Path(listed).read_text(encoding="utf-8").splitlines():
        if row := re.fullmatch(r"\| (src/\S+) \| `(.+)` \| (\d+) \| (.+) \|", text):
            rows.append((row[1], row[2].replace("\\|", "|"), int(row[3])))

    lacking = 0
    for (file, code), missed in sorted(uncovered.items()):
        known = next((row for row in rows if row[0] == file and code.startswith(row[1])), None)
        if known is None or missed > known[2]:
            lacking += 1
            print(f"not listed: {file}: {missed} branches of: {code}")
    for file, start, _ in rows:
        if not any(key[0] == file and key[1].startswith(start) for key in uncovered):
            print(f"listed, but taken: {file}: {start}")

    missed = sum(uncovered.values())
    share = (total - missed) / total
    print(f"{total - missed} of {total} branches are taken: {100 * share:.1f} %; {missed} are not, {lacking} lines unlisted")
    return 0 if share >= GOAL and lacking == 0 else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
