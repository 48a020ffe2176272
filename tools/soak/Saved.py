#!/usr/bin/python3
"""What `tarn-cli --save` leaves: the times of its subtitles against those of the recording, what other programs say of
the files, what a kill at a random moment costs, and a disk that takes nothing more. Run by scripts/transcript-trial.

Usage: Saved.py FOLDER-OF-PROGRAMS [--minutes N] [--kills N] [--seed S] [--only times|kills|disks]"""

import argparse
import json
import os
import random
import re
import statistics
import subprocess
import tempfile
import time
from pathlib import Path

import webvtt
from Desktop import run
from Spoken import Speech, private_relay, said_as

SPOKEN_EVERY = 0.05  # seconds between the utterances of a run that is killed


def seconds(text):
    hours, minutes, rest = text.replace(",", ".").split(":")
    return 3600 * int(hours) + 60 * int(minutes) + float(rest)


def cues(path):
    """(begin, end, text) of each cue of an SRT file, or of a WebVTT one as its own library reads it."""
    if path.suffix == ".vtt":
        return [(seconds(cue.start), seconds(cue.end), cue.text) for cue in webvtt.read(str(path))]
    found = re.findall(r"\d+\n(\S+) --> (\S+)\n(.*?)\n\n", path.read_text() + "\n", re.DOTALL)
    return [(seconds(begin), seconds(end), text) for begin, end, text in found]


def cli(programs, port, token, *options, **how):
    words = [programs / "tarn-cli", "--from", "en", "--to", "es", "--server", f"http://127.0.0.1:{port}/tarn", *options]
    return subprocess.Popen(words, env=dict(os.environ, TARN_TOKEN=token), **how)


def report_errors(name, errors):
    sizes = sorted(map(abs, errors))
    print(f"  {name}: median {statistics.median(errors):+.2f} s, worst {max(errors, key=abs):+.2f} s, "
          f"95 % within {sizes[int(len(sizes) * 0.95)]:.2f} s")


def times(programs, folder, minutes, chance):
    speech = Speech(folder, minutes * 60, chance)
    relay, port, token = private_relay(programs)
    files = [Path(folder) / name for name in ("talk.srt", "talk.vtt")]
    saving = [word for file in files for word in ("--save", file)]
    try:
        cli(programs, port, token, "--input", speech.path, "--silence-ms", "700", "--drain", "60", "--save-texts",
            "original", *saving, stdout=subprocess.DEVNULL).wait()
    finally:
        relay.kill()
    for file in files:
        read = cues(file)
        begins, ends, left = [], [], list(enumerate(speech.order))
        for begin, end, text in read:
            number = next((at for at, (_, one) in enumerate(left) if one == said_as(text)), None)
            if number is not None:
                place = left[number][0]
                left = left[number + 1:]
                begins.append(begin - speech.begins[place])
                ends.append(end - speech.ends[place])
        overlaps = sum(1 for one, other in zip(read, read[1:]) if other[0] < one[1])
        print(f"{file.name}: {len(read)} cues of {len(speech.order)} sentences, overlapping {overlaps}")
        report_errors("begin", begins)
        report_errors("end", ends)
        said = subprocess.run(["ffprobe", "-v", "warning", "-show_entries", "packet=pts_time", "-of", "csv=p=0", file],
                              capture_output=True, text=True, check=False)
        print(f"  ffprobe: {len(said.stdout.split())} packets, status {said.returncode}, "
              f"warnings: {said.stderr.strip() or 'none'}")


def script(folder, count):
    path = Path(folder) / "script.jsonl"
    lines = []
    for number in range(count):
        for kind, text in (("conversation.item.input_audio_transcription.completed", f"said number {number}."),
                           ("response.audio_transcript.done", f"dicho número {number}.")):
            lines.append(json.dumps({"t": SPOKEN_EVERY * (number + 1), "event": {"type": kind, "transcript": text}}))
    path.write_text("\n".join(lines) + "\n")
    return path


def check(file, told):
    """How many utterances that were told before the kill are missing, and what is wrong with the file."""
    text = file.read_bytes().decode("utf-8", "strict") if file.exists() else ""
    saved = len(set(re.findall(r"dicho número (\d+)\.", text)))
    wrong = []
    if file.suffix == ".srt" and text and "\n\n" not in text[-2:]:
        wrong.append("cut")
    if file.suffix == ".vtt" and text:
        webvtt.read(str(file))
    if file.suffix == ".jsonl":
        for line in text.splitlines():
            json.loads(line)
    return max(0, told - saved), wrong


def kills(programs, folder, count, chance):
    relay, port, token = private_relay(programs, "--engine", "script", str(script(folder, 400)))
    sound = Path(folder) / "silence.raw"
    sound.write_bytes(bytes(32000 * 60))
    endings = ("srt", "vtt", "txt", "csv", "jsonl")
    missing, broken = {ending: [] for ending in endings}, []
    try:
        for _ in range(count):
            files = [Path(folder) / f"killed.{ending}" for ending in endings]
            saving = [word for file in files for word in ("--save", file)]
            with open(sound, "rb") as source:
                process = cli(programs, port, token, "--input", "-", *saving, stdin=source, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, text=True)
                first = process.stdout.readline()
                time.sleep(chance.uniform(0, 2))
                process.kill()
                told = (first + process.stdout.read()).count("es: dicho")
                process.wait()
            for file in files:
                try:
                    lost, wrong = check(file, told)
                    missing[file.suffix[1:]].append(lost)
                    broken += [f"{file.suffix}: {one}" for one in wrong]
                except (ValueError, webvtt.errors.MalformedFileError) as error:
                    broken.append(f"{file.suffix}: {error}")
                file.unlink(missing_ok=True)
    finally:
        relay.kill()
    for ending, lost in missing.items():
        spread = ", ".join(f"{sum(1 for one in lost if one == size)} × {size}" for size in sorted(set(lost)))
        print(f"{ending}: {len(lost)} kills; utterances told and not in the file: {spread}")
    print(f"files that do not parse: {len(broken)} {broken[:3] or ''}")


def disks(programs, folder):
    """A disk of a few blocks, and a folder that takes nothing."""
    relay, port, token = private_relay(programs, "--engine", "script", str(script(folder, 100)))
    sound = Path(folder) / "silence.raw"
    sound.write_bytes(bytes(32000 * 8))
    small = Path(folder) / "small"
    small.mkdir()
    mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=4k", "tmpfs", small], check=False).returncode == 0
    closed = Path("/proc")
    try:
        for name, path in ([("disk full", small / "a.srt")] if mounted else []) + [("read-only", closed / "a.srt")]:
            with open(sound, "rb") as source:
                process = cli(programs, port, token, "--input", "-", "--silence-ms", "100", "--save", path,
                              stdin=source, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
                out, complaints = process.communicate()
            told = out.count("es: dicho")
            print(f"{name}: status {process.returncode}, told {told} of 100, said: "
                  f"{complaints.strip().replace(str(folder), '…')}")
            if path.exists():
                print(f"  the file: {len(cues(path))} whole cues, {path.stat().st_size} bytes")
    finally:
        relay.kill()
        if mounted:
            run("umount", str(small))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("programs", type=lambda name: Path(name).resolve())
    parser.add_argument("--minutes", type=float, default=4)
    parser.add_argument("--kills", type=int, default=200)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--only", choices=("times", "kills", "disks"))
    asked = parser.parse_args()
    chance = random.Random(asked.seed)
    with tempfile.TemporaryDirectory() as folder:
        os.environ.update(HOME=folder, XDG_STATE_HOME=folder, XDG_CONFIG_HOME=folder, XDG_DATA_HOME=folder)
        if asked.only in (None, "times"):
            times(asked.programs, folder, asked.minutes, chance)
        if asked.only in (None, "kills"):
            kills(asked.programs, folder, asked.kills, chance)
        if asked.only in (None, "disks"):
            disks(asked.programs, folder)


main()
