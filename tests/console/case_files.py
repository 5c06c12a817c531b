"""The files that every case finds in its directory."""
from load_files import ihex, s_data, s_line

IMAGE = bytes((i * 7 + (i >> 8) * 13) & 0xFF for i in range(0x40000))
SMALL = bytes(range(1, 65))
SMALL_HEX = ihex((0x100, SMALL))

# Low, high and extended fuses, the calibration bytes, and the lock bits of a fuse device of 0x4000 words.
FUSES = 0x8000
CODE = bytes(range(48))
FUSE_BYTES = bytes.fromhex("6299FF5A000000FF0000")


def srec(data, end):
    return "".join([*s_data(0, data), end(len(data))]).encode()


def fuse_image(changes):
    data = bytearray(FUSE_BYTES)
    for offset, value in changes.items():
        data[offset] = value
    return ihex((0, CODE), (FUSES, bytes(data)), start=0x1234)


def profile(name="MINE", **changes):
    """A profile with entries replaced, or taken out by None; line numbers stay."""
    entries = {"description": '"a device of my own"', "model_type": 80, "size": "0x8000", "block_size": "0x8000",
               "algorithm_folder": '"f"', "algorithm_file": '"g"', **changes}
    lines = ["#" if value is None else f"{key} = {value}" for key, value in entries.items()]
    return "\n".join([f"[devices.{name}]", *lines, ""]).encode()


def host_driven(sequence):
    return profile("OWN", model_type=73, selection="0x41", family=12, size="0x100", auto_sequence=sequence, block_size=None)


FILES = {
    "image.bin": IMAGE,
    "image.hex": ihex((0, IMAGE)),
    "image.s37": srec(IMAGE, lambda size: s_line("7", 0)),
    "counted.s37": srec(IMAGE, lambda size: s_line("5", size // 16)),
    "small.bin": SMALL,
    "small.hex": SMALL_HEX,
    "endless.s37": srec(SMALL, lambda size: ""),
    "badsum.hex": SMALL_HEX.replace(b"0102", b"0103", 1),
    "noend.hex": ihex((0x100, SMALL), end=False),
    "trailing.hex": SMALL_HEX + ihex((0x900, SMALL), end=False),
    "garbage.hex": b"what is this\n" + SMALL_HEX,
    "garbage2.hex": SMALL_HEX.replace(b"\n", b"\nwhat is this\n", 1),
    "overlap.hex": ihex((0x100, SMALL), (0x120, SMALL)),
    "outside.hex": ihex((0x3FFF8, b"0123456789ABCDEF"), (0x10001000, SMALL)),
    "elsewhere.hex": ihex((0x10001000, SMALL)),
    "nodata.hex": ihex(),
    "empty.hex": b"",
    "long.bin": IMAGE + b"more",
    "one.bin": b"\x55",
    "two.bin": b"\x54",
    "data.bin": IMAGE[:2000],
    "other.bin": IMAGE[7:2007],
    "words.bin": bytes(range(256)) * 128,
    "eeprom.bin": bytes(range(200)),
    "notchip.chip": b"this is no chip",
    "old.hex": b"old contents",
    "fuses.hex": fuse_image({}),
    "changed.hex": fuse_image({0: 0xE2}),
    "locked.hex": fuse_image({7: 0xFE}),
    "defaults18.hex": ihex((FUSES, bytes.fromhex("5ED9F4FF000000EC0000"))),
    "refused.hex": ihex((0, CODE), (0x4000, b"\x1F" * 64), (FUSES, FUSE_BYTES)),
    "two.hex": ihex((0x103F, b"\x0B"), (0x4000, b"\x55")),
    "both.hex": ihex((0x103F, b"\x0F"), (0x4000, b"\x0F")),
    "mine.toml": b"".join(profile(name, family=family, note=note) for name, family, note in
                          [("MINE", 0, 0), ("WORDS", 45, 72), ("INSIDE", 64, 0), ("HALF", 15, 0)]),
    "replaced.toml": profile("ARM80-256K", ground_pins="[3, 4]", id_test="true"),
    "missing.toml": profile(size=None),
    "unknown.toml": profile(blok_size=1),
    "mistyped.toml": profile(size='"large"'),
    "range.toml": profile(vcc=-1),
    "listed.toml": profile(configuration="[1, 2, 256]"),
    "broken.toml": profile() + b"vcc = = 3\n",
    "geometry.toml": profile(size="0x40000", block_size="0x10000"),
    "leads-out.toml": profile(algorithm_file='"../../up"'),
    "sum.toml": profile(firmware_version=200, signature=56),
    "armless.toml": profile(model_type=50, block_size=None),
    "eeprom.toml": profile(eeprom_size=64),
    "stray.toml": b"device = 3\n",
    "nothing.toml": b"# nothing\n",
    "clocked.toml": profile(algorithm_clock='"clocked"'),
    "bare.toml": host_driven([8, 3]),
    "odd.toml": host_driven([8, 19]),
    "protect.toml": host_driven([8, 3, 9, 7]),
    "many.toml": host_driven([8, 4, 8, 4, 8, 4, 8, 3, 5, 9, 10]),
    "good/algo4/arm80/flash.alg": b"\x01" * 0x6000,
    "good/algo/arm60/flash.bin": b"\x01",
    "clock/algo4/clk/clocked.alg": b"\x01",
    "clock/algo4/f/g.alg": b"\x00",
    "zero/algo4/arm80/flash.alg": b"\x00\x01",
    "long/algo4/arm80/flash.alg": b"\x01" * 0x6001,
    "void/algo4/arm80/flash.alg": b"",
    "none/readme": b"",
}
