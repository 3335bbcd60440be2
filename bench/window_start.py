#!/usr/bin/env python3
"""How soon the window is there, painted and answering, from the start of the process on.

usage: window_start.py PROGRAM_FOLDER [BANK] [ROUNDS]

Needs a display of 24 bits (DISPLAY) without other windows on it. Starts the program with the bank,
looks at the display until the window is painted, then clicks its repeat button until the picture of
the button changes. Prints both times of every round; exit status 1 where the median of the second
one misses its mark.
"""
import ctypes
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

MARK_MS = 700
WIDTH, HEIGHT = 900, 408
PLAY_ICON = (58 + 36 - 6, 331 + 16)  # of the panel: light on dark
REPEAT_FACE = (292 - 12, 335, 24, 24)
TIMEOUT = 20


class Display:
    """What is on the screen, and a hand on the mouse."""

    def __init__(self):
        self.x = ctypes.CDLL("libX11.so.6")
        self.test = ctypes.CDLL("libXtst.so.6")
        self.x.XOpenDisplay.restype = ctypes.c_void_p
        self.x.XDefaultRootWindow.restype = ctypes.c_ulong
        self.x.XGetImage.restype = ctypes.c_void_p
        self.x.XGetImage.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int, ctypes.c_int,
                                     ctypes.c_uint, ctypes.c_uint, ctypes.c_ulong, ctypes.c_int]
        self.handle = ctypes.c_void_p(self.x.XOpenDisplay(None))
        if not self.handle.value:
            sys.exit("window_start: no display")
        self.root = self.x.XDefaultRootWindow(self.handle)
        self.width = self.x.XDisplayWidth(self.handle, 0)
        self.height = self.x.XDisplayHeight(self.handle, 0)

    def pixels(self, x, y, width, height):
        """The bytes of an area, four to a pixel."""
        image = self.x.XGetImage(self.handle, self.root, x, y, width, height, ~0 & (2**64 - 1), 2)
        data = ctypes.cast(image + 16, ctypes.POINTER(ctypes.c_void_p)).contents.value
        content = ctypes.string_at(data, width * height * 4)
        self.x.XFree(ctypes.c_void_p(data))
        self.x.XFree(ctypes.c_void_p(image))
        return content

    def click(self, x, y):
        self.test.XTestFakeMotionEvent(self.handle, -1, x, y, 0)
        self.test.XTestFakeButtonEvent(self.handle, 1, 1, 0)
        self.test.XTestFakeButtonEvent(self.handle, 1, 0, 0)
        self.x.XFlush(self.handle)

    def move(self, x, y):
        self.test.XTestFakeMotionEvent(self.handle, -1, x, y, 0)
        self.x.XFlush(self.handle)


def program_folder(source, bank, folder):
    """A folder of its own, so that the user's settings are left alone."""
    for name in ("vexolo", "fr.lng", "vexolo.dll"):
        shutil.copy(source / name, folder / name)
    (folder / "Orvanel.SF2").symlink_to(bank)
    (folder / "Vexolo.ini").write_text("[Vexolo]\nLng=fr\n", encoding="utf-8")
    return folder / "vexolo"


def wait_for(condition, begin):
    while not condition():
        if time.monotonic() - begin > TIMEOUT:
            sys.exit("window_start: the window does not come")
        time.sleep(0.002)
    return (time.monotonic() - begin) * 1000


def resident_megabytes(process):
    """In its own memory and in pages of files, libraries above all."""
    text = Path(f"/proc/{process}/status").read_text(encoding="ascii", errors="replace")
    values = dict(line.split(":", 1) for line in text.splitlines())
    own, files = (int(values[key].split()[0]) / 1024 for key in ("RssAnon", "RssFile"))
    return own, files


def measure(display, program):
    left, top = (display.width - WIDTH) // 2, (display.height - HEIGHT) // 2
    display.move(left + 10, top + 200)
    icon = (left + PLAY_ICON[0], top + PLAY_ICON[1], 12, 1)
    wait_for(lambda: max(display.pixels(*icon)) == 0, time.monotonic())  # the last window has gone
    begin = time.monotonic()
    process = subprocess.Popen([program], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        painted = wait_for(lambda: max(display.pixels(*icon)) > 150, begin)
        x, y, width, height = REPEAT_FACE
        face = (left + x, top + y, width, height)
        # The colour of the arrow and more changes with the mode, the light of the pointer as well:
        # only a face that stays changed once the pointer has left is an answer.
        before = display.pixels(*face)
        display.click(left + x + width // 2, top + y + height // 2)
        display.move(left + 10, top + 200)
        answered = wait_for(lambda: display.pixels(*face) != before, begin)
        return painted, answered, resident_megabytes(process.pid)
    finally:
        process.terminate()
        process.wait()


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    source = Path(sys.argv[1]).resolve()
    bank = sys.argv[2] if len(sys.argv) > 2 else "/usr/share/sounds/sf2/TimGM6mb.sf2"
    rounds = int(sys.argv[3]) if len(sys.argv) > 3 else 7
    display = Display()
    answers = []
    memory = []
    with tempfile.TemporaryDirectory(prefix="vexolo-bench-") as folder:
        program = program_folder(source, bank, Path(folder))
        measure(display, program)  # files are in the cache from here on
        for number in range(rounds):
            painted, answered, resident = measure(display, program)
            answers.append(answered)
            memory.append(resident)
            print(f"round {number + 1}: painted after {painted:.0f} ms, answering after {answered:.0f} ms")
    median = statistics.median(answers)
    own, files = sorted(memory)[len(memory) // 2]
    print(f"median {median:.0f} ms, longest {max(answers):.0f} ms (mark {MARK_MS}); then "
          f"{own:.0f} MB of memory, and {files:.0f} MB of files mapped")
    return 0 if median < MARK_MS else 1


if __name__ == "__main__":
    os.environ.setdefault("DISPLAY", ":0")
    sys.exit(main())
