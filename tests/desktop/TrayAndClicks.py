#!/usr/bin/python3
"""The tray and click-through of the real program: a tray that comes late and is started again, its menu, and clicks that
reach the window below. Run inside scripts/private-audio and scripts/private-display.

Usage: TrayAndClicks.py FOLDER-OF-PROGRAMS"""

import json
import os
import subprocess
import sys
import tempfile
from pathlib import Path

from gi.repository import Gio, GLib

from Desktop import complaints, run, until, window

programs = Path(sys.argv[1])
folder = Path(tempfile.mkdtemp(prefix="tarn-tray."))
started = []
bus = Gio.bus_get_sync(Gio.BusType.SESSION)
WATCHER = Gio.DBusNodeInfo.new_for_xml("""<node><interface name="org.kde.StatusNotifierWatcher">
  <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
  <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
</interface></node>""").interfaces[0]


def start(*words, **options):
    process = subprocess.Popen(words, **options)
    started.append(process)
    return process


class Tray:
    """The desktop's tray, as long as it has not been closed."""

    def __init__(self):
        self.items = []
        self.object = bus.register_object("/StatusNotifierWatcher", WATCHER, self._called,
                                          lambda *_: GLib.Variant("b", True), None)
        self.name = Gio.bus_own_name_on_connection(bus, "org.kde.StatusNotifierWatcher", 0, None, None)

    def _called(self, _bus, _sender, _path, _interface, _method, arguments, invocation):
        self.items.append(arguments.unpack()[0])
        invocation.return_value(None)

    def close(self):
        Gio.bus_unown_name(self.name)
        bus.unregister_object(self.object)

    def item(self):
        return until("the program in the tray", lambda: self.items and self.items[-1])


def call(item, path, interface, method, arguments, reply):
    answer = bus.call_sync(item, path, interface, method, arguments, reply and GLib.VariantType(reply), 0, 5000)
    return answer and answer.unpack()


def read(item, name):
    return call(item, "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get",
                GLib.Variant("(ss)", ("org.kde.StatusNotifierItem", name)), "(v)")[0]


def menu_call(item, method, arguments, reply):
    return call(item, read(item, "Menu"), "com.canonical.dbusmenu", method, arguments, reply)


def rows(item):
    """The menu's rows by their labels: their numbers and properties."""
    _, (_, _, children) = menu_call(item, "GetLayout", GLib.Variant("(iias)", (0, -1, [])), "(u(ia{sv}av))")
    return {properties["label"]: (number, properties) for number, properties, _ in children if "label" in properties}


def choose(item, label):
    menu_call(item, "Event", GLib.Variant("(isvu)", (rows(item)[label][0], "clicked", GLib.Variant("i", 0), 0)), None)


def is_on(item, label):
    return rows(item)[label][1]["toggle-state"] == 1


def action(name):
    run("gapplication", "action", "com.ostrel.tarn", name)


def clicks_below():
    return (folder / "below").read_text().count("ButtonPress")


def check():
    for name in ("CONFIG", "DATA", "STATE", "CACHE"):
        os.environ[f"XDG_{name}_HOME"] = str(folder / name.lower())
    os.environ["LANG"] = "en_US.UTF-8"
    settings = folder / "config/tarn/settings.json"
    settings.parent.mkdir(parents=True)
    settings.write_text(json.dumps({"onboarding.done": True, "onboarding.step": "ready", "app.language": "en"}))
    with open(folder / "below", "w") as output:
        start("xev", "-geometry", "1200x700+0+0", "-event", "button", stdout=output)
    until("a window below", lambda: window("Event Tester"))

    # Without a tray the program is whole.
    tarn = start(str(programs / "tarn"), stderr=open(folder / "log", "w"))
    overlay = until("the window", lambda: window("Tarn"))

    tray = Tray()
    item = tray.item()
    assert read(item, "Id") == "tarn" and read(item, "Title") == "Tarn" and read(item, "Status") == "Active"
    assert {(w, h, len(pixels)) for w, h, pixels in read(item, "IconPixmap")} >= {(22, 22, 1936), (48, 48, 9216)}
    shown = rows(item)
    assert list(shown) == ["Start", "Stop", "Mini mode", "Click-through", "What was said", "Show Tarn", "Quit Tarn"], shown
    assert not shown["Start"][1]["enabled"] and not shown["Stop"][1]["enabled"], "nobody is signed in, nothing runs"

    choose(item, "Mini mode")
    until("mini mode in the menu", lambda: is_on(item, "Mini mode"))
    action("mini-mode")
    until("its end in the menu", lambda: not is_on(item, "Mini mode"))

    # A tray that is started again finds it.
    tray.close()
    tray = Tray()
    assert tray.item() == item

    # The middle of the window takes clicks, then lets them through, and takes them again, in each way out.
    shape = dict(line.split("=") for line in run("xdotool", "getwindowgeometry", "--shell", overlay).split())
    inside = int(shape["X"]) + int(shape["WIDTH"]) // 2, int(shape["Y"]) + int(shape["HEIGHT"]) - 30

    def click():
        run("xdotool", "mousemove", *map(str, inside), "click", "1")

    def ends_by(what, end):
        before = clicks_below()
        action("click-through")
        until("click-through in the menu", lambda: is_on(item, "Click-through"))
        click()
        until("a click below", lambda: clicks_below() == before + 1)
        end()
        until(f"the end of click-through by {what}", lambda: not is_on(item, "Click-through"))
        click()
        # What comes after the click has come: so would the click, had it gone through.
        run("xdotool", "mousemove", "1150", "650", "click", "1")
        until("a click beside the window", lambda: clicks_below() == before + 2)

    ends_by("the action", lambda: action("click-through"))
    ends_by("the tray's row", lambda: choose(item, "Click-through"))
    ends_by("the tray's icon", lambda: call(item, "/StatusNotifierItem", "org.kde.StatusNotifierItem", "Activate",
                                            GLib.Variant("(ii)", (0, 0)), None))
    ends_by("another start", lambda: run(str(programs / "tarn")))

    choose(item, "Quit Tarn")
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
