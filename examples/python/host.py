#!/usr/bin/env python3
"""A complete host of the kx3mpu6 plug-in with ctypes and nothing else.

It creates the shared blocks, hands over its callbacks, describes a small ARM device, programs it and
verifies it on the simulated programmer, and prints the log that the plug-in wrote.

    python3 examples/python/host.py [FOLDER]

FOLDER holds libkx3mpu6.so, libkx6io.so and libkx3io.so; without it, build/release/bin of this
repository. Exit code 0 when the device holds the image, 1 when it does not.
"""

import ctypes
import os
import sys
import tempfile
from ctypes import POINTER, byref, c_char_p, c_double, c_int16, c_int32, c_size_t, c_uint8, c_uint32, c_void_p
from pathlib import Path

INSTANCE = 1
SIZE = 0x4000  # bytes of the device
BUFFER_EXTRA = 2200  # the device buffer's bytes behind the device's data
OPERATIONS = {"program": 3, "verify": 5}
OUTCOMES = ("never ran", "passed", "failed", "stopped", "refused", "ended by an error")
PASSED = 1

OK, DEVICE_IO = 0, 57  # statuses of the plug-in's interface
BUTTON_ABORT = 3
ABORT_RETRY_IGNORE = 50  # style of a message box
MAIN_MEMORY = 0  # area of a simulated chip
ARM_PRG_32F = 1  # driver module of the simulated device


# ---- The plug-in's interface, as kx3mpu6.h declares it ----------------------------------------------


class BlockInfo(ctypes.Structure):
    _fields_ = [("struct_size", c_size_t), ("root", c_char_p), ("type", c_int32), ("count", c_int32), ("bytes", c_int32), ("numbered", c_int32)]


ELEMENT = (c_uint8, c_int16, c_int16, c_int32, c_double, c_uint32)  # by BlockInfo.type

callback = ctypes.CFUNCTYPE  # callback(result, context, arguments...)
Call = callback(c_int32, c_void_p)
CallWithLong = callback(c_int32, c_void_p, c_int32)
CallWithBytes = callback(c_int32, c_void_p, c_uint8, c_uint8)
Ask = callback(c_int32, c_void_p, POINTER(c_int32))
AskWithByte = callback(c_int32, c_void_p, c_uint8, POINTER(c_int32))
AskWithBytes = callback(c_int32, c_void_p, c_uint8, c_uint8, POINTER(c_int32))
Poll = callback(c_int32, c_void_p, c_int32, POINTER(c_int32))
CompareWord = callback(c_int32, c_void_p, c_uint8, c_uint8, c_int32, c_int32, c_int32, POINTER(c_int32))
CompareByte = callback(c_int32, c_void_p, c_uint8, c_int32, c_int32, POINTER(c_int32))
MessageBox = callback(c_int32, c_void_p, c_void_p, c_size_t, c_int32, c_void_p, c_size_t, POINTER(c_int32))
ShowForm = callback(c_int32, c_void_p, c_void_p)


class Ui(ctypes.Structure):
    _fields_ = [("struct_size", c_size_t), ("context", c_void_p)] + [
        ("yield_", Call),
        ("message_box", MessageBox),
        ("show_form", ShowForm),
    ]


class SessionHost(ctypes.Structure):
    _fields_ = [("struct_size", c_size_t), ("context", c_void_p)] + [
        ("EndOperation", Call),
        ("SetVcc", CallWithLong),
        ("SetGndPin", CallWithBytes),
        ("PowerStep", CallWithLong),
        ("SignalPass", CallWithLong),
        ("SignalFail", CallWithLong),
        ("StartCheck", Ask),
        ("Delay", CallWithLong),
        ("PollStatus", Poll),
        ("ReportStartFailure", Call),
        ("PrepareChip", AskWithByte),
        ("PrepareDevice32f", AskWithBytes),
        ("PrepareDevice", AskWithBytes),
        ("CompareWord", CompareWord),
        ("CompareByte", CompareByte),
        ("AlgorithmLoaded", CallWithLong),
    ]


def load_plug_in(folder):
    """The plug-in with its functions' argument types declared."""
    library = ctypes.CDLL(str(folder / "libkx3mpu6.so"))
    library.kx3_last_error.restype = c_char_p
    library.kx3_block_data.restype = c_void_p
    library.kx3_block_data.argtypes = [c_void_p]
    library.kx3_block_close.argtypes = [c_void_p]
    library.kx3_string_alloc.argtypes = [c_char_p, c_size_t, POINTER(c_uint32)]
    library.kx3_string_read.argtypes = [c_uint32, c_void_p, c_size_t, POINTER(c_size_t)]
    library.kx3_string_free.argtypes = [c_uint32]
    library.kx3_string_free.restype = None
    library.kx3_mpu_runMpu6Prg.argtypes = [c_void_p, POINTER(c_int16)]
    library.kx3_mpu_bufcommpu6.argtypes = [c_void_p, POINTER(c_int16)]
    library.kx3_mpu_freesharebuffermpu6.argtypes = [c_void_p]
    library.kx3_mpu_release.argtypes = [c_void_p]
    library.kx3_mpu_release.restype = None
    return library


# ---- The simulated programmer's control interface, as kx6sim.h declares it ---------------------------


class Identity(ctypes.Structure):
    _fields_ = [("maker", c_uint8), ("code_count", c_uint8), ("codes", c_uint8 * 7)]


class Geometry(ctypes.Structure):
    _fields_ = [
        (name, c_int32)
        for name in (
            "addresses",
            "bytes_per_address",
            "block_addresses",
            "first_address",
            "verify_margin",
            "eeprom_bytes",
        )
    ] + [(name, c_uint8) for name in ("bank", "family", "module", "protect_in_auto")]


def load_programmer(folder):
    """The library that the plug-in binds by name, loaded first so that this script can reach its chip."""
    library = ctypes.CDLL(str(folder / "libkx6io.so"))
    library.kx6sim_last_error.restype = c_char_p
    library.kx6sim_insert_blank_chip.argtypes = [ctypes.c_uint64, ctypes.c_uint64, POINTER(Identity)]
    library.kx6sim_peek.argtypes = [c_int32, ctypes.c_uint64, c_char_p, ctypes.c_uint64]
    for name in ("kx6sim_reset", "kx6sim_end_operation", "kx6sim_advance"):
        getattr(library, name).restype = None
    return library


# ---- What every host does ---------------------------------------------------------------------------


class Blocks:
    """The 62 shared blocks: blocks["prgmode"] is an array that plug-in and host both see."""

    def __init__(self, plug_in):
        self.plug_in = plug_in
        self.arrays = {}
        self.handles = []
        for index in range(plug_in.kx3_block_count()):
            info = BlockInfo(struct_size=ctypes.sizeof(BlockInfo))
            self.must(plug_in.kx3_block_describe(index, byref(info)))
            self.create(info)

    def must(self, status):
        if status != OK:
            raise RuntimeError(self.plug_in.kx3_last_error().decode())

    def create(self, info):
        root = info.root.decode()
        count = info.count or SIZE + BUFFER_EXTRA
        name = f"tamsel{root}{INSTANCE if info.numbered else ''}"
        handle = c_void_p()
        self.must(self.plug_in.kx3_block_create(name.encode(), info.bytes or count, byref(handle)))
        self.handles.append(handle)
        self.arrays[root] = (ELEMENT[info.type] * count).from_address(self.plug_in.kx3_block_data(handle))

    def __getitem__(self, root):
        return self.arrays[root]

    def put_text(self, root, index, text):
        units = text.encode("utf-16-le")
        handle = c_uint32()
        self.must(self.plug_in.kx3_string_alloc(units, len(units) // 2, byref(handle)))
        old, self[root][index] = self[root][index], handle.value
        self.plug_in.kx3_string_free(old)

    def text(self, root, index):
        length = c_size_t()
        handle = self[root][index]
        if handle == 0:
            return ""
        self.must(self.plug_in.kx3_string_read(handle, None, 0, byref(length)))
        units = ctypes.create_string_buffer(2 * length.value + 1)
        self.must(self.plug_in.kx3_string_read(handle, units, length.value, byref(length)))
        return units.raw[: 2 * length.value].decode("utf-16-le")

    def close(self):
        self.arrays.clear()
        for handle in self.handles:
            self.plug_in.kx3_block_close(handle)


class Host:
    """The callbacks: message loop, message boxes and the session object on the simulated programmer."""

    def __init__(self, plug_in, programmer, blocks):
        self.plug_in = plug_in
        self.programmer = programmer
        self.blocks = blocks
        self.differences = 0
        nothing = self.guarded(lambda *arguments: None)
        # The plug-in copies the structures; Python must keep the callbacks in them alive.
        self.ui = Ui(
            struct_size=ctypes.sizeof(Ui),
            yield_=Call(self.guarded(self.let_time_pass)),
            message_box=MessageBox(self.guarded(self.answer)),
        )
        # What is left out is only called for devices that are not ARM ones.
        self.session = SessionHost(
            struct_size=ctypes.sizeof(SessionHost),
            StartCheck=Ask(self.guarded(self.start_check)),
            PrepareDevice32f=AskWithBytes(self.guarded(self.prepare)),
            AlgorithmLoaded=CallWithLong(nothing),
            PollStatus=Poll(self.guarded(self.poll)),
            CompareByte=CompareByte(self.guarded(self.compare)),
            Delay=CallWithLong(nothing),
            SignalPass=CallWithLong(nothing),
            SignalFail=CallWithLong(nothing),
            EndOperation=Call(self.guarded(self.end)),
        )
        blocks.must(plug_in.kx3_set_ui(byref(self.ui)))
        blocks.must(plug_in.kx3_set_session_host(byref(self.session)))

    def guarded(self, action):
        """`action` as a callback: no exception may leave it, so that it becomes a status."""

        def run(context, *arguments):
            try:
                action(*arguments)
                return OK
            except Exception as error:
                self.plug_in.kx3_fail_with(str(error).encode())
                return DEVICE_IO

        return run

    def let_time_pass(self):
        """The message loop. A host repaints and looks for the user's stop here."""
        self.programmer.kx6sim_advance()

    def answer(self, prompt, length, style, title, title_length, button):
        print("message box:", ctypes.string_at(prompt, 2 * length).decode("utf-16-le"))
        button[0] = BUTTON_ABORT if style == ABORT_RETRY_IGNORE else 1

    def start_check(self, result):
        self.differences = 0
        result[0] = self.programmer.kx6sim_start_check()

    def prepare(self, figmode, zero, result):
        device = Geometry(
            addresses=self.blocks["tlength"][0],
            bytes_per_address=self.blocks["wordmode"][0],
            block_addresses=self.blocks["ramlg"][0],
            module=ARM_PRG_32F,
        )
        if self.programmer.kx6sim_prepare(byref(device)) != OK:
            raise RuntimeError(self.programmer.kx6sim_last_error().decode())
        result[0] = 0

    def poll(self, request, arrived):
        arrived[0] = self.programmer.kx6sim_fetch_report(self.blocks["ibuf1"])

    def compare(self, data, address, mode, result):
        self.differences += data != self.blocks["ibuffer"][address]
        result[0] = 1 if self.differences else 0  # 1 stops the verify, which has failed

    def end(self):
        self.programmer.kx6sim_end_operation()


def describe_device(blocks):
    """A 16 KiB byte device of one block, model type 80, and the host's texts for the log."""
    blocks["modeltype"][0] = 80
    blocks["tlength"][0] = SIZE
    blocks["buflength"][0] = SIZE
    blocks["wordmode"][0] = 1
    blocks["ramlg"][0] = SIZE
    blocks["bvcc"][0] = 330  # supply voltage in units of 10 mV
    blocks["wsign"][1] = 1  # firmware version that the programmer should have
    blocks["figvol"][1] = 1  # differs from modeltype(2): no signature packet
    blocks.put_text("algorithm", 1, "example")  # folder and file of the algorithm image
    blocks.put_text("algorithm", 2, "flash")
    fragments = {1: " ...", 2: " passed", 3: " failed", 4: ">>Stopped", 5: ">>Verify", 12: ">>Broken off"}
    for index, text in fragments.items():
        blocks.put_text("prgnote", index, text)
    for caption, number in OPERATIONS.items():
        blocks.put_text("MainmnuPrg", number, caption)


def make_algorithm_image(folder):
    """The plug-in looks for images below the current directory. The simulated programmer takes any
    image whose first byte is not 0."""
    image = folder / "algo4" / "example" / "flash.alg"
    image.parent.mkdir(parents=True)
    image.write_bytes(bytes(range(1, 201)))


def run(plug_in, mpu, blocks, host, operation):
    """One operation; True when it passed. The log is printed."""
    blocks["prgresult"][0] = 0
    blocks["prgresult"][1] = OPERATIONS[operation]
    blocks.put_text("MainRtstr", 0, "")
    unused = c_int16()
    blocks.must(plug_in.kx3_mpu_runMpu6Prg(mpu, byref(unused)))
    print(blocks.text("MainRtstr", 0), end="")
    explanation = c_char_p()
    outcome = plug_in.kx3_session_outcome(byref(explanation))
    print(f"{operation}: {OUTCOMES[outcome]}, {host.differences} bytes differ")
    if outcome != PASSED:
        print("because:", explanation.value.decode())
    return outcome == PASSED


def chip_contents(programmer):
    contents = ctypes.create_string_buffer(SIZE)
    if programmer.kx6sim_peek(MAIN_MEMORY, 0, contents, SIZE) != OK:
        raise RuntimeError(programmer.kx6sim_last_error().decode())
    return contents.raw


def program_and_verify(folder):
    programmer = load_programmer(folder)
    plug_in = load_plug_in(folder)
    programmer.kx6sim_reset()
    programmer.kx6sim_insert_blank_chip(SIZE, 0, byref(Identity(maker=1, code_count=1)))

    blocks = Blocks(plug_in)
    describe_device(blocks)
    host = Host(plug_in, programmer, blocks)
    mpu = c_void_p()
    blocks.must(plug_in.kx3_mpu_create(byref(mpu)))
    blocks.must(plug_in.kx3_mpu_bufcommpu6(mpu, byref(c_int16(INSTANCE))))

    image = bytes((7 * i + i // 256) % 256 for i in range(SIZE))
    blocks["ibuffer"][:SIZE] = image
    passed = all([run(plug_in, mpu, blocks, host, operation) for operation in OPERATIONS])

    plug_in.kx3_mpu_freesharebuffermpu6(mpu)
    plug_in.kx3_mpu_release(mpu)
    blocks.close()
    return passed and chip_contents(programmer) == image


def main():
    default = Path(__file__).resolve().parents[2] / "build" / "release" / "bin"
    folder = Path(sys.argv[1]).resolve() if len(sys.argv) > 1 else default
    if not (folder / "libkx3mpu6.so").exists():
        sys.exit(f"{folder} holds no libkx3mpu6.so: build it, or give the folder that does")
    # Blocks of another host on this machine are none of ours.
    os.environ.setdefault("KX3MPU6_NAMESPACE", f"example{os.getpid()}")
    with tempfile.TemporaryDirectory() as images:
        make_algorithm_image(Path(images))
        os.chdir(images)
        done = program_and_verify(folder)
        os.chdir("/")
    print("The device holds the image." if done else "The device does not hold the image.")
    return 0 if done else 1


if __name__ == "__main__":
    sys.exit(main())
