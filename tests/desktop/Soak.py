#!/usr/bin/python3
"""The program with two sources for long, while everything around it dies and comes back at random moments. Prints a table
of what its user saw, read from the window as a screen reader sees it. Run by scripts/soak.

Usage: Soak.py FOLDER-OF-PROGRAMS [--minutes N] [--seed S] [--fault NAME…] [--table FILE]"""

import argparse
import json
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

from Desktop import Application, run, start_accessibility, until, window
from Surroundings import Surroundings

SEEN_WITHIN = 2.0       # seconds from a fault to its text
ANSWERS_WITHIN = 1.0    # seconds that a look at the program may take
FLOWS_WITHIN = 60.0     # seconds from the healing to the next translation of each source
TEXTS = dict(re.findall(r'TARN_SESSION_FAULT\((\w+), "([^"]*)"',
                        (Path(__file__).parents[2] / "TarnApp/session/SessionHealthTexts.h").read_text()))
SENTENCES = ("the meeting will begin in ten minutes", "thank you very much for your help today",
             "the doctor will see you in half an hour", "i would like a cup of coffee and some water")


class Fault:
    """Something that goes wrong. `texts`: the cases of a session's health, one of which is to be seen in time; none:
    the user need not notice."""

    def __init__(self, name, texts, strike, heal):
        self.name, self.texts, self.strike, self.heal = name, [TEXTS[text] for text in texts], strike, heal


def faults(around, tarn):
    def kill(*programs):
        return lambda: [one.kill() for one in programs]

    def pause(*programs):
        return lambda: [one.signal(signal.SIGSTOP) for one in programs]

    def go_on(*programs):
        return lambda: [one.signal(signal.SIGCONT) for one in programs]

    def audio_again():
        around.wireplumber.kill()
        around.microphone.kill()
        around.start_audio()

    def manager_again():
        # WirePlumber 0.4 that comes back while something plays gives no ports to anything new, whoever it is. What
        # helps on any desktop is to start both again.
        around.pipewire.kill()
        audio_again()

    def suspend():
        tarn.send_signal(signal.SIGSTOP)
        around.relay.signal(signal.SIGSTOP)

    def wake():
        around.relay.signal(signal.SIGCONT)
        tarn.send_signal(signal.SIGCONT)

    return [
        Fault("relay killed", ["connectionLost"], kill(around.relay), around.start_relay),
        Fault("relay hangs", ["connectionStalled"], pause(around.relay), go_on(around.relay)),
        Fault("network cut", ["connectionLost"], around.network.cut, around.network.mend),
        Fault("network swallows all", ["connectionStalled"], around.network.swallow, around.network.mend),
        Fault("PipeWire killed", ["soundServerGone"], kill(around.pipewire), audio_again),
        Fault("WirePlumber killed", ["soundManagerGone"], kill(around.wireplumber), manager_again),
        Fault("PipeWire and WirePlumber killed", ["soundServerGone"], kill(around.pipewire, around.wireplumber),
              audio_again),
        Fault("microphone gone", ["microphoneGone"], kill(around.microphone), around.start_microphone),
        Fault("keyring killed", [], kill(around.keyring), around.start_keyring),
        Fault("machine suspended", [], suspend, wake),
    ]


class User:
    """Who looks at the window, and presses Stop and Start where that is what it says."""

    def __init__(self, tarn, subtitles):
        self.tarn, self.subtitles = tarn, subtitles
        self.app = Application(tarn.pid)
        self.slowest = 0.0

    def look(self):
        """Every name that is shown."""
        begin = time.monotonic()
        names = [node.get_name() or "" for node, _ in self.app.tree()]
        self.slowest = max(self.slowest, time.monotonic() - begin)
        return names

    def health(self):
        """The texts of health, each once; the light's own name has them all."""
        return {text for name in self.look() for text in TEXTS.values() if text in name}

    def state(self):
        return [name.split(".")[0] for name in self.look()
                if name.split(".")[0] in ("Idle", "Connecting", "Running", "Stopping", "Error")]

    def translations(self):
        """How many each source has had."""
        lines = self.subtitles.read_text(errors="replace").splitlines()
        return [sum(line.startswith(f"{source} translation:") for line in lines) for source in (1, 2)]

    def do(self, action):
        run("gapplication", "action", "com.ostrel.tarn", action, timeout=10)

    def start_again(self):
        self.do("stop")
        until("idle", lambda: set(self.state()) <= {"Idle", "Error"})
        self.do("start")


def memory(pid):
    rollup = Path(f"/proc/{pid}/smaps_rollup").read_text()
    return int(re.search(r"^Pss:\s+(\d+)", rollup, re.M).group(1)) / 1024


def descriptors(pid):
    return len(os.listdir(f"/proc/{pid}/fd"))


def threads(pid):
    return len(os.listdir(f"/proc/{pid}/task"))


class Soak:
    def __init__(self, options, folder):
        self.options, self.folder = options, folder
        self.rows, self.missed, self.sizes = [], [], []

    def run(self):
        self.prepare()
        random_source = random.Random(self.options.seed)
        begin = time.monotonic()
        end = begin + 60 * self.options.minutes
        catalogue = faults(self.around, self.tarn)
        if self.options.fault:
            catalogue = [fault for fault in catalogue if fault.name in self.options.fault]
        self.rest(60 if self.options.minutes >= 10 else 10)
        deck = []
        while time.monotonic() < end or (self.options.all and deck):
            if not deck:
                deck = random_source.sample(catalogue, len(catalogue))  # each once before any twice
            self.strike(deck.pop(), random_source.uniform(3, 12), time.monotonic() - begin)
            self.rest(random_source.uniform(2, 10))
        self.rest(60 if self.options.minutes >= 10 else 5)
        self.user.do("quit")
        if (code := self.tarn.wait(timeout=20)) != 0:
            self.missed.append(f"the program ended with {code}")

    def prepare(self):
        self.speech()
        self.around.start()
        config = self.folder / "config/tarn"
        config.mkdir(parents=True)
        (config / "settings.json").write_text(json.dumps({
            "onboarding.done": True, "onboarding.step": "ready", "app.language": "en", "mode": "conversation",
            "outputGain": 0.0, "session.0.silenceMs": 600, "session.1.silenceMs": 600,
            "session.0.captureSource": "system", "session.0.sourceLang": "en",
            "session.0.targetLang": "es", "session.1.captureSource": "mic", "session.1.sourceLang": "en",
            "session.1.targetLang": "es", "session.1.micDeviceUID": Surroundings.MICROPHONE,
            "session.1.voiceProcessing": False, "window.TarnMainWindow.frame": "100 300 1280 300"}))
        os.environ.update(QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", LANG="en_US.UTF-8", TARN_PRINT_SUBTITLES="1",
                          TARN_API_URL=f"http://127.0.0.1:{self.around.network.port}/tarn")
        self.launcher = start_accessibility()
        programs = Path(self.options.programs)
        token = run(str(programs / "tarn-relay"), "issue-token", "ada@example.org").strip()
        subtitles = self.folder / "subtitles"
        with open(subtitles, "w") as out, open(self.folder / "tarn.log", "w") as log:
            self.tarn = subprocess.Popen([str(programs / "tarn"), f"tarn://login?token={token}&user_email=ada@example.org"],
                                         stdout=out, stderr=log)
        until("the window", lambda: window("Tarn"))
        self.user = User(self.tarn, subtitles)
        until("signed in", lambda: self.user.app.find("Account"))
        self.user.do("start")
        until("both sources run", lambda: self.user.state() == ["Running", "Running"])
        until("both are translated", lambda: all(self.user.translations()), 60)

    def speech(self):
        parts = []
        for number, sentence in enumerate(SENTENCES):
            raw, padded = self.folder / f"{number}-raw.wav", self.folder / f"{number}.wav"
            run("flite", "-voice", "slt", "-t", sentence, "-o", str(raw))
            run("sox", "-q", str(raw), "-r", "16000", "-c", "1", "-b", "16", str(padded), "pad", "0.2", "1.2")
            parts.append(str(padded))
        run("sox", "-q", *parts, str(self.folder / "speech.wav"), "repeat", str(int(self.options.minutes * 60 / 12) + 30))

    def alive(self, what):
        if self.tarn.poll() is not None:
            raise AssertionError(f"{what}: the program is gone, exit status {self.tarn.returncode}")
        if self.around.speech.process.poll() is not None and self.around.pipewire.process.poll() is None:
            self.around.speak()

    def rest(self, seconds):
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            self.alive("at rest")
            self.user.look()
            self.sizes.append((time.monotonic(), memory(self.tarn.pid), descriptors(self.tarn.pid), threads(self.tarn.pid)))
            time.sleep(min(2, max(0, end - time.monotonic())))

    def strike(self, fault, lasting, at):
        begin = time.monotonic()
        fault.strike()
        seen, first = set(), None
        struck = time.monotonic()
        if fault.name != "machine suspended":
            while time.monotonic() < begin + lasting:
                now = self.user.health()
                seen |= now
                if first is None and (now & set(fault.texts) or (not fault.texts and now)):
                    first = time.monotonic() - begin
                self.alive(fault.name)
                time.sleep(0.05)
        else:
            time.sleep(lasting)
        fault.heal()
        healed = time.monotonic()
        pressed = False
        before = self.user.translations()
        flowing = [None, None]
        while None in flowing and time.monotonic() < healed + FLOWS_WITHIN:
            self.alive(fault.name)
            shown = self.user.health()
            seen |= shown
            states = self.user.state()
            if not pressed and (TEXTS["connectionLost"] in shown or "Error" in states):
                self.user.start_again()
                pressed = True
            for source, count in enumerate(self.user.translations()):
                if flowing[source] is None and count > before[source]:
                    flowing[source] = time.monotonic() - healed
            time.sleep(0.1)
        left = self.user.health()
        late = first is None or first > SEEN_WITHIN
        if fault.texts and late:
            self.missed.append(f"{at:.0f} s, {fault.name}: " + ("never seen" if first is None else f"seen after {first:.1f} s"))
        if None in flowing:
            self.missed.append(f"{at:.0f} s, {fault.name}: no translation within {FLOWS_WITHIN:.0f} s of the healing")
        if left:
            self.missed.append(f"{at:.0f} s, {fault.name}: still shown after the healing: {', '.join(sorted(left))}")
        self.rows.append((at, fault.name, struck - begin + lasting, "; ".join(sorted(seen)) or "nothing", first,
                          None if None in flowing else max(flowing), pressed))
        print(self.line(self.rows[-1]), flush=True)

    @staticmethod
    def line(row):
        at, name, lasting, seen, first, flows, pressed = row
        return (f"| {at:.0f} | {name} | {lasting:.1f} | {seen} | {'–' if first is None else f'{first:.2f}'} | "
                f"{'never' if flows is None else f'{flows:.1f}'} | {'Stop, Start' if pressed else 'by itself'} |")

    def table(self):
        lines = ["| at (s) | fault | lasted (s) | the user saw | after (s) | translations again (s after healing) | how |",
                 "|--:|---|--:|---|--:|--:|---|"]
        lines += [self.line(row) for row in self.rows]
        if self.sizes:
            begin, last = self.sizes[0][0], self.sizes[-1][0]
            lines.append("")
            for what, index, unit in (("PSS", 1, " MiB"), ("descriptors", 2, ""), ("threads", 3, "")):
                early = [size[index] for size in self.sizes if size[0] <= begin + 60]
                late = [size[index] for size in self.sizes if size[0] >= last - 60]
                middle = lambda values: sorted(values)[len(values) // 2]  # noqa: E731
                lines.append(f"{what}: {middle(early):.1f}{unit} in the first minute, {middle(late):.1f}{unit} in the last, "
                             f"{max(size[index] for size in self.sizes):.1f}{unit} at most")
                allowed = {1: max(8.0, 0.1 * middle(early)), 2: 4, 3: 2}[index]
                if middle(late) - middle(early) > allowed:
                    self.missed.append(f"{what} grew by {middle(late) - middle(early):.1f}{unit}")
            lines.append(f"slowest look at the whole window: {self.user.slowest:.2f} s")
            if self.user.slowest > ANSWERS_WITHIN:
                self.missed.append(f"the program took {self.user.slowest:.2f} s to answer")
        lines.append("missed: " + ("; ".join(self.missed) or "nothing"))
        return "\n".join(lines)


def main():
    parser = argparse.ArgumentParser(prog="scripts/soak")
    parser.add_argument("programs", help=argparse.SUPPRESS)
    parser.add_argument("--minutes", type=float, default=30)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--fault", action="append", help="only this one; may be given more than once")
    parser.add_argument("--all", action="store_true", help="goes on until each fault has come")
    parser.add_argument("--table", help="where to write the table, too")
    options = parser.parse_args()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    folder = Path(tempfile.mkdtemp(prefix="tarn-soak."))
    soak = Soak(options, folder)
    soak.around = Surroundings(folder, Path(options.programs))
    failed = None
    try:
        soak.run()
    except Exception as failure:  # what was seen so far is told all the same
        failed = failure
        soak.missed.append(f"{type(failure).__name__}: {failure}")
    finally:
        if hasattr(soak, "tarn"):
            soak.tarn.kill()
            soak.tarn.wait()
        soak.around.end()
        if hasattr(soak, "launcher"):
            soak.launcher.terminate()  # with its bus
            soak.launcher.wait()
    table = soak.table()
    print("\n" + table)
    if options.table:
        Path(options.table).write_text(table + "\n")
    if soak.missed:
        print(f"the logs are in {folder}", file=sys.stderr)
    else:
        shutil.rmtree(folder, ignore_errors=True)
    if failed:
        raise failed
    sys.exit(1 if soak.missed else 0)


main()
