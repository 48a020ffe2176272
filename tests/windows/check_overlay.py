#!/usr/bin/python3
"""Uses the overlay of a program as a user would, on the desktop that DISPLAY names, and reads back what became of it:
from the window's properties, its place, and the pixels on the screen. Prints a line for each check."""
import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time

PATIENCE = 8  # seconds for what the desktop does in its own time


def output(*command, binary=False):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False)
    return done.stdout if binary else done.stdout.decode(errors="replace")


def xdotool(*arguments):
    return output("xdotool", *map(str, arguments)).strip()


def until(condition, patience=PATIENCE):
    """The first true answer, or the last one."""
    end = time.monotonic() + patience
    while True:
        answer = condition()
        if answer or time.monotonic() > end:
            return answer
        time.sleep(0.05)


def until_still(value):
    """The value once it has stopped changing."""
    last = value()
    while True:
        time.sleep(0.3)
        now = value()
        if now == last:
            return now
        last = now


class Screen:
    """What is really seen. A Wayland session shows it to its own tools only."""

    def __init__(self, desktop):
        self.desktop = desktop

    def region(self, x, y, width, height):
        """Pixels as bytes R, G, B."""
        if self.desktop == "sway":
            image = output("grim", "-t", "ppm", "-g", f"{x},{y} {width}x{height}", "-", binary=True)
            return image[-width * height * 3:]
        if self.desktop == "kwin_wayland":
            return self._kwin(x, y, width, height)
        return output("import", "-window", "root", "-depth", "8", "-crop", f"{width}x{height}+{x}+{y}", "rgb:-",
                      binary=True)

    def colour(self, x, y):
        return tuple(self.region(x, y, 1, 1)[:3])

    @staticmethod
    def _kwin(x, y, width, height):
        from gi.repository import Gio, GLib
        bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        read, write = os.pipe()
        descriptors = Gio.UnixFDList.new_from_array([write])
        answer, _ = bus.call_with_unix_fd_list_sync(
            "org.kde.KWin", "/org/kde/KWin/ScreenShot2", "org.kde.KWin.ScreenShot2", "CaptureArea",
            GLib.Variant("(iiuua{sv}h)", (x, y, width, height, {}, 0)), None, Gio.DBusCallFlags.NONE, 5000,
            descriptors, None)
        descriptors.steal_fds()
        os.close(write)
        with os.fdopen(read, "rb") as pipe:
            data = pipe.read()
        stride = answer[0]["stride"]
        pixels = bytearray()
        for row in range(height):
            for column in range(width):
                blue, green, red = data[row * stride + column * 4:row * stride + column * 4 + 3]
                pixels += bytes((red, green, blue))
        return bytes(pixels)


class Window:
    """The overlay, found by its title."""

    def __init__(self, title, command, environment):
        self.process = subprocess.Popen(command, env=environment, stdout=subprocess.DEVNULL)
        self.title = title
        find = lambda: xdotool("search", "--onlyvisible", "--name", f"^{re.escape(title)}$").split("\n")[0]
        until(lambda: find() or self.process.poll() is not None)
        self.id = find()
        if not self.id:
            self.end()
            sys.exit(f"no window '{title}' came up")

    def frame(self):
        info = output("xwininfo", "-id", self.id)
        number = lambda label: int(re.search(label + r":\s*(-?\d+)", info).group(1))
        try:
            return (number("Absolute upper-left X"), number("Absolute upper-left Y"), number("Width"),
                    number("Height"))
        except AttributeError:
            return None

    def is_viewable(self):
        return "IsViewable" in output("xwininfo", "-id", self.id)

    def bypasses(self):
        return "Override Redirect State: yes" in output("xwininfo", "-id", self.id)

    def property(self, name):
        return output("xprop", "-id", self.id, name)

    def is_on_every_desktop(self):
        return self.is_viewable() and (self.bypasses() or "4294967295" in self.property("_NET_WM_DESKTOP"))

    def end(self):
        self.process.terminate()
        self.process.wait()


class Cover:
    """A window of another program, in a colour that nothing else has."""

    def __init__(self, probe, kind, colour):
        self.process = subprocess.Popen([probe, kind, colour], stdout=subprocess.DEVNULL)

    def end(self):
        self.process.terminate()
        self.process.wait()


class Check:
    def __init__(self, arguments):
        self.arguments = arguments
        self.desktop = os.environ.get("PRIVATE_DISPLAY_DESKTOP", "openbox")
        self.takes_input = self.desktop not in ("kwin_wayland", "sway")
        self.screen = Screen(self.desktop)
        self.home = tempfile.mkdtemp(prefix="tarn-overlay.")
        self.settings = os.path.join(self.home, "tarn", "settings.json")
        if arguments.settings:
            os.makedirs(os.path.dirname(self.settings))
            shutil.copy(arguments.settings, self.settings)
        self.environment = dict(os.environ, XDG_CONFIG_HOME=self.home, QT_QPA_PLATFORM="xcb",
                                QT_QUICK_BACKEND="software")
        self.failures = 0
        self.window = None

    def open(self):
        self.window = Window(self.arguments.name, self.arguments.program, self.environment)
        self.frame = until_still(self.window.frame)

    def report(self, name, passed, detail=""):
        self.failures += not passed
        print(f"{name}\t{'yes' if passed else 'NO'}\t{detail}", flush=True)

    def skip(self, name):
        print(f"{name}\t-\tno input can be made up in this session", flush=True)

    def inside(self):
        x, y, width, height = self.window.frame()
        return x + width // 2, y + height - 12

    def is_seen_over(self, red, green, blue):
        """Whether the overlay, and not what is behind it, is what the screen shows; the cover beside it is there."""
        x, y, width, height = self.window.frame() or (0, 0, 0, 0)
        beside = self.screen.colour(x + width // 2, y + height + 8)
        return beside == (red, green, blue) and self.screen.colour(*self.inside()) != (red, green, blue)

    def is_active(self):
        active = re.search(r"0x[0-9a-f]+", output("xprop", "-root", "_NET_ACTIVE_WINDOW"))
        return bool(active) and int(active.group(), 16) == int(self.window.id)

    def press_and_pull(self, start, distance, expected=None):
        # In steps, as a hand moves; where the pointer ends counts.
        xdotool("mousemove", *start, "mousedown", 1)
        for step in range(1, 9):
            xdotool("mousemove", start[0] + distance[0] * step // 8, start[1] + distance[1] * step // 8)
            time.sleep(0.02)
        xdotool("mouseup", 1)
        # A busy machine may take longer than a frame that seems still.
        if expected:
            until(lambda: self.window.frame() == expected, 3)
        return until_still(self.window.frame)

    def drag(self, label):
        x, y, width, height = self.window.frame()
        dx, dy = self.arguments.drag
        after = self.press_and_pull((x + dx, y + dy), (64, 48))
        # The window manager takes over a few pixels after the press, and counts from there.
        way = (after[0] - x, after[1] - y)
        self.report(label, 50 <= way[0] <= 64 and 36 <= way[1] <= 48 and after[2:] == (width, height), f"by {way}")

    def resize(self, label):
        x, y, width, height = self.window.frame()
        expected = (x, y, width + 40, height + 32)
        after = self.press_and_pull((x + width - 2, y + height - 2), (40, 32), expected)
        self.report(label, after == expected, f"{(width, height)} to {after[2:]}")
        x, y, width, height = after
        expected = (x - 32, y, width + 32, height)
        after = self.press_and_pull((x + 2, y + height // 2), (-32, 0), expected)
        self.report(label + ", left edge", after == expected, f"{(x, width)} to {after[::2]}")

    def shrink(self, label):
        x, y, width, height = self.window.frame()
        hints = output("xprop", "-id", self.window.id, "WM_NORMAL_HINTS")
        least = tuple(map(int, re.search(r"minimum size: (\d+) by (\d+)", hints).groups()))
        after = self.press_and_pull((x + width - 2, y + height - 2), (-width + 60, -height + 30), (x, y, *least))
        self.report(label, after == (x, y, *least), f"{after[2:]}, minimum {least}")

    def popups(self):
        """Windows of the screen's top level that bypass the window manager, with their frames."""
        found = {}
        tree = output("xwininfo", "-root", "-children")
        for number, width, height, x, y in re.findall(
                r"(0x[0-9a-f]+) .*?\s(\d+)x(\d+)\+-?\d+\+-?\d+\s+\+(-?\d+)\+(-?\d+)", tree):
            if int(width) > 8 and int(number, 16) != int(self.window.id):
                info = output("xwininfo", "-id", number)
                if "IsViewable" in info and "Override Redirect State: yes" in info:
                    found[number] = tuple(map(int, (x, y, width, height)))
        return found

    def popover(self, label):
        x, y, _, _ = self.window.frame()
        dx, dy = self.arguments.popover
        before = set(self.popups())
        xdotool("mousemove", x + dx, y + dy, "click", 1)
        opened = until(lambda: set(self.popups()) - before)
        if not opened:
            self.report(label, False, "no window opened")
            return
        number = opened.pop()
        place = until_still(lambda: self.popups().get(number))
        picture = lambda: self.screen.region(*place)
        rest = until_still(picture)
        xdotool("key", *self.arguments.keys.split())
        changed = until(lambda: picture() != rest, 3)
        xdotool("key", "Escape")
        closed = until(lambda: number not in self.popups(), 3)
        self.report(label, changed and closed,
                    f"keys {'seen' if changed else 'LOST'}, Escape {'closed it' if closed else 'did NOTHING'}")

    def blur(self, label):
        values = self.window.property("_KDE_NET_WM_BLUR_BEHIND_REGION")
        self.report(label, "CARDINAL" in values, values.strip()[:40])

    def run(self):
        probe = self.arguments.probe
        self.open()
        try:
            # Over an ordinary window that came later and is the active one.
            green = Cover(probe, "--cover", "#00ff00")
            self.report("above", until(lambda: self.is_seen_over(0, 255, 0)))
            if self.takes_input:
                self.drag("drag")
                self.resize("edge resize")
                self.shrink("minimum size")
                self.popover("popover's keys")
            else:
                for name in ("drag", "edge resize", "edge resize, left edge", "minimum size"):
                    self.skip(name)
                if self.desktop == "kwin_wayland":
                    x, y, _, _ = self.window.frame()
                    xdotool("mousemove", x + self.arguments.drag[0], y + self.arguments.drag[1], "click", 1)
                    self.report("keys after a click", until(self.is_active) and
                                until(lambda: self.is_seen_over(0, 255, 0)))
                    self.popover("popover's keys")
                else:
                    self.skip("popover's keys")
            self.blur("blur")
            if self.desktop == "sway":
                self.skip("every desktop")
            else:
                xdotool("set_num_desktops", 2)
                xdotool("set_desktop", 1)
                until(lambda: xdotool("get_desktop") == "1")
                elsewhere = Cover(probe, "--cover", "#00ffff")
                seen = until(lambda: self.is_seen_over(0, 255, 255))
                self.report("every desktop", seen and self.window.is_on_every_desktop())
                elsewhere.end()
                xdotool("set_desktop", 0)
                until(lambda: xdotool("get_desktop") == "0")
            green.end()

            frame = until_still(self.window.frame)
            magenta = Cover(probe, "--full-screen", "#ff00ff")
            self.report("over full screen", until(lambda: self.is_seen_over(255, 0, 255)),
                        "bypasses the window manager" if self.window.bypasses() else "managed")
            self.report("same frame there", self.window.frame() == frame, f"{frame}, {self.window.frame()}")
            if self.takes_input:
                self.drag("drag there")
                self.resize("edge resize there")
                self.shrink("minimum size there")
                self.popover("popover's keys there")
                xdotool("mousemove", 8, 700, "click", 1)
                time.sleep(0.5)
                self.report("over it once it is clicked", until(lambda: self.is_seen_over(255, 0, 255)))
            frame = until_still(self.window.frame)
            magenta.end()
            if self.takes_input:
                self.report("managed again", until(lambda: not self.window.bypasses()) and
                            until(self.window.is_on_every_desktop))
            self.report("same frame again", until_still(self.window.frame) == frame, f"{frame}, {self.window.frame()}")

            # The next start shows it where it was.
            until(lambda: os.path.exists(self.settings) and "frame" in open(self.settings, encoding="utf-8").read())
            if self.takes_input:
                self.window.end()
                self.open()
                self.report("place remembered", until(lambda: self.window.frame() == frame),
                            f"{frame}, {self.window.frame()}")
            else:
                self.skip("place remembered")
        finally:
            self.window.end()
            shutil.rmtree(self.home)
        return self.failures


def point(text):
    return tuple(map(int, text.split(",")))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--probe", required=True, help="the program overlay_probe, which also makes the other windows")
    parser.add_argument("--name", default="overlay_probe", help="the title of the overlay's window")
    parser.add_argument("--drag", type=point, default=(320, 120), help="where the overlay is taken: x,y")
    parser.add_argument("--popover", type=point, default=(50, 34), help="a button that opens a popover: x,y")
    parser.add_argument("--keys", default="a b c", help="keys that change the popover's looks")
    parser.add_argument("--settings", help="a settings file that the program starts with")
    parser.add_argument("program", nargs="*", help="the program with the overlay, and its arguments")
    arguments = parser.parse_args()
    arguments.program = arguments.program or [arguments.probe]
    sys.exit(1 if Check(arguments).run() else 0)


main()
