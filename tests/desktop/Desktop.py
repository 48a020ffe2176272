"""A program on a screen of the test's own, used as a person does: found by what a screen reader sees of it, pressed
with a real pointer and real keys, looked at in pictures of the screen."""

import os
import re
import subprocess
import time
from pathlib import Path

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

LIMIT = 30.0  # seconds that anything may take


def run(*words, **options):
    return subprocess.run(words, check=True, capture_output=True, text=True, **options).stdout


def until(what, found, limit=LIMIT):
    """The first answer of `found` that is true; fails, saying `what`, when there is none in time."""
    end = time.monotonic() + limit
    while True:
        while GLib.MainContext.default().iteration(False):
            pass
        try:
            answer = found()
        except GLib.Error:  # what was looked at is gone
            answer = None
        if answer:
            return answer
        if time.monotonic() > end:
            raise AssertionError("not in time: " + what)
        time.sleep(0.05)


def start_accessibility():
    """The bus of screen readers. Returns its process."""
    launcher = subprocess.Popen(["/usr/libexec/at-spi-bus-launcher", "--launch-immediately"])
    until("the accessibility bus", lambda: "org.a11y.Bus" in run(
        "gdbus", "call", "--session", "--dest", "org.freedesktop.DBus", "--object-path", "/",
        "--method", "org.freedesktop.DBus.ListNames"))
    Atspi.init()
    return launcher


class Application:
    """What a screen reader sees of one process."""

    def __init__(self, pid):
        self.pid = pid
        self.root = until("the program on the accessibility bus", self._find)

    def _find(self):
        desktop = Atspi.get_desktop(0)
        for index in range(desktop.get_child_count()):
            child = desktop.get_child_at_index(index)
            if child is not None and child.get_process_id() == self.pid:
                return child
        return None

    def tree(self, node=None, depth=0):
        """Every accessible object below `node` (the program) with its depth, parents first."""
        node = node or self.root
        for index in range(node.get_child_count()):
            child = node.get_child_at_index(index)
            if child is not None:
                yield child, depth
                yield from self.tree(child, depth + 1)

    def find(self, name, role=None):
        """The showing object of that name, or whose name begins with it where it ends in "…"; or None."""
        for node, _ in self.tree():
            said = node.get_name() or ""
            matches = said.startswith(name[:-1]) if name.endswith("…") and len(name) > 1 else said == name
            if matches and (role is None or node.get_role_name() == role) and is_showing(node):
                return node
        return None

    def wait(self, name, role=None, limit=LIMIT):
        return until(f"{role or 'something'} named {name}", lambda: self.find(name, role), limit)

    def press(self, name, role=None):
        """Presses it with the pointer, at its middle."""
        node = self.wait(name, role)
        point_at(node)
        run("xdotool", "click", "1")
        return node


def complaints(log):
    """What the interface's engine complains of in a program's standard error, which is in that file."""
    return [line for line in Path(log).read_text().splitlines() if re.search(r"\.qml:\d", line)]


def is_showing(node):
    states = node.get_state_set()
    return states.contains(Atspi.StateType.SHOWING) and states.contains(Atspi.StateType.VISIBLE)


def middle(node):
    place = node.get_extents(Atspi.CoordType.SCREEN)
    return place.x + place.width // 2, place.y + place.height // 2


def at_rest(node):
    """Where its middle is once it moves no more: two looks agree."""
    at = [None]

    def rests():
        before, at[0] = at[0], middle(node)
        return before == at[0]

    until("a place that rests", rests)
    return at[0]


def point_at(node):
    move_to(*at_rest(node))


def move_to(x, y):
    # It waits half a minute for a pointer that is there already to move.
    if f"X={x}\nY={y}\n" not in run("xdotool", "getmouselocation", "--shell"):
        run("xdotool", "mousemove", "--sync", str(x), str(y))


def window(title):
    """The window of that title; None where there is none that is shown."""
    found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", f"^{title}$"], capture_output=True, text=True)
    return found.stdout.split()[0] if found.stdout.split() else None


class Pictures:
    """Pictures of the screen, kept for whoever looks into a failure, and compared with earlier ones."""

    def __init__(self, folder, references):
        self.folder = Path(folder)
        self.references = Path(references)
        self.folder.mkdir(parents=True, exist_ok=True)

    def take(self, name, window_id=None):
        path = self.folder / f"{name}.png"
        run("import", "-silent", "-window", "root", str(path)) if window_id is None else self._crop(path, window_id)
        return path

    def _crop(self, path, window_id):
        # Of the screen, and not of the window, which has no background of its own where it is translucent.
        shape = dict(line.split("=") for line in run("xdotool", "getwindowgeometry", "--shell", window_id).split())
        run("import", "-silent", "-window", "root", "-crop",
            f"{shape['WIDTH']}x{shape['HEIGHT']}+{shape['X']}+{shape['Y']}", "+repage", str(path))

    def like_before(self, name, window_id, tolerance=0.06):
        """Waits until the window looks as in the reference: the root mean square of the differences, of 1, is at most
        `tolerance`. TARN_RENEW_REFERENCES=1 writes the references anew."""
        reference = self.references / f"{name}.png"
        if os.environ.get("TARN_RENEW_REFERENCES") == "1":
            time.sleep(1)
            self.take(name, window_id).rename(reference)
            return
        far = [None]

        def is_like():
            path = self.take(name, window_id)
            result = subprocess.run(["compare", "-metric", "RMSE", str(path), str(reference), "null:"],
                                    capture_output=True, text=True)
            far[0] = result.stderr
            return result.returncode < 2 and float(result.stderr.split("(")[1].split(")")[0]) <= tolerance

        try:
            until(f"{name} as it looked before", is_like, 5)
        except AssertionError as failure:
            raise AssertionError(f"{failure}: {self.folder}/{name}.png differs from {reference}: {far[0]}") from None
