#!/usr/bin/python3
"""The first day of a user: first run, onboarding, signing in through the browser's callback, real speech that is heard,
translated and shown, mini mode, another language, the end. On a real X server with a real window manager, a real audio
server, and the relay with its offline engine. Run inside scripts/private-audio and scripts/private-display.

Usage: EndToEnd.py FOLDER-OF-PROGRAMS FOLDER-FOR-PICTURES"""

import http.client
import os
import re
import signal
import subprocess
import sys
import tempfile
import urllib.parse
from pathlib import Path

from Desktop import Application, Pictures, complaints, is_showing, move_to, run, start_accessibility, until, window

programs, pictures_folder = Path(sys.argv[1]), sys.argv[2]
folder = Path(tempfile.mkdtemp(prefix="tarn-desktop."))
started = []
seen = []  # the program, for whoever looks into a failure


def start(*words, **options):
    process = subprocess.Popen(words, **options)
    started.append(process)
    return process


def a_browser_that_only_notes():
    """Makes the desktop's browser a program that writes the address down."""
    browser = folder / "browser"
    browser.write_text(f'#!/bin/sh\necho "$1" >> "{folder}/opened"\n')
    browser.chmod(0o755)
    applications = folder / "data/applications"
    applications.mkdir(parents=True)
    (applications / "noting.desktop").write_text(
        f"[Desktop Entry]\nType=Application\nName=Noting\nExec={browser} %u\nMimeType=x-scheme-handler/http;\n")
    (folder / "config").mkdir()
    (folder / "config/mimeapps.list").write_text("[Default Applications]\nx-scheme-handler/http=noting.desktop\n")


def sign_in_with_the_browser(page):
    """What a person does on the sign-in page: presses the one button. Returns the address it leads to."""
    address = urllib.parse.urlsplit(page)
    connection = http.client.HTTPConnection(address.netloc, timeout=10)
    connection.request("GET", f"{address.path}?{address.query}")
    response = connection.getresponse()
    cookie = (response.getheader("Set-Cookie") or "").split(";")[0]
    form = response.read().decode()
    consent = re.search(r'name="consent" value="([^"]+)"', form).group(1)
    connection.request("POST", f"{address.path}?{address.query}",
                       urllib.parse.urlencode({"consent": consent, "email": "ada@example.org", "answer": "allow"}),
                       {"Content-Type": "application/x-www-form-urlencoded", "Origin": f"http://{address.netloc}",
                        "Cookie": cookie})
    answer = connection.getresponse().read().decode()
    return re.search(r'href="(tarn://[^"]+)"', answer).group(1).replace("&amp;", "&")


def speech(*sentences):
    """A recording of clear sentences with pauses, 16 kHz."""
    parts = []
    for number, sentence in enumerate(sentences):
        part, padded = folder / f"{number}.wav", folder / f"{number}-padded.wav"
        run("flite", "-voice", "slt", "-t", sentence, "-o", str(part))
        run("sox", "-q", str(part), "-r", "16000", "-c", "1", "-b", "16", str(padded), "pad", "0.3", "2.8")
        parts.append(str(padded))
    whole = folder / "speech.wav"
    run("sox", "-q", *parts, str(whole))
    return str(whole)


def the_first_day():
    for name in ("CONFIG", "DATA", "STATE", "CACHE"):
        os.environ[f"XDG_{name}_HOME"] = str(folder / name.lower())
    os.environ["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"
    os.environ["LANG"] = "en_US.UTF-8"
    a_browser_that_only_notes()
    started.append(start_accessibility())
    pictures = Pictures(pictures_folder, Path(__file__).parent / "references")

    relay = start(str(programs / "tarn-relay"), "--engine", "offline", "--listen", "127.0.0.1:0",
                  stdout=subprocess.PIPE, text=True)
    web = relay.stdout.readline().split()[-1]
    os.environ["TARN_WEB_URL"] = web
    os.environ["TARN_API_URL"] = web + "/tarn"
    move_to(10, 700)

    # First run: onboarding in the place of the overlay.
    tarn = start(str(programs / "tarn"), stderr=open(folder / "said", "w"))
    app = Application(tarn.pid)
    seen.append(app)
    welcome = until("the onboarding window", lambda: window("Welcome to Tarn"))
    assert window("Tarn") is None, "the overlay waits until onboarding is over"
    app.wait("Dub anything you hear")
    pictures.like_before("onboarding-1", welcome)
    run("xdotool", "windowactivate", "--sync", welcome, "key", "Return")
    app.wait("Conversation mode")
    pictures.like_before("onboarding-2", welcome)
    app.press("Next")
    app.wait("Why an account?")
    pictures.like_before("onboarding-3", welcome)

    # Signing in: the browser opens, and its callback comes back as a second start of the program.
    sign_in = next(node for node, _ in app.tree() if is_showing(node) and node.get_role_name() == "push button"
                   and (node.get_name() or "").startswith("Sign in"))
    app.press(sign_in.get_name())
    opened = until("the browser", lambda: (folder / "opened").exists() and (folder / "opened").read_text().split())
    assert opened == [f"{web}/auth?return_to=macos"], opened
    app.wait("Waiting for sign-in… complete it in your browser.")
    link = sign_in_with_the_browser(opened[0])
    subprocess.run([str(programs / "tarn"), link], check=True, timeout=20)
    app.wait("Signed in as ada@example.org")
    pictures.take("onboarding-3-signed-in", welcome)
    app.press("Next")
    app.wait("Sound on this computer")
    pictures.like_before("onboarding-4", welcome)
    app.press("Start using Tarn")
    overlay = until("the overlay", lambda: window("Tarn"))
    until("the end of onboarding", lambda: window("Welcome to Tarn") is None)
    pictures.take("overlay-idle", overlay)
    until("the window's icon", lambda: "Icon (48 x 48)" in run("xprop", "-id", overlay, "_NET_WM_ICON"))

    # The languages: from English to Spanish.
    app.press("Source: …")
    app.press("English (en)")
    app.press("Target: …")
    app.press("Español (es)")

    # Real speech, through the audio server.
    app.press("Start")
    app.wait("Stop")
    until("the capture", lambda: re.search(r"^tarn", run("pw-link", "-i"), re.M))
    start("pw-cat", "-p", speech("Thank you very much for your help today.",
                                 "I would like a cup of coffee and some water."))
    # The newest sentence is what is shown, so this is whichever of them has its words.
    until("a translation", lambda: any(
        re.search("gracias|ayuda|café|agua", node.get_name() or "", re.I) for node, _ in app.tree() if is_showing(node)))
    until("the sentence", lambda: any(
        re.search("coffee|water", node.get_name() or "", re.I) for node, _ in app.tree() if is_showing(node)))
    pictures.take("overlay-running", overlay)

    # Mini mode: the controls go at once and come back with the pointer, once it has been away.
    app.press("Mini mode (subtitles only)")
    until("the controls to go", lambda: app.find("Stop") is None)
    pictures.take("overlay-mini", overlay)
    place = dict(line.split("=") for line in run("xdotool", "getwindowgeometry", "--shell", overlay).split())
    move_to(10, 700)
    move_to(int(place["X"]) + int(place["WIDTH"]) // 2, int(place["Y"]) + int(place["HEIGHT"]) // 2)
    app.wait("Stop")
    app.press("Mini mode (subtitles only)")

    # A second source, and its end.
    app.press("Conversation")
    app.wait("Remove this source")
    app.press("Solo")
    until("its end", lambda: app.find("Remove this source") is None)

    # Another language, at once and everywhere.
    app.press("Subtitle size")
    app.press("简体中文")
    app.wait("停止")
    run("xdotool", "key", "Escape")
    pictures.take("overlay-chinese", overlay)

    # The end: as any window is closed.
    run("xdotool", "windowactivate", "--sync", overlay)
    run("xdotool", "key", "alt+F4")
    assert tarn.wait(timeout=20) == 0
    assert not complaints(folder / "said"), complaints(folder / "said")
    settings = (folder / "config/tarn/settings.json").read_text()
    for part in ('"onboarding.done": true', '"app.language": "zhHans"', '"session.0.targetLang": "es"'):
        assert part in settings, settings
    print("all of it; pictures in", pictures_folder)


try:
    the_first_day()
except BaseException:
    subprocess.run(["import", "-silent", "-window", "root", str(Path(pictures_folder) / "failure.png")], check=False)
    if (folder / "said").exists():
        print("what the program said:", (folder / "said").read_text())
    for node, depth in seen[0].tree() if seen else ():
        print("  " * depth + f"{node.get_role_name()}: {node.get_name()!r}{'' if is_showing(node) else ' (not showing)'}")
    raise
finally:
    for process in reversed(started):
        if process.poll() is None:
            process.send_signal(signal.SIGTERM)
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.kill()
