#!/usr/bin/env python3
"""What mpu6 promises for devices that it drives itself: words and bytes, fuses, EEPROM, questions.

usage: host_driven_test.py PROGRAM [CASE...]
"""
import signal
import sys

import mpu6_test
from mpu6_test import Case, require

WORD_DEVICE, OWN_SEQUENCE, NO_ERASE = "-d FUSE15-16K", "-d FUSE50-64K", "-d FUSE03-2K"
EEPROM = bytes(range(200))
WRONG_ONCE, WRONG = "--faults chipid@1:wrong", "--faults chipid@1+:wrong"


def own(sequence):
    return f"""[devices.OWN]
model_type = 73
selection = 0x41
family = 12
size = 0x100
auto_sequence = {sequence}
""".encode()


mpu6_test.FILES.update(
    {
        "data.bin": mpu6_test.IMAGE[:2000],
        "other.bin": mpu6_test.IMAGE[7:2007],
        "eeprom.bin": EEPROM,
        "bare.toml": own([8, 3]),
        "odd.toml": own([8, 19]),
        "protect.toml": own([8, 3, 9, 7]),
        "many.toml": own([8, 4, 8, 4, 8, 4, 8, 3, 5, 9, 10]),
    }
)

FILLED = (f"program {NO_ERASE} -i data.bin --chip c.chip",)


def configuration(result):
    return bytes(result.json["configuration"])


def announced(result):
    return [line["announced"] for line in result.trace() if "announced" in line]


def calls(result):
    return [line.get("call") or list(line)[0] for line in result.trace()]


CASES = [
    *[
        Case(f"auto, then read back: {name}", f"read {device} -o copy.bin --eeprom copy.eep --format raw --chip c.chip --json",
             before=(f"auto {device} -i data.bin --eeprom eeprom.bin {fuse} --chip c.chip",
                     f"verify {device} -i data.bin --eeprom eeprom.bin {fuse} --chip c.chip"),
             check=lambda r, fuses=fuses: configuration(r).startswith(bytes.fromhex(fuses))
             and r.file("copy.bin").startswith(mpu6_test.IMAGE[:2000]) and set(r.file("copy.bin")[2000:]) == {0xFF}
             and r.file("copy.eep").startswith(EEPROM) and set(r.file("copy.eep")[200:]) == {0xFF})
        for name, device, fuse, fuses in [
            ("words, defaults", WORD_DEVICE, "", "62 99 FF FF 00 00 00 FF 00 00"),
            ("words, fuses by name", WORD_DEVICE, "--fuse low=0xE2 --fuse lock=0x3F", "E2 99 FF FF 00 00 00 3F 00 00"),
            ("words, fuses in a row", WORD_DEVICE, "--config-bytes E2 D9 F8", "E2 D9 F8 FF 00 00 00 FF 00 00"),
            ("bytes, the device's own sequence", OWN_SEQUENCE, "--fuse fuse0=0x12", "12 00 FF FE FF FF"),
        ]
    ],
    Case("JSON names fuses and EEPROM", f"auto {OWN_SEQUENCE} -i data.bin --eeprom eeprom.bin --fuse lock=1 --json",
         check=lambda r: (r.json["configuration"][5], r.json["eeprom"]) == (1, "eeprom.bin")),
    Case("erase takes everything", f"blank-check {WORD_DEVICE} --chip c.chip",
         before=(f"auto {WORD_DEVICE} -i data.bin --eeprom eeprom.bin --chip c.chip", f"erase {WORD_DEVICE} --chip c.chip"),
         out="is blank"),
    Case("not blank", f"blank-check {NO_ERASE} --chip c.chip", 3, before=FILLED, err="not blank"),
    Case("program and verify with fuses", f"program {WORD_DEVICE} -i data.bin --fuse high=0xD9 --verify --trace t.jsonl",
         check=lambda r: announced(r) == [3, 9, 5, 10]),
    Case("program without fuses leaves them", f"read {WORD_DEVICE} -o copy.bin --chip c.chip --json",
         before=(f"program {WORD_DEVICE} -i data.bin --fuse high=0x11 --chip c.chip", f"program {WORD_DEVICE} -i data.bin --chip c.chip"),
         check=lambda r: configuration(r)[1] == 0x11),
    Case("verify finds a byte", f"verify {NO_ERASE} -i other.bin --chip c.chip", 3, before=FILLED, err="first at address 0x0, "),
    Case("verify finds a fuse", f"verify {NO_ERASE} -i data.bin --fuse high=0xDE --chip c.chip", 3,
         before=(f"program {NO_ERASE} -i data.bin --fuse high=0xDF --chip c.chip",),
         err="first at configuration byte high, device 0xDF, file 0xDE; 1 byte differs"),
    Case("verify finds an EEPROM byte", f"verify {NO_ERASE} -i data.bin --eeprom one.bin --chip c.chip", 3, before=FILLED,
         err="first at EEPROM address 0x0, device 0xFF, file 0x55"),
    Case("protected afterwards", "read -d OWN --profiles protect.toml -o copy.bin --chip c.chip", 1,
         before=("auto -d OWN --profiles protect.toml -i one.bin --chip c.chip",), err="step Read failed"),

    # Sequences.
    Case("the steps in their order", f"auto {WORD_DEVICE} -i data.bin --trace t.jsonl", check=lambda r:
         announced(r) == [8, 4, 3, 5, 9] and calls(r) == [
             "operation", "StartCheck", "PrepareChip", "SetVcc", "SetGndPin", "SetGndPin", "Delay", "PowerStep", "Delay", "PollStatus",
             *["yield"] * 5, "SignalPass", "EndOperation", "ended"]),
    Case("the device's own sequence is one step", f"auto {OWN_SEQUENCE} -i data.bin --trace t.jsonl", check=lambda r: announced(r) == [6]),
    Case("a sequence of eleven steps", "auto -d OWN --profiles many.toml -i one.bin --trace t.jsonl",
         check=lambda r: announced(r) == [8, 4, 8, 4, 8, 4, 8, 3, 5, 9, 10]),
    Case("a step that does not exist", "auto -d OWN --profiles odd.toml -i one.bin", 1, err="operation 19, which does not exist"),
    Case("a step that fails ends the sequence", f"auto {NO_ERASE} -i other.bin --yes --chip c.chip --trace t.jsonl", 1,
         before=FILLED, err="step Program failed", check=lambda r: announced(r) == [4, 3]),
    Case("fuses that no step programs", "auto -d OWN --profiles bare.toml -i one.bin --fuse fuse=1", 2, err="programs no configuration bytes"),

    # The continue question without a terminal.
    Case("go on is refused", f"auto {NO_ERASE} -i data.bin --chip c.chip --trace t.jsonl", 3, before=FILLED,
         err="(?s)Go on.*Answered: Cancel.*not blank", check=lambda r: announced(r) == [4] and "SignalFail" in calls(r)),
    Case("go on is answered", f"auto {NO_ERASE} -i data.bin --chip c.chip --yes", before=FILLED, err="(?s)Go on.*Answered: OK"),

    # The identifier.
    Case("wrong identifier, nobody to ask", f"erase {WORD_DEVICE} {WRONG_ONCE}", 4, err="(?s)Answered: Abort.*identifier is not"),
    Case("wrong identifier, retried", f"erase {WORD_DEVICE} {WRONG_ONCE} --on-wrong-id retry", err="Answered: Retry"),
    Case("wrong identifier, retried to the end", f"erase {WORD_DEVICE} {WRONG} --on-wrong-id retry --retries 2", 4,
         check=lambda r: r.err.count("Answered: Retry") == 2 and r.err.count("Answered: Abort") == 1),
    Case("wrong identifier, ignored", f"erase {WORD_DEVICE} {WRONG} --on-wrong-id ignore", err="Answered: Ignore"),
    Case("wrong identifier, aborted", f"erase {WORD_DEVICE} {WRONG} --on-wrong-id abort --trace t.jsonl", 4,
         check=lambda r: announced(r) == [] and calls(r).count("EndOperation") == 2),
    Case("a driver's question, too", f"erase {mpu6_test.D80} {WRONG} --on-wrong-id ignore", err="Answered: Ignore"),
    Case("chip of another device", "erase -d FUSE15-16K --chip c.chip", 5, before=FILLED, err="2048 "),
    Case("no identifier arrives", f"erase {WORD_DEVICE} --faults report@1:missing", 4, err="FF   Device code: FFFF"),
    Case("programmer not ready", f"erase {WORD_DEVICE} --faults start@1:refuse", 4, err="not ready"),

    # Command lines.
    Case("no EEPROM", "auto -d OWN --profiles many.toml -i one.bin --eeprom eeprom.bin", 2, err="OWN has no EEPROM"),
    Case("EEPROM file too large", f"auto {NO_ERASE} -i one.bin --eeprom data.bin", 6, err="0x80-0x7CF"),
    Case("EEPROM on the image", f"read {NO_ERASE} -o copy.bin --eeprom copy.bin", 6, err="same file"),
    Case("unknown fuse", f"auto {NO_ERASE} -i one.bin --fuse middle=1", 2, err="low, high, extended, lock"),
    Case("no fuses in a read", f"read {NO_ERASE} -o copy.bin --fuse low=1", 2, err="--fuse"),
]


def test_questions_on_a_terminal(desk):
    go_on = f"auto {NO_ERASE} -i data.bin --chip c.chip"
    wrong, wrong_once = f"erase {WORD_DEVICE} {WRONG}", f"erase {mpu6_test.D80} {WRONG_ONCE}"
    desk.run(FILLED[0])
    for command, answers, code in [
        (go_on, ["ok"], 0),
        (go_on, ["cancel"], 3),
        (go_on, [""], 3),
        (go_on, [signal.SIGINT], 130),
        (wrong, ["retry", "r", "ignore"], 0),
        (wrong, ["retry", "abort"], 4),
        (wrong, [signal.SIGTERM], 130),
        (wrong_once, ["retry"], 0),
        (wrong_once, ["i"], 0),
        (wrong_once, [""], 4),
        (wrong_once + " --yes", [], 4),
    ]:
        got, shown = desk.on_terminal(command, answers=answers)
        require(got == code, f"{command}, answers {answers}: exit {got}, {shown!r}")
        require(shown.count("Ignore?") + shown.count("Cancel (default)?") == len(answers), shown)


if __name__ == "__main__":
    sys.exit(mpu6_test.main(CASES, globals()))
