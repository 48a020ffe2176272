#!/usr/bin/python3
"""What a screen reader and a keyboard make of the real program: names, roles and actions of everything there is to
press, the way of Tab, popovers and back, finished sentences, and the desktop's wishes for contrast and less motion.
Run inside scripts/private-audio and scripts/private-display.

Usage: AccessibilityTree.py FOLDER-OF-PROGRAMS FOLDER-FOR-PICTURES [print]
"print" writes the trees, too."""

import json
import os
import re
import signal
import subprocess
import sys
import tempfile
import warnings
from pathlib import Path

from Desktop import Application, Atspi, at_rest, complaints, is_showing, move_to, run, start_accessibility, until, window

warnings.simplefilter("ignore", DeprecationWarning)  # of the bindings: Atspi.Accessible.get_action_iface and such
programs, pictures_folder = Path(sys.argv[1]), Path(sys.argv[2])
prints = "print" in sys.argv[3:]
folder = Path(tempfile.mkdtemp(prefix="tarn-accessibility."))
started = []
faults = []
ROLES = {"push button", "push button menu", "button menu", "check box", "toggle button", "slider", "spin button", "text",
         "entry", "combo box", "menu item", "check menu item", "radio button", "label", "static", "panel", "grouping"}
PRESSED = {"push button", "push button menu", "button menu", "check box", "toggle button", "combo box", "menu item",
           "check menu item", "radio button"}
SENTENCES = ["Good morning to everybody here.", "We begin with the second chapter.", "The third one comes tomorrow."]


def start(*words, **options):
    process = subprocess.Popen(words, **options)
    started.append(process)
    return process


def end(process):
    process.send_signal(signal.SIGTERM)
    process.wait(20)
    started.remove(process)


def fault(what):
    faults.append(what)
    print("FAULT:", what, flush=True)


def has(node, state):
    return node.get_state_set().contains(getattr(Atspi.StateType, state))


def label(node):
    return f"{node.get_role_name()} {node.get_name()!r}"


def actions(node):
    face = node.get_action_iface()
    return [face.get_action_name(i) for i in range(face.get_n_actions())] if face else []


def act(node, name="Press"):
    if name not in actions(node):
        raise AssertionError(f"{label(node)} has no action {name}: {actions(node)}")
    node.get_action_iface().do_action(actions(node).index(name))


def focusables(app):
    """Not labels: Qt says of each that it can have the keys. Those that really can are subtitles, and on the way."""
    return [n for n, _ in app.tree() if is_showing(n) and has(n, "FOCUSABLE") and has(n, "SENSITIVE")
            and n.get_role_name() not in ("frame", "window", "dialog", "filler", "application", "label")]


def focused(app):
    found = None
    for node, _ in app.tree():
        if has(node, "FOCUSED") and is_showing(node) and node.get_role_name() not in ("frame", "window"):
            found = node  # the innermost: what is around it comes before it
    return found


def key(*names):
    run("xdotool", "key", *names)


def examine(app, state):
    """Everything there is to press or to type into has a name, a role that fits, and can be pressed."""
    nameless = 0
    lines = []
    for node, depth in app.tree():
        if not is_showing(node):
            continue
        focusable = has(node, "FOCUSABLE") and node.get_role_name() not in ("frame", "window", "filler")
        lines.append("  " * depth + label(node) + (" focusable" if focusable else "")
                     + (f" {actions(node)}" if actions(node) else ""))
        role = node.get_role_name()
        if not focusable and role not in PRESSED:
            continue
        if not (node.get_name() or "").strip():
            nameless += 1
            fault(f"{state}: a {role} without a name")
        if role not in ROLES:
            fault(f"{state}: {label(node)} is of an odd role")
        if role in PRESSED and "Press" not in actions(node):
            fault(f"{state}: {label(node)} cannot be pressed: {actions(node)}")
        if role in ("slider", "spin button"):
            face = node.get_value_iface()
            if not face or not face.get_minimum_value() < face.get_maximum_value():
                fault(f"{state}: {label(node)} has no value between two ends")
    if prints:
        print(f"== {state}: {nameless} nameless")
        print("\n".join(lines), flush=True)


def place(node):
    at = node.get_extents(Atspi.CoordType.SCREEN)
    return at.x, at.y, at.width, at.height


def identity(node):
    return label(node), *place(node)


def picture(name):
    path = folder / f"{name}.png"
    run("import", "-silent", "-window", "root", str(path))
    return path


def differ(one, other, here):
    """Whether two pictures of the screen differ by more than a trace where an object is."""
    _, x, y, width, height = here
    area = f"[{width + 12}x{height + 12}+{max(0, x - 6)}+{max(0, y - 6)}]"
    result = subprocess.run(["compare", "-metric", "AE", f"{one}{area}", f"{other}{area}", "null:"], capture_output=True,
                            text=True)
    return float(result.stderr.split()[0]) >= 20


def step(app, *names):
    """Presses a key that leads elsewhere; returns where the keys are then."""
    before = focused(app) and identity(focused(app))
    key(*names)
    return until("the next one", lambda: focused(app) and identity(focused(app)) != before and identity(focused(app)), 3)


def walk(app, state, looks=False):
    """Tab leads to everything that can have the keys, and around; Shift+Tab the same way back. With `looks`, where they
    are is to be seen."""
    wanted = {identity(node) for node in focusables(app)}
    if len(wanted) == 1:  # what is alone keeps the keyboard focus
        effect(f"{state}: Tab comes to {wanted}", lambda: key("Tab"),
               lambda: focused(app) and identity(focused(app)) in wanted)
        return
    way = []
    before = picture("before")
    for _ in range(len(wanted) + 12):
        try:
            here = step(app, "Tab")
        except AssertionError:
            if way:
                fault(f"{state}: Tab stays at {way[-1]}")
                return
            continue  # the first may come before the window has the keyboard
        if looks and here not in way:
            effect(f"{state}: the keys are seen at {here}", lambda: None,
                   lambda: differ(before, picture("now"), here))
            before = picture("before")
        way.append(here)
        if here in way[:-1]:
            break
    for missing in wanted - set(way):
        fault(f"{state}: Tab never comes to {missing}")
    if len(way) < 2:
        fault(f"{state}: Tab leads nowhere")
        return
    if way[-1] != way[0]:
        fault(f"{state}: Tab does not come around: {way}")
    if step(app, "shift+Tab") != way[-2]:
        fault(f"{state}: Shift+Tab goes from {way[-1]} to {identity(focused(app))} and not to {way[-2]}")


def tab_to(app, node):
    for _ in range(40):
        if focused(app) and identity(focused(app)) == identity(node):
            return
        step(app, "Tab")
    raise AssertionError(f"Tab does not lead to {label(node)}")


def effect(what, do, check):
    try:
        do()
        until(what, check, 8)
    except AssertionError as failure:
        fault(f"no effect: {what}: {failure}")


def popover(app, name, inside, state):
    """By keys alone: opens, holds the keys, Escape closes, and the keys are where they were."""
    opener = app.wait(name)
    tab_to(app, opener)
    key("space")
    try:
        app.wait(inside, limit=8)
        examine(app, state)
        here = until("the keys in the popover", lambda: focused(app) if focused(app) else None, 5)
        if identity(here) == identity(opener):
            fault(f"{state}: the keys stay outside")
        walk_inside(app, state)
    finally:
        key("Escape")
    try:
        until("the popover to close", lambda: app.find(inside) is None, 5)
        until("the keys back", lambda: identity(focused(app)) == identity(app.find(name)), 5)
    except AssertionError as failure:
        fault(f"{state}: {failure}")


def walk_inside(app, state):
    """In a menu End and Home lead to its ends; so they do on a slider, whose value can be set, too."""
    entries = [n for n in focusables(app) if n.get_role_name() == "menu item"]
    for name, entry in (("End", entries[-1]), ("Home", entries[0])) if entries else ():
        effect(f"{state}: {name} leads to {label(entry)}", lambda name=name: key(name),
               lambda entry=entry: identity(focused(app)) == identity(entry))
    for name in [n for n in focusables(app) if n.get_role_name() == "slider"]:
        tab_to(app, name)
        face = name.get_value_iface()
        before = face.get_current_value()
        effect(f"{state}: End on {label(name)}", lambda: key("End"),
               lambda: face.get_current_value() == face.get_maximum_value())
        effect(f"{state}: Home on {label(name)}", lambda: key("Home"),
               lambda: face.get_current_value() == face.get_minimum_value())
        effect(f"{state}: a value set on {label(name)}", lambda: face.set_current_value(before),
               lambda: abs(face.get_current_value() - before) < 0.06)


def settings(**wishes):
    """Writes the desktop's own settings, which the program watches."""
    file = folder / "config/glib-2.0/settings/keyfile"
    file.parent.mkdir(parents=True, exist_ok=True)
    text = "[org/gnome/desktop/interface]\n" + "".join(
        f"{k.replace('_', '-')}={v}\n" for k, v in wishes.items() if k != "high_contrast")
    if "high_contrast" in wishes:
        text += f"[org/gnome/desktop/a11y/interface]\nhigh-contrast={wishes['high_contrast']}\n"
    new = file.with_suffix(".new")
    new.write_text(text)
    new.rename(file)


def first_steps():
    tarn = start(str(programs / "tarn"), stderr=open(folder / "said", "a"))
    app = Application(tarn.pid)
    welcome = until("the onboarding window", lambda: window("Welcome to Tarn"))
    headings = ["Dub anything you hear", "Conversation mode", "Why an account?", "Sound on this computer"]
    for page, heading in enumerate(headings, 1):
        at_rest(app.wait(heading))
        until("the old page to leave", lambda: app.find(headings[page - 2]) is None)
        state = f"onboarding {page}"
        examine(app, state)
        run("xdotool", "windowactivate", "--sync", welcome)
        walk(app, state)
        if page == 3:
            effect("why an account", lambda: act(app.wait("Why an account?", "push button")),
                   lambda: app.find("Got it", "push button"))
            examine(app, "onboarding 3, explained")
            effect("the explanation goes", lambda: act(app.wait("Got it", "push button")),
                   lambda: app.find("Got it") is None)
        if page < len(headings):
            act(app.wait("Next", "push button"))
    end(tarn)


def pixel(x, y):
    text = run("import", "-silent", "-window", "root", "-crop", f"1x1+{x}+{y}", "+repage", "-depth", "8", "txt:-")
    return re.search("#[0-9A-F]{6}", text).group(0)


def main_window():
    (folder / "config/tarn").mkdir(parents=True, exist_ok=True)
    (folder / "config/tarn/settings.json").write_text(json.dumps(
        {"onboarding.done": True, "onboarding.step": "ready", "app.language": "en",
         "session.0.captureSource": "system", "session.0.sourceLang": "en", "session.0.targetLang": "es",
         "window.TarnMainWindow.frame": "200 300 700 320"}))
    tarn = start(str(programs / "tarn"), stderr=open(folder / "said", "a"))
    app = Application(tarn.pid)
    overlay = until("the overlay", lambda: window("Tarn"))
    examine(app, "solo, signed out")
    token = run(str(programs / "tarn-relay"), "issue-token", "ada@example.org").strip()
    run(str(programs / "tarn"), f"tarn://login?token={token}&user_email=ada@example.org", timeout=20)
    app.wait("Account")
    until("the notice to go", lambda: app.find("Signed in…") is None)
    move_to(10, 800)
    run("xdotool", "windowactivate", "--sync", overlay)
    examine(app, "solo, idle")
    if not has(app.wait("Solo", "radio button"), "CHECKED") or has(app.wait("Conversation"), "CHECKED"):
        fault("the mode that is chosen is not the one that is said")
    walk(app, "solo, idle")

    # Popovers, by keys.
    for name, inside in (("Playback — speed & volume", "Playback"),
                         ("Subtitle size", "Display"),
                         ("Account", "Setup & sound…"),
                         ("Capture source: …", "System Audio (all)"),
                         ("Target: …", "Français (fr)")):
        popover(app, name, inside, f"popover {name}")

    # What a screen reader presses happens.
    settings_button = app.wait("Translation settings…")
    effect("settings", lambda: act(settings_button), lambda: app.find("Clone: …"))
    effect("settings are shown as checked", lambda: None, lambda: has(settings_button, "CHECKED"))
    stepper = app.wait("VAD (ms)", "spin button")
    at_rest(stepper)
    examine(app, "settings open")
    walk(app, "settings open", looks=True)
    value = stepper.get_value_iface().get_current_value()
    effect("a step up", lambda: act(stepper, "Increase"),
           lambda: stepper.get_value_iface().get_current_value() == value + 100)
    effect("a menu", lambda: act(app.wait("Clone: …")), lambda: app.find("Always"))
    examine(app, "menu of a picker")
    effect("an entry", lambda: act(app.find("Always")), lambda: app.find("Clone: Always"))
    effect("settings go", lambda: act(settings_button), lambda: app.find("Clone: …") is None)
    effect("size", lambda: act(app.wait("Subtitle size")), lambda: app.find("Subtitle size", "slider"))
    slider = app.find("Subtitle size", "slider")
    effect("a size", lambda: slider.get_value_iface().set_current_value(2.0),
           lambda: has(app.wait("Reset to 1.0×"), "SENSITIVE"))
    key("Escape")
    until("no popover", lambda: app.find("English") is None)

    # The desktop asks for contrast: the panel is pure, on the running program.
    at = dict(line.split("=") for line in run("xdotool", "getwindowgeometry", "--shell", overlay).split())
    spot = int(at["X"]) + int(at["WIDTH"]) // 2, int(at["Y"]) + int(at["HEIGHT"]) - 12
    before = pixel(*spot)
    for scheme, colour in (("prefer-dark", "#000000"), ("prefer-light", "#FFFFFF")):
        settings(high_contrast="true", color_scheme=f"'{scheme}'")
        effect(f"high contrast, {scheme}", lambda: None, lambda: pixel(*spot) == colour)
    run("xdotool", "windowactivate", "--sync", overlay)
    walk(app, "high contrast", looks=True)
    settings()
    effect("the usual look", lambda: None, lambda: pixel(*spot) == before)

    # Sessions that run: each finished sentence is told of once.
    heard = []

    def hear(event):
        if event.source.get_role_name() in ("alert", "notification"):
            heard.append(event.source.get_name())

    listener = Atspi.EventListener.new(hear)
    listener.register("object:property-change:accessible-name")
    effect("start", lambda: act(app.wait("Start")), lambda: app.find("Stop"))
    examine(app, "solo, running")
    # The error comes when the pause that ends a sentence is long over: by then each has been told of once.
    until("the error", lambda: any(n.get_role_name() in ("alert", "notification") and "busy" in (n.get_name() or "")
                                   for n, _ in app.tree() if is_showing(n)))
    told = [text for text in heard if text and "busy" not in text]
    if told != SENTENCES:
        fault(f"heard {told} and not {SENTENCES}")
    listener.deregister("object:property-change:accessible-name")
    examine(app, "error shown")
    effect("mini mode", lambda: act(app.wait("Mini mode (subtitles only)")), lambda: app.find("Account") is None)
    examine(app, "mini mode")
    # Without the strip: the keys still have a way back.
    run("xdotool", "windowactivate", "--sync", overlay)
    walk(app, "mini mode")

    def passed_over():
        move_to(10, 800)
        move_to(int(at["X"]) + 300, int(at["Y"]) + 150)
        return app.find("Account")

    until("the controls back with the pointer, once that has been away", passed_over)
    act(app.wait("Mini mode (subtitles only)"))

    # Four of them.
    effect("conversation", lambda: act(app.wait("Conversation", "radio button")), lambda: app.find("Add source"))
    effect("a third", lambda: act(app.wait("Add source")),
           lambda: len([n for n, _ in app.tree()
                        if n.get_name() == "Remove this source" and is_showing(n)]) == 2)
    effect("a fourth", lambda: act(app.wait("Add source")), lambda: app.find("Add source") is None)
    move_to(10, 800)
    examine(app, "conversation, four sources")
    run("xdotool", "windowactivate", "--sync", overlay)
    walk(app, "conversation, four sources")
    effect("one away", lambda: act(app.wait("Remove this source")), lambda: app.find("Add source"))
    end(tarn)


def script():
    """Three sentences word by word, then an error that ends nothing."""
    lines = [{"t": 0, "event": {"type": "session.created"}}]
    at = 4.0
    for sentence in SENTENCES:
        words = sentence.split()
        for count in range(1, len(words) + 1):
            lines.append({"t": round(at, 2), "event": {"type": "response.audio_transcript.text",
                                                       "text": " ".join(words[:count])}})
            at += 0.25
        lines.append({"t": round(at, 2), "event": {"type": "response.audio_transcript.done", "transcript": sentence}})
        at += 0.6
    lines.append({"t": round(at + 6, 2), "event": {"type": "tarn.error", "error": "the service is busy"}})
    path = folder / "script.jsonl"
    path.write_text("\n".join(map(json.dumps, lines)) + "\n")
    return str(path)


def everything():
    for name in ("CONFIG", "DATA", "STATE", "CACHE"):
        os.environ[f"XDG_{name}_HOME"] = str(folder / name.lower())
    os.environ.update(QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", LANG="en_US.UTF-8", GSETTINGS_BACKEND="keyfile")
    settings()
    started.append(start_accessibility())
    pictures_folder.mkdir(parents=True, exist_ok=True)
    relay = start(str(programs / "tarn-relay"), "--engine", "script", "--listen", "127.0.0.1:0", script(),
                  stdout=subprocess.PIPE, text=True)
    web = relay.stdout.readline().split()[-1]
    os.environ["TARN_WEB_URL"] = web
    os.environ["TARN_API_URL"] = web + "/tarn"
    move_to(10, 800)
    first_steps()
    main_window()
    for line in complaints(folder / "said"):
        fault(line)
    print(f"{len(faults)} faults")
    for what in faults:
        print("-", what)
    sys.exit(1 if faults else 0)


try:
    everything()
except Exception:
    subprocess.run(["import", "-silent", "-window", "root", str(pictures_folder / "failure.png")], check=False)
    raise
finally:
    for process in reversed(started):
        if process.poll() is None:
            process.send_signal(signal.SIGTERM)
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.kill()
