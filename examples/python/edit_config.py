#!/usr/bin/env python3
"""Edits configuration bytes through the kx3mpu6 plug-in's own dialog, with ctypes and nothing else.

It describes a device with fuse bytes, has the plug-in write the defaults, opens the editor
edit_figmpu65, changes two rows as a person would, presses OK, and prints the bytes.

    python3 examples/python/edit_config.py [FOLDER]

FOLDER holds libkx3mpu6.so; without it, build/release/bin of this repository. Exit code 0 when OK was
accepted. What every host needs (blocks, structures) is in host.py beside this file.
"""

import ctypes
import os
import sys
from ctypes import POINTER, byref, c_char_p, c_int16, c_int32, c_size_t, c_uint64, c_void_p
from pathlib import Path

import host

MODE = 15  # selects edit_figmpu65
WORDS = host.SIZE // 2  # the device's size in 16-bit words; its configuration bytes follow the data
BYTES = 10
CHANGES = {"CKDIV8:": "Disable(1)", "JTAGEN:": "Disable(1)"}  # caption of a row, item to choose

ENGLISH = 0


# ---- Forms, as kx3mpu6.h declares them ----------------------------------------------------------------


class Text(ctypes.Structure):
    _fields_ = [("units", c_void_p), ("length", c_size_t)]

    def __str__(self):
        return ctypes.string_at(self.units, 2 * self.length).decode("utf-16-le") if self.length else ""


class FormInfo(ctypes.Structure):
    _fields_ = (
        [("struct_size", c_size_t), ("name", c_char_p), ("caption", Text), ("message", Text)]
        + [(name, c_int32) for name in ("loaded", "on_screen", "controls", "focus")]
        + [("revision", c_uint64), ("structure_revision", c_uint64)]
    )


class ControlInfo(ctypes.Structure):
    _fields_ = (
        [("struct_size", c_size_t), ("name", c_char_p)]
        + [(name, c_int32) for name in ("index", "kind", "parent", "label", "columns")]
        + [("caption", Text), ("text", Text)]
        + [(name, c_int32) for name in ("items", "list_index", "checked", "enabled", "visible", "max_length")]
        + [(name, c_int32) for name in ("selection_start", "selection_length", "marked", "is_default", "is_cancel")]
        + [("revision", c_uint64)]
    )


def declare_forms(plug_in):
    plug_in.kx3_form_describe.argtypes = [c_void_p, POINTER(FormInfo)]
    plug_in.kx3_form_loaded.argtypes = [c_void_p]
    plug_in.kx3_form_control.argtypes = [c_void_p, c_int32, POINTER(ControlInfo)]
    plug_in.kx3_form_item.argtypes = [c_void_p, c_int32, c_int32, POINTER(Text)]
    plug_in.kx3_form_choose.argtypes = [c_void_p, c_int32, c_int32, POINTER(c_int32)]
    plug_in.kx3_form_click.argtypes = [c_void_p, c_int32, POINTER(c_int32)]
    plug_in.kx3_mpu_editfigmpu6.argtypes = [c_void_p]
    plug_in.kx3_mpu_sinitmpu6.argtypes = [c_void_p]


class Editor:
    """An open editor. Controls have numbers; a row is a control with a label beside it."""

    def __init__(self, plug_in, form, must):
        self.plug_in, self.form, self.must = plug_in, form, must

    def describe(self):
        info = FormInfo(struct_size=ctypes.sizeof(FormInfo))
        self.must(self.plug_in.kx3_form_describe(self.form, byref(info)))
        return info

    def control(self, number):
        info = ControlInfo(struct_size=ctypes.sizeof(ControlInfo))
        self.must(self.plug_in.kx3_form_control(self.form, number, byref(info)))
        return info

    def items(self, number):
        texts = []
        for item in range(self.control(number).items):
            text = Text()
            self.must(self.plug_in.kx3_form_item(self.form, number, item, byref(text)))
            texts.append(str(text))
        return texts

    def row(self, caption):
        """The number of the visible control whose label reads `caption`."""
        for number in range(self.describe().controls):
            info = self.control(number)
            if info.visible and info.label >= 0 and str(self.control(info.label).caption) == caption:
                return number
        raise LookupError(f"the editor shows no row {caption}")

    def act(self, action, *arguments):
        done = c_int32()
        self.must(action(self.form, *arguments, byref(done)))
        if not done.value:
            raise RuntimeError("the control takes no input now")

    def choose(self, caption, item):
        number = self.row(caption)
        before = str(self.control(number).text)
        self.act(self.plug_in.kx3_form_choose, number, self.items(number).index(item))
        print(f"{caption} {before} -> {item}")

    def press_ok(self):
        number = next(n for n in range(self.describe().controls) if self.control(n).is_default)
        self.act(self.plug_in.kx3_form_click, number)
        if self.plug_in.kx3_form_loaded(self.form):
            raise RuntimeError(f"the editor refuses OK: {self.describe().message}")


class Person:
    """Sits in front of the dialog: the plug-in calls `show_form` and goes on when the form is closed."""

    def __init__(self, plug_in, blocks):
        self.plug_in, self.blocks = plug_in, blocks
        # The plug-in copies the structure; Python must keep the callback in it alive.
        self.ui = host.Ui(struct_size=ctypes.sizeof(host.Ui), show_form=host.ShowForm(self.show_form))
        blocks.must(plug_in.kx3_set_ui(byref(self.ui)))

    def show_form(self, context, form):
        """No exception may leave a callback, so that it becomes a status."""
        try:
            editor = Editor(self.plug_in, form, self.blocks.must)
            info = editor.describe()
            print(f'{info.name.decode()} "{info.caption}" is open')
            for caption, item in CHANGES.items():
                editor.choose(caption, item)
            editor.press_ok()
            return host.OK
        except Exception as error:
            self.plug_in.kx3_fail_with(str(error).encode())
            return host.DEVICE_IO


def edit(folder):
    plug_in = host.load_plug_in(folder)
    declare_forms(plug_in)
    blocks = host.Blocks(plug_in)
    blocks["prgmode"][0] = MODE
    blocks["tlength"][0] = WORDS
    blocks["buflength"][0] = host.SIZE
    blocks["Language"][0] = ENGLISH
    person = Person(plug_in, blocks)
    mpu = c_void_p()
    blocks.must(plug_in.kx3_mpu_create(byref(mpu)))
    blocks.must(plug_in.kx3_mpu_bufcommpu6(mpu, byref(c_int16(host.INSTANCE))))

    def show(title):
        data = bytes(blocks["ibuffer"][2 * WORDS : 2 * WORDS + BYTES])
        print(f"{title}: {data.hex(' ').upper()}")

    blocks.must(plug_in.kx3_mpu_sinitmpu6(mpu))
    show("defaults")
    blocks.must(plug_in.kx3_mpu_editfigmpu6(mpu))
    show("after OK")

    plug_in.kx3_mpu_freesharebuffermpu6(mpu)
    plug_in.kx3_mpu_release(mpu)
    plug_in.kx3_set_ui(None)
    del person
    blocks.close()


def main():
    default = Path(__file__).resolve().parents[2] / "build" / "release" / "bin"
    folder = Path(sys.argv[1]).resolve() if len(sys.argv) > 1 else default
    if not (folder / "libkx3mpu6.so").exists():
        sys.exit(f"{folder} holds no libkx3mpu6.so: build it, or give the folder that does")
    # Blocks of another host on this machine are none of ours.
    os.environ.setdefault("KX3MPU6_NAMESPACE", f"example{os.getpid()}")
    edit(folder)


if __name__ == "__main__":
    main()
