#!/usr/bin/env python3
"""Every element of a shared block that the sources touch has its text, and every text its element.

usage: block_texts_test.py PROGRAM FOLDER...

An access is blocks.NAME(INDEX), blocks.NAME.range(FIRST, ...), a text function's (blocks.NAME, INDEX), one of these
with a reference to the array, or a call of a function in BY_INDEX. Another form is a failure, so that none is
overlooked. An index is a number or a constant; one that is computed needs a text about more than one element.
"""
import json
import pathlib
import re
import subprocess
import sys

BY_INDEX = {"report": "ibuf1", "namePart": "algorithm"}


def accesses(source, roots):
    """(root, index, whether it is stored, line) of each access; no index for one of an unknown form."""
    names = dict(re.findall(r"Array<\w+> &(\w+) = [^;]*?\bblocks\.(\w+);", source)) | BY_INDEX
    pattern = r"(\w+\((?:\w+\.)?)?(?:\bblocks_?(?:\(\))?\.(\w+)|(?<![\w.])(%s)\b)" % "|".join(names)
    for match in re.finditer(pattern, source):
        root = names.get(match[3], match[2]).rstrip("_")
        behind = source[match.end() :]
        line = (source[: match.end()].split("\n")[-1] + behind.split("\n")[0]).strip()
        if root not in roots or behind.startswith(".count()") or re.match(r"[^=;]*\bArray<", line):
            continue
        if direct := re.match(r"(?:\.range)?\((?:blocks, )?(?:(\w+)[,)]( = )?)?", behind):
            yield root, direct[1] or "computed", direct[2], line
        elif text := re.match(r", (\w+)[,)]", behind):
            yield root, text[1], not (match[1] or "").startswith("read"), line
        elif match[3] not in BY_INDEX:
            yield root, None, False, line


def main():
    program, *folders = sys.argv[1:]
    listed = subprocess.run([program, "blocks", "--json"], capture_output=True, check=True).stdout
    rows = {block["name"]: block["elements"] for block in json.loads(listed)["blocks"]}
    paths = [path for folder in folders for path in pathlib.Path(folder).rglob("*.[ch]*") if path.parent.name != "blocks"]
    sources = {path.name: re.sub(r"//.*", "", path.read_text()) for path in paths}
    notes = re.findall(r"^ +note\w+ = (\d+)", sources["keys.h"], re.M)
    touched, computed, problems = {("prgnote", int(note)) for note in notes}, set(), []

    def texts(root, number):
        return [row for row in rows[root] if row["first"] is None or row["first"] <= number <= row["last"]]

    for name, source in sources.items():
        if other := set(re.findall(r"(?:BlockArrays|sharemap) &(\w+)", source)) - {"blocks", "blocks_", "operator"}:
            problems.append(f"{name}: blocks are called {other}, where no access is looked for")
        constants = dict(re.findall(r"(?:constexpr \w+ |^ +)(\w+) = (\d+)[;,]", sources["keys.h"] + source, re.M))
        for root, index, stored, line in accesses(source, rows):
            number = constants.get(index, index)
            if number is None:
                problems.append(f"{name}: an access of an unknown form: {line}")
            elif not number.isdigit():
                computed.add(root)
            else:
                touched.add((root, int(number)))
                if stored and not any("plug-in" in row["written_by"] for row in texts(root, int(number))):
                    problems.append(f"{name}: {root}({number}) is stored, and its text does not say so: {line}")
    problems += [f"{root}({number}) is used and has no text" for root, number in touched if not texts(root, number)]
    problems += [f"elements of {root} are used, and no text is about more than one" for root in computed - {"algorithm"}
                 if all(row["place"] == str(row["first"]) for row in rows[root])]
    problems += [f"{root}({row['place']}) has a text and is not used" for root, elements in rows.items()
                 for row in elements if root not in computed and (root, row["first"]) not in touched]
    print(*problems or [f"{len(touched)} elements, and {len(computed)} blocks by a computed index"], sep="\n")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
