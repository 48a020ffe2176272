#!/usr/bin/python3
"""The program with two sources for long, while everything around it dies and comes back at random moments. Prints a
table of what its user saw, read from the window as a screen reader sees it. What was said before the healing of a fault
is no sign of recovery, and the translation must be heard, too. Run by scripts/soak.

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
from Sound import SENTENCES
from Surroundings import Surroundings

SEEN_WITHIN = 2.0       # seconds from a fault to its text
ANSWERS_WITHIN = 1.0    # seconds that a look at the program may take
FLOWS_WITHIN = 60.0     # seconds from the healing until each source translates what is said since, and is heard
FLAT_WITHIN = 2.0       # MiB by which memory may change in the second half
TEXTS = dict(re.findall(r'TARN_TEXT\((\w+), "([^"]*)"',
                        (Path(__file__).parents[2] / "TarnApp/localization/HealthTexts.h").read_text()))
STATES = ("Idle", "Connecting", "Running", "Stopping", "Error")


def shown_in(light):
    """The texts of health that it has, whatever they fill in."""
    return {text for text in TEXTS.values() if re.search(re.escape(text).replace("%1", ".+"), light)}


class Fault:
    """Something that goes wrong. `texts`: the cases of a session's health, one of which each of the `sources` that have
    the fault is to show within `soon` seconds; none: the user need not notice. `meanwhile`: what the user does in it.
    `lasts`: from how many seconds to how many."""

    def __init__(self, name, texts, strike, heal, sources=(0, 1), meanwhile=None,
                 lasts=(3, 12), soon=SEEN_WITHIN):
        self.name, self.texts, self.strike, self.heal = name, [TEXTS[text] for text in texts], strike, heal
        self.sources, self.meanwhile, self.lasts, self.soon = sources, meanwhile, lasts, soon


def faults(around, tarn, user):
    def kill(*programs):
        return lambda: [one.kill() for one in programs]

    def pause(*programs):
        return lambda: [one.signal(signal.SIGSTOP) for one in programs]

    def go_on(*programs):
        return lambda: [one.signal(signal.SIGCONT) for one in programs]

    def manager_again():
        # What plays while WirePlumber 0.4 comes back blocks it until it is started again.
        around.start_manager()
        around.start_sound()

    def suspend():
        tarn.send_signal(signal.SIGSTOP)
        around.relay.signal(signal.SIGSTOP)

    def wake():
        around.relay.signal(signal.SIGCONT)
        tarn.send_signal(signal.SIGCONT)

    return [
        Fault("relay killed", ["connectionResuming"], kill(around.relay), around.start_relay),
        Fault("relay hangs", ["connectionStalled"], pause(around.relay), go_on(around.relay)),
        Fault("network cut", ["connectionResuming"], around.network.cut, around.network.mend),
        Fault("network swallows all", ["connectionStalled"], around.network.swallow, around.network.mend),
        # Some seconds pass until some seconds of sound wait.
        Fault("network slow", ["connectionSlow"], lambda: around.network.slow(25000), around.network.mend,
              lasts=(30, 45), soon=8),
        Fault("PipeWire killed", ["soundServerGone"], kill(around.pipewire), around.start_audio),
        Fault("WirePlumber killed", ["soundManagerGone"], kill(around.wireplumber), manager_again),
        Fault("PipeWire and WirePlumber killed", ["soundServerGone"], kill(around.pipewire, around.wireplumber),
              around.start_audio),
        Fault("microphone gone", ["microphoneGone"], kill(around.microphone), around.start_microphone, sources=[1]),
        Fault("keyring killed", [], kill(around.keyring), around.start_keyring),
        Fault("keyring hangs at Start", [], pause(around.keyring), go_on(around.keyring), meanwhile=user.start_again),
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

    def lights(self):
        """What the light of each source says: its state, and what is wrong beside it."""
        lights = (name for name in self.look() if name.split(".")[0] in STATES)
        return [(light.split(".")[0], shown_in(light)) for light in lights]

    def state(self):
        return [state for state, _ in self.lights()]

    def translations(self):
        """Numbers of the sentences that each source has translated."""
        lines = self.subtitles.read_text(errors="replace").splitlines()
        return [[next((number for number, (_, words) in enumerate(SENTENCES) if re.search(words, line, re.I)), None)
                 for line in lines if line.startswith(f"{source} translation:")] for source in (1, 2)]

    def do(self, action):
        run("gapplication", "action", "com.ostrel.tarn", action, timeout=10)

    def start_again(self):
        self.do("stop")
        until("idle", lambda: set(self.state()) <= {"Idle", "Error"})
        self.do("start")


def memory(pid):
    """MiB of the program's own: what no file and no other process has."""
    return int(re.search(r"^RssAnon:\s+(\d+)", Path(f"/proc/{pid}/status").read_text(), re.M).group(1)) / 1024


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
        catalogue = faults(self.around, self.tarn, self.user)
        if self.options.fault:
            catalogue = [fault for fault in catalogue if fault.name in self.options.fault]
        self.rest(60 if self.options.minutes >= 10 else 10)
        deck = []
        while time.monotonic() < end or (self.options.all and deck):
            if not deck:
                deck = random_source.sample(catalogue, len(catalogue))  # each once before any twice
            fault = deck.pop()
            self.strike(fault, random_source.uniform(*fault.lasts), time.monotonic() - begin)
            self.rest(random_source.uniform(2, 10))
        self.rest(60 if self.options.minutes >= 10 else 5)
        self.user.do("quit")
        if (code := self.tarn.wait(timeout=20)) != 0:
            self.missed.append(f"the program ended with {code}")

    def prepare(self):
        self.around.start()
        config = self.folder / "config/tarn"
        config.mkdir(parents=True)
        (config / "settings.json").write_text(json.dumps({
            "onboarding.done": True, "onboarding.step": "ready", "app.language": "en", "mode": "conversation",
            "outputGain": 1.0, "session.0.silenceMs": 600, "session.1.silenceMs": 600,
            "session.0.captureSource": "system", "session.0.sourceLang": "en",
            "session.0.targetLang": "es", "session.1.captureSource": "mic", "session.1.sourceLang": "en",
            "session.1.targetLang": "es", "session.1.micDeviceUID": Surroundings.MICROPHONE,
            "session.1.voiceProcessing": False, "window.TarnMainWindow.frame": "100 300 1280 300"}))
        os.environ.update(QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", LANG="en_US.UTF-8", TARN_PRINT_SUBTITLES="1",
                          TARN_API_URL=f"http://127.0.0.1:{self.around.network.port}/tarn")
        self.launcher = start_accessibility()
        programs = Path(self.options.programs)
        token = run(str(programs / "tarn-relay"), "issue-token", "ada@example.org").strip()
        self.link = f"tarn://login?token={token}&user_email=ada@example.org"
        subtitles = self.folder / "subtitles"
        with open(subtitles, "w") as out, open(self.folder / "tarn.log", "w") as log:
            self.tarn = subprocess.Popen([str(programs / "tarn"), self.link],
                                         stdout=out, stderr=log)
        until("the window", lambda: window("Tarn"))
        self.user = User(self.tarn, subtitles)
        until("signed in", lambda: self.user.app.find("Account"))
        self.user.do("start")
        until("both sources run", lambda: self.user.state() == ["Running", "Running"])
        until("both are translated", lambda: all(self.user.translations()), 60)
        until("the dub", lambda: self.around.ear.last)

    def alive(self, what):
        if self.tarn.poll() is not None:
            raise AssertionError(f"{what}: the program is gone, exit status {self.tarn.returncode}")
        self.around.go_on_speaking()

    def rest(self, seconds):
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            self.alive("at rest")
            self.user.look()
            pid = self.tarn.pid
            self.sizes.append((time.monotonic(), memory(pid), descriptors(pid), threads(pid)))
            time.sleep(min(2, max(0, end - time.monotonic())))

    def strike(self, fault, lasting, at):
        begin = time.monotonic()
        fault.strike()
        seen, first = set(), {}
        struck = time.monotonic()
        if fault.meanwhile:
            fault.meanwhile()
        while time.monotonic() < begin + lasting:
            if fault.name == "machine suspended":  # which nobody looks at
                time.sleep(lasting)
                break
            for source, (_, now) in enumerate(self.user.lights()):
                seen |= now
                if now & set(fault.texts) or (not fault.texts and now):
                    first.setdefault(source, time.monotonic() - begin)
            self.alive(fault.name)
            time.sleep(0.1)
        fault.heal()
        healed = time.monotonic()
        flows, left, pressed = self.recover(fault, healed, seen)
        missed = lambda what: self.missed.append(f"{at:.0f} s, {fault.name}: {what}")  # noqa: E731
        for source in fault.sources if fault.texts else ():
            if first.get(source, fault.soon + 1) > fault.soon:
                said = f"said so after {first[source]:.1f} s" if source in first else "never said so"
                missed(f"source {source + 1} {said}")
        for what, when in flows.items():
            if when is None:
                missed(f"{what} within {FLOWS_WITHIN:.0f} s of the healing")
        if left:
            missed(f"still shown after the healing: {', '.join(sorted(left))}")
        if not self.signed_in():
            missed("signed out")
            run(str(Path(self.options.programs) / "tarn"), self.link, timeout=20)
            until("signed in again", self.signed_in)
        if None in flows.values():
            self.user.start_again()  # so that what comes next is not a consequence
        self.rows.append((at, fault.name, struck - begin + lasting, "; ".join(sorted(seen)) or "nothing",
                          max(first.values(), default=None), list(flows.values()), pressed))
        print(self.line(self.rows[-1]), flush=True)

    def recover(self, fault, healed, seen):
        """When each source had translated something that was said after the healing, and when it was heard then; what
        is still shown in the end, and whether Stop and Start were pressed."""
        talkers = (self.around.speech, self.around.microphone)
        before = [len(numbers) for numbers in self.user.translations()]
        since = [talker.upcoming(healed) for talker in talkers]
        flows = dict.fromkeys(("no translation of source 1", "no translation of source 2", "no dub"))
        pressed = False
        left = set()
        while time.monotonic() < healed + FLOWS_WITHIN:
            self.alive(fault.name)
            lights = self.user.lights()
            left = set().union(*(now for _, now in lights))
            seen |= left
            if not pressed and (TEXTS["connectionLost"] in left or "Error" in (state for state, _ in lights)):
                self.user.start_again()
                pressed = True
                self.missed.append(f"{fault.name}: Stop and Start had to be pressed")
            for source, numbers in enumerate(self.user.translations()):
                what = f"no translation of source {source + 1}"
                # One that was said shortly before the healing would be of the other half of the round.
                if flows[what] is None and any((number - since[source]) % len(SENTENCES) < len(SENTENCES) // 2
                                               for number in numbers[before[source]:] if number is not None):
                    flows[what] = time.monotonic() - healed
            texts = [flows["no translation of source 1"], flows["no translation of source 2"]]
            if flows["no dub"] is None and None not in texts and self.around.ear.last > healed + max(texts):
                flows["no dub"] = self.around.ear.last - healed
            if None not in flows.values() and not left:
                break
            time.sleep(0.1)
        return flows, left, pressed

    def signed_in(self):
        return subprocess.run([str(Path(self.options.programs) / "tarn-cli"), "status"], stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, timeout=30).returncode == 0

    @staticmethod
    def line(row):
        at, name, lasting, seen, first, flows, pressed = row
        text, dub = (None if None in part else max(part) for part in (flows[:2], flows[2:]))
        shown = lambda when: "never" if when is None else f"{when:.1f}"  # noqa: E731
        return (f"| {at:.0f} | {name} | {lasting:.1f} | {seen} | {'–' if first is None else f'{first:.2f}'} | "
                f"{shown(text)} | {shown(dub)} | {'Stop, Start' if pressed else 'by itself'} |")

    def memory_curve(self):
        """The middle of each minute; of a soak that is long enough, the second half must be flat."""
        minutes = {}
        for size in self.sizes:
            minutes.setdefault(int((size[0] - self.sizes[0][0]) // 60), []).append(size[1])
        curve = [sorted(values)[len(values) // 2] for _, values in sorted(minutes.items())]
        half = curve[len(curve) // 2:]
        if len(curve) >= 10 and max(half) - min(half) > FLAT_WITHIN:
            self.missed.append(f"memory moved by {max(half) - min(half):.1f} MiB in the second half")
        return (f"memory (RssAnon), MiB, each minute: {' '.join(f'{size:.1f}' for size in curve)}; "
                f"second half from {min(half):.1f} to {max(half):.1f}")

    def table(self):
        lines = ["| at (s) | fault | lasted (s) | the user saw | after (s) | translations again (s after healing) | "
                 "dub again | how |", "|--:|---|--:|---|--:|--:|--:|---|"]
        lines += [self.line(row) for row in self.rows]
        if self.sizes:
            lines.append("")
            lines.append(self.memory_curve())
            begin, last = self.sizes[0][0], self.sizes[-1][0]
            for what, index, unit in (("descriptors", 2, ""), ("threads", 3, "")):
                early = [size[index] for size in self.sizes if size[0] <= begin + 60]
                late = [size[index] for size in self.sizes if size[0] >= last - 60]
                middle = lambda values: sorted(values)[len(values) // 2]  # noqa: E731
                lines.append(f"{what}: {middle(early):.1f}{unit} in the first minute, {middle(late):.1f}{unit} in the last, "
                             f"{max(size[index] for size in self.sizes):.1f}{unit} at most")
                if middle(late) - middle(early) > {2: 4, 3: 2}[index]:
                    self.missed.append(f"{what} grew by {middle(late) - middle(early):.1f}{unit}")
            lines.append(f"slowest look at the whole window: {self.user.slowest:.2f} s")
            if self.user.slowest > ANSWERS_WITHIN:
                self.missed.append(f"the program took {self.user.slowest:.2f} s to answer")
        lines.append(f"Stop and Start were pressed {sum(row[-1] for row in self.rows)} times")
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
