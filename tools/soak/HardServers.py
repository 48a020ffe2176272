#!/usr/bin/python3
"""Command-line runs whose server, once they run, turns hard: each new connection is refused by HTTP, closed at once, left
without an answer, or ended as soon as the relay behind it has agreed to it. Prints how often each run tries in a minute,
and what that costs of a processor. Run by scripts/hard-servers.

Usage: HardServers.py FOLDER-OF-PROGRAMS [--minutes N]"""

import argparse
import json
import os
import subprocess
import tempfile
import threading
import time
import wave
from pathlib import Path

from Desktop import run
from Sound import Talker
from Surroundings import Network

ALIVE = 15  # seconds of a run before its server turns hard
TICKS = os.sysconf("SC_CLK_TCK")


class HardNetwork(Network):
    """A road whose end treats every new connection in one way, once it is `hard`. `tries`: when each of them came."""

    def __init__(self, port, way):
        self.way, self.is_hard, self.tries = way, False, []
        super().__init__(port)

    def turn_hard(self):
        self.is_hard = True
        self.cut()
        self.is_cut = False

    def _accept(self):
        while True:
            client, _ = self.listener.accept()
            if not self.is_hard:
                self._carry_on(client)
                continue
            self.tries.append(time.monotonic())
            getattr(self, "_" + self.way)(client)

    @staticmethod
    def _refuses(client):
        client.sendall(b"HTTP/1.1 503 Service Unavailable\r\nContent-Length: 0\r\nConnection: close\r\n\r\n")
        client.close()

    @staticmethod
    def _closes(client):
        client.close()

    def _says_nothing(self, client):
        self.sockets.add(client)

    def _agrees(self, client):
        self._carry_on(client)
        threading.Timer(0.2, self.cut_these, [list(self.sockets)]).start()

    @staticmethod
    def cut_these(sockets):
        for one in sockets:
            try:
                one.shutdown(2)
            except OSError:
                pass


class Run:
    def __init__(self, programs, port, token, speech, way):
        self.network = HardNetwork(port, way)
        self.process = subprocess.Popen(
            [programs / "tarn-cli", "--input", speech, "--from", "en", "--to", "es", "--resume", "--format", "jsonl",
             "--server", f"http://127.0.0.1:{self.network.port}/tarn"],
            env=dict(os.environ, TARN_TOKEN=token), stdout=subprocess.PIPE, text=True)
        for text in self.process.stdout:
            if json.loads(text).get("value") == "running":
                break
        threading.Thread(target=self.process.stdout.read, daemon=True).start()

    def usage(self):
        """Processor time in seconds, and memory in MiB."""
        fields = Path(f"/proc/{self.process.pid}/stat").read_text().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / TICKS, int(fields[21]) * 4096 / 2**20


def speech_for(folder, seconds):
    talker = Talker(folder, "speech")
    parts = talker.parts()
    path = Path(folder) / "speech.wav"
    with wave.open(str(path), "wb") as whole:
        whole.setparams((1, 2, 16000, 0, "NONE", ""))
        for turn in range(int(seconds / min(talker.lengths)) + 1):
            with wave.open(str(parts[turn % len(parts)])) as part:
                whole.writeframes(part.readframes(part.getnframes()))
    return path


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("programs", type=lambda name: Path(name).resolve())
    parser.add_argument("--minutes", type=int, default=60)
    asked = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        os.environ.update(HOME=folder, XDG_STATE_HOME=folder, XDG_CONFIG_HOME=folder, XDG_DATA_HOME=folder)
        speech = speech_for(folder, asked.minutes * 60 + ALIVE + 60)
        relay = subprocess.Popen([asked.programs / "tarn-relay", "--listen", "127.0.0.1:0"],
                                 stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        try:
            port = int(relay.stdout.readline().rsplit(":", 1)[1].split("/")[0])
            token = run(str(asked.programs / "tarn-relay"), "issue-token", "a@example.org").strip()
            runs = [Run(asked.programs, port, token, speech, way)
                    for way in ("refuses", "closes", "says_nothing", "agrees")]
            time.sleep(ALIVE)
            well = [one.usage() for one in runs]
            begin = time.monotonic()
            for one in runs:
                one.network.turn_hard()
            time.sleep(60 * asked.minutes)
            for one, (cost, size) in zip(runs, well):
                now_cost, now_size = one.usage()
                minutes = [sum(1 for at in one.network.tries if 60 * n <= at - begin < 60 * (n + 1))
                           for n in range(asked.minutes)]
                spent = (now_cost - cost) / (60 * asked.minutes)
                print(f"{one.network.way}: tries a minute {minutes[0]} at first, {minutes[-1]} at last, {max(minutes)} at "
                      f"most, {sum(minutes)} in all; {100 * spent:.2f} % of a processor, where it ran "
                      f"{100 * cost / ALIVE:.2f} %; {size:.1f} → {now_size:.1f} MiB; "
                      f"{'still running' if one.process.poll() is None else 'ENDED'}", flush=True)
                one.process.kill()
        finally:
            relay.kill()


main()
