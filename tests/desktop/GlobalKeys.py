#!/usr/bin/python3
"""The real program's keys while another program's window has the keyboard: mini mode, the settings that change a key and
turn one off, and a key that is none. Run inside scripts/private-audio and scripts/private-display.

Usage: GlobalKeys.py FOLDER-OF-PROGRAMS"""

import json
import os
import subprocess
import sys
import tempfile
from pathlib import Path

from Desktop import complaints, run, until, window

programs = Path(sys.argv[1])
folder = Path(tempfile.mkdtemp(prefix="tarn-keys."))
started = []


def start(*words, **options):
    process = subprocess.Popen(words, **options)
    started.append(process)
    return process


def is_mini(settings):
    return json.loads(settings.read_text()).get("miniMode", False)


def is_missing_below(key):
    """Whether the other window has got nothing of this letter."""
    return f"keysym 0x{ord(key):x}, {key})" not in (folder / "below").read_text()


def check():
    for name in ("CONFIG", "DATA", "STATE", "CACHE"):
        os.environ[f"XDG_{name}_HOME"] = str(folder / name.lower())
    os.environ["LANG"] = "en_US.UTF-8"
    settings = folder / "config/tarn/settings.json"
    settings.parent.mkdir(parents=True)
    settings.write_text(json.dumps({
        "onboarding.done": True, "onboarding.step": "ready", "app.language": "en",
        "globalShortcuts.start-stop": "", "globalShortcuts.click-through": "Ctrl+Alt+Nonsense",
        "globalShortcuts.show": "Ctrl+Alt+M", "globalShortcuts.mini-mode": "Ctrl+Super+F9"}))
    tarn = start(str(programs / "tarn"), stderr=open(folder / "log", "w"))
    until("the window", lambda: window("Tarn"))
    with open(folder / "below", "w") as output:
        start("xev", "-geometry", "300x300+900+450", "-event", "keyboard", stdout=output)
    other = until("another window", lambda: window("Event Tester"))
    run("xdotool", "windowactivate", "--sync", other)

    def toggles():
        before = is_mini(settings)
        for _ in range(10):  # the program listens a moment after its window is there
            run("xdotool", "key", "ctrl+super+F9")
            try:
                until("mini mode by the key", lambda: is_mini(settings) != before, 3)
                return
            except AssertionError:
                continue
        raise AssertionError("the key does nothing")

    run("xdotool", "key", "q")
    until("a key in the other window", lambda: not is_missing_below("q"))
    toggles()
    toggles()
    focused = run("xdotool", "getwindowfocus").strip()
    assert focused == other, "the keyboard has gone elsewhere"
    run("xdotool", "key", "ctrl+alt+s")
    until("the key that is off in the other window", lambda: not is_missing_below("s"))
    said = (folder / "log").read_text()
    assert "[shortcuts] globalShortcuts.click-through is no key; it is Ctrl+Alt+P" in said, said
    assert "is taken" not in said and "not signed in" not in said, said

    # "show" brings the window to the front and the keyboard with it.
    run("xdotool", "key", "ctrl+alt+m")
    until("the keyboard in the program's window",
          lambda: run("xdotool", "getwindowfocus").strip() == window("Tarn"))
    tarn.terminate()
    assert tarn.wait(timeout=20) == 0
    assert not complaints(folder / "log"), complaints(folder / "log")


try:
    check()
except BaseException:
    print(f"what the program said: {(folder / 'log').read_text() if (folder / 'log').exists() else ''}", file=sys.stderr)
    raise
finally:
    for process in reversed(started):
        process.kill()
        process.wait()
