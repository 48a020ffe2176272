#!/usr/bin/python3
"""A command-line run whose connection is cut again and again while somebody speaks without end. Prints which of the
known sentences were lost, doubled or out of order, and how long the run took from the network's return until it was live
again; or, with --outages, what a user saw in each outage of so many seconds. Run by scripts/cut-connection.

Usage: Cuts.py FOLDER-OF-PROGRAMS [--minutes N] [--cuts N] [--seed S] [--outages SECONDS…]"""

import argparse
import json
import os
import random
import statistics
import subprocess
import tempfile
import threading
import time
from pathlib import Path

from Spoken import Speech, compare, private_relay, said_as
from Surroundings import Network

SETTLED = 8  # seconds of speech in front of the first cut and behind the last one


class Translation(threading.Thread):
    """A run of the command line, with the time at which each of its lines came."""

    def __init__(self, programs, port, token, speech):
        super().__init__(daemon=True)
        self.lines, self.began = [], None
        self.process = subprocess.Popen(
            [programs / "tarn-cli", "--input", speech.path, "--from", "en", "--to", "es", "--silence-ms", "700",
             "--resume", "--format", "jsonl", "--drain", "60", "--server", f"http://127.0.0.1:{port}/tarn"],
            env=dict(os.environ, TARN_TOKEN=token), stdout=subprocess.PIPE, text=True)
        self.start()

    def run(self):
        for text in self.process.stdout:
            line = json.loads(text)
            if self.began is None and line.get("value") == "running":
                self.began = time.monotonic()
            self.lines.append((time.monotonic(), line))

    def of(self, event):
        return [(at, line) for at, line in self.lines if line["event"] == event]

    def finals(self, event):
        return [(at, line["text"]) for at, line in self.of(event) if line["done"] and line["text"]]

    def faults(self):
        return [(at, line["faults"], line["behind_s"]) for at, line in self.of("health")]

    def wait_until(self, moment):
        while self.began is None:
            time.sleep(0.05)
        time.sleep(max(0.0, self.began + moment - time.monotonic()))


def cut_often(translation, network, speech, cuts, chance):
    moments = sorted(chance.uniform(SETTLED, speech.seconds - SETTLED) for _ in range(cuts))
    mended = []
    for moment in moments:
        translation.wait_until(moment)
        network.cut()
        time.sleep(chance.choice((0.0, chance.uniform(0, 2), chance.uniform(0, 10))))
        network.mend()
        mended.append(time.monotonic())
    return mended


def report_cuts(translation, speech, mended):
    changes = translation.faults()
    waits = []
    for moment, following in zip(mended, mended[1:] + [float("inf")]):
        live = [at for at, faults, _ in changes if moment <= at < following and not faults]
        before = [faults for at, faults, _ in changes if at < moment]
        if before and before[-1] and live:
            waits.append(live[0] - moment)
    for event in ("source", "translation"):
        finals = translation.finals(event)
        print(f"{event}: {len(finals)} final texts of {len(speech.order)} sentences")
    heard = [said_as(text) for _, text in translation.finals("source")]
    lost, doubled, moved = compare(heard, speech.order)
    print(f"cuts {len(mended)}; sentences lost {lost}, told beside them {doubled}, the same twice in a row {moved}; "
          f"gaps {sum(line['seconds'] for _, line in translation.of('gap')):.1f} s")
    if waits:
        print(f"network back to live: median {statistics.median(waits):.1f} s, worst {max(waits):.1f} s, "
              f"of {len(waits)}")


def report_outage(translation, speech, seconds, cut):
    shown = ", ".join(f"{at - cut:.1f} s: {' '.join(faults) or 'well'}{f' ({behind} s)' if behind else ''}"
                      for at, faults, behind in translation.faults() if at > cut)
    gaps = sum(line["seconds"] for _, line in translation.of("gap"))
    heard = [said_as(text) for _, text in translation.finals("source")]
    lost, doubled, _ = compare(heard, speech.order)
    last = translation.finals("translation")
    lag = last[-1][0] - translation.began - speech.ends[-1] if last else float("nan")
    print(f"outage {seconds:g} s: gap {gaps:.1f} s, sentences lost {lost} of {len(speech.order)}, told beside them "
          f"{doubled}, last translation {lag:.1f} s after its speech\n    {shown}", flush=True)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("programs", type=lambda name: Path(name).resolve())
    parser.add_argument("--minutes", type=float, default=20)
    parser.add_argument("--cuts", type=int, default=100)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--outages", type=float, nargs="+", default=[])
    asked = parser.parse_args()
    chance = random.Random(asked.seed)
    with tempfile.TemporaryDirectory() as folder:
        os.environ.update(HOME=folder, XDG_STATE_HOME=folder, XDG_CONFIG_HOME=folder, XDG_DATA_HOME=folder)
        relay, port, token = private_relay(asked.programs)
        try:
            for seconds in asked.outages:
                network = Network(port)
                speech = Speech(folder, seconds + 60, chance)
                translation = Translation(asked.programs, network.port, token, speech)
                translation.wait_until(20)
                network.cut()
                cut = time.monotonic()
                time.sleep(seconds)
                network.mend()
                translation.process.wait()
                translation.join()
                report_outage(translation, speech, seconds, cut)
            if not asked.outages:
                network = Network(port)
                speech = Speech(folder, asked.minutes * 60, chance)
                translation = Translation(asked.programs, network.port, token, speech)
                mended = cut_often(translation, network, speech, asked.cuts, chance)
                translation.process.wait()
                translation.join()
                report_cuts(translation, speech, mended)
        finally:
            relay.kill()


main()
