"""The boards that Debian package arduino-core-avr knows, with their fuse and lock bytes."""

import pathlib

PACKAGE = pathlib.Path("/usr/share/arduino/hardware/arduino/avr")
KEYS = {"low": "low_fuses", "high": "high_fuses", "extended": "extended_fuses", "lock": "lock_bits"}


def read_boards():
    """(board, chip, path of the boot loader, byte values) of every board and variant; a byte that a board does
    not name is left out. Nothing without the package."""
    boards = PACKAGE / "boards.txt"
    lines = boards.read_text().splitlines() if boards.exists() else []
    entries = dict(line.strip().split("=", 1) for line in lines if "=" in line and not line.startswith("#"))
    for key, chip in entries.items():
        if not key.endswith(".build.mcu"):
            continue
        variant = key[: -len(".build.mcu")]
        found = {}
        for owner in (variant.split(".")[0], variant):
            start = owner + ".bootloader."
            found.update({key[len(start) :]: value for key, value in entries.items() if key.startswith(start) and value})
        values = {name: int(found[key], 0) for name, key in KEYS.items() if key in found}
        yield variant, chip, PACKAGE / "bootloaders" / found.get("file", ""), values
