#!/usr/bin/python3
"""The real program while what it is shown on changes: another scale while a popover is open, and a monitor that goes away
while mini mode is on; then its start without any font. Nothing is warned of. Run inside scripts/private-audio and
scripts/private-display.

Usage: Screens.py FOLDER-OF-PROGRAMS"""

import ctypes
import json
import os
import re
import struct
import subprocess
import sys
import tempfile
from pathlib import Path

from Desktop import Application, move_to, run, start_accessibility, until, window

programs = Path(sys.argv[1])
folder = Path(tempfile.mkdtemp(prefix="tarn-screens."))
started = []


class Scale:
    """The desktop's settings manager (XSETTINGS), with one setting: dots per inch."""

    def __init__(self):
        x11, number = ctypes.CDLL("libX11.so.6"), ctypes.c_ulong
        for name in ("XOpenDisplay", "XDefaultRootWindow", "XInternAtom", "XCreateSimpleWindow"):
            getattr(x11, name).restype = number
        self.x11, self.display, self.changes = x11, ctypes.c_void_p(x11.XOpenDisplay(None)), 0
        root = number(x11.XDefaultRootWindow(self.display))
        self.window = number(x11.XCreateSimpleWindow(self.display, root, -1, -1, 1, 1, 0, number(0), number(0)))
        self.set(96)
        x11.XSetSelectionOwner(self.display, self.atom("_XSETTINGS_S0"), self.window, number(0))
        x11.XSync(self.display, 0)

    def atom(self, name):
        return ctypes.c_ulong(self.x11.XInternAtom(self.display, name.encode(), 0))

    def set(self, dots):
        self.changes += 1
        name = b"Xft/DPI"
        data = struct.pack("<B3xIIBxH", 0, self.changes, 1, 0, len(name)) + name + b"\0"
        data += struct.pack("<Ii", self.changes, dots * 1024)
        atom = self.atom("_XSETTINGS_SETTINGS")
        self.x11.XChangeProperty(self.display, self.window, atom, atom, 8, 0, data, len(data))
        self.x11.XSync(self.display, 0)


def frame(overlay):
    shape = dict(line.split("=") for line in run("xdotool", "getwindowgeometry", "--shell", overlay).split())
    return tuple(int(shape[name]) for name in ("X", "Y", "WIDTH", "HEIGHT"))


def start():
    tarn = subprocess.Popen([str(programs / "tarn")], stderr=open(folder / "log", "w"))
    started.append(tarn)
    return tarn, until("the overlay", lambda: window("Tarn"))


def end(tarn):
    tarn.terminate()
    assert tarn.wait(20) == 0
    log = (folder / "log").read_text().splitlines()
    # A build that looks for leaks lists those of the toolkit that it passes over, between lines of dashes.
    log = re.sub(r"-{20,}\nSuppressions used:\n.*?-{20,}\n", "", "\n".join([*log, ""]), flags=re.DOTALL).splitlines()
    strange = [line for line in log if line and not line.startswith("[")]
    assert not strange, strange


def check():
    for name in ("CONFIG", "DATA", "STATE", "CACHE"):
        os.environ[f"XDG_{name}_HOME"] = str(folder / name.lower())
    os.environ["LANG"] = "en_US.UTF-8"
    os.environ["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"
    settings = folder / "config/tarn/settings.json"
    settings.parent.mkdir(parents=True)
    settings.write_text(json.dumps({"onboarding.done": True, "onboarding.step": "ready", "app.language": "en",
                                    "window.TarnMainWindow.frame": "660 200 560 220"}))
    started.append(start_accessibility())
    scale = Scale()
    run("xrandr", "--setmonitor", "left", "640/100x800/100+0+0", "screen")
    run("xrandr", "--setmonitor", "right", "640/100x800/100+640+0", "none")
    tarn, overlay = start()
    app = Application(tarn.pid)

    app.press("Subtitle size")
    app.wait("Reset to 1.0×")
    scale.set(108)
    until("the window at another scale", lambda: frame(overlay)[2:] == (630, 248))
    until("the popover to go", lambda: app.find("Reset to 1.0×") is None)
    scale.set(96)
    until("the window as before", lambda: frame(overlay)[2:] == (560, 220))

    app.press("Mini mode (subtitles only)")
    move_to(10, 700)
    run("xrandr", "--delmonitor", "right")
    until("the window on the monitor that is left", lambda: frame(overlay)[0] <= 80)
    app.wait("Not started")
    end(tarn)

    nothing = folder / "fonts.conf"
    nothing.write_text('<?xml version="1.0"?><fontconfig></fontconfig>')
    os.environ["FONTCONFIG_FILE"] = str(nothing)
    tarn, overlay = start()
    Application(tarn.pid).wait("Not started")
    end(tarn)


try:
    check()
finally:
    for process in reversed(started):
        process.terminate()
        process.wait()
