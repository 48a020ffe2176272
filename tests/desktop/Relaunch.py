#!/usr/bin/python3
"""Relaunch Tarn, pressed in the real program where no audio server can be reached: the one that runs ends, and another
takes its place. Run inside scripts/private-display.

Usage: Relaunch.py FOLDER-OF-PROGRAMS"""

import os
import shutil
import signal
import subprocess
import sys
import tempfile
from pathlib import Path

from Desktop import Application, is_showing, point_at, run, start_accessibility, until, window

program = str(Path(sys.argv[1]) / "tarn")
folder = Path(tempfile.mkdtemp(prefix="tarn-relaunch."))


def holder():
    """The process that is the running program for the desktop; none: 0."""
    try:
        return int(run("gdbus", "call", "--session", "--dest", "org.freedesktop.DBus", "--object-path", "/", "--method",
                       "org.freedesktop.DBus.GetConnectionUnixProcessID", "com.ostrel.tarn").split()[1].strip(",)"))
    except subprocess.CalledProcessError:
        return 0


for name in ("CONFIG", "DATA", "STATE", "CACHE"):
    os.environ[f"XDG_{name}_HOME"] = str(folder / name.lower())
os.environ["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"
os.environ["LANG"] = "en_US.UTF-8"
os.environ["PIPEWIRE_REMOTE"] = str(folder / "no-audio-server")
accessibility = start_accessibility()
tarn = subprocess.Popen([program])
successor = 0
try:
    app = Application(tarn.pid)
    for page in ("Dub anything you hear", "Conversation mode", "Sign in to translate"):
        app.wait(page)
        app.press("Next")
    app.wait("Sound on this computer")
    assert app.find("Ready") is None, "nothing is to be heard here"
    others = until("both to be checked", lambda: [node for node, _ in app.tree() if is_showing(node)
                                                  and node.get_name() == "Check"][1:])[0]
    point_at(others)
    run("xdotool", "click", "1")
    app.press("Relaunch Tarn")
    assert tarn.wait(timeout=20) == 0
    successor = until("the successor", lambda: holder() not in (0, tarn.pid) and holder())
    assert os.readlink(f"/proc/{successor}/exe") == os.path.realpath(program)
    until("its window", lambda: window("Welcome to Tarn"))
finally:
    if successor:
        os.kill(successor, signal.SIGTERM)
        until("its end", lambda: holder() == 0)
    if tarn.poll() is None:
        tarn.terminate()
        tarn.wait()
    accessibility.terminate()
    accessibility.wait()
    shutil.rmtree(folder, ignore_errors=True)
