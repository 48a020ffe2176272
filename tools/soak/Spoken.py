"""A recording of the known sentences, what was understood of it, and a relay that translates it."""

import array
import difflib
import subprocess
import wave
from pathlib import Path

from Desktop import run
from Sound import SENTENCES, Talker


def private_relay(programs, *options):
    """The process, its port, and a token for it. Its files are where XDG_STATE_HOME says."""
    relay = subprocess.Popen([programs / "tarn-relay", "--listen", "127.0.0.1:0", *options], stdout=subprocess.PIPE,
                             stderr=subprocess.DEVNULL, text=True)
    port = int(relay.stdout.readline().rsplit(":", 1)[1].split("/")[0])
    return relay, port, run(str(programs / "tarn-relay"), "issue-token", "a@example.org").strip()


def loud_part(path):
    """When the speech in a recording begins and ends, in seconds: where 10 ms of it are within 40 dB of its peak."""
    with wave.open(str(path)) as sound:
        rate, samples = sound.getframerate(), array.array("h", sound.readframes(sound.getnframes()))
    step = rate // 100
    peaks = [max(map(abs, samples[at:at + step])) for at in range(0, len(samples) - step, step)]
    loud = [number for number, peak in enumerate(peaks) if peak > max(peaks) / 100]
    return loud[0] / 100, (loud[-1] + 1) / 100


def said_as(text):
    """Number of the sentence that shares most words with what was heard; none where that is less than a third."""
    words = set(text.lower().split())
    shared = [len(words & set(sentence.split())) / len(set(sentence.split())) for sentence, _ in SENTENCES]
    best = max(range(len(shared)), key=shared.__getitem__)
    return best if shared[best] >= 1 / 3 else None


class Speech:
    """Sentences in an order by chance, in one recording. `begins`, `ends`: the first and the last sound of each, in
    seconds from its start."""

    def __init__(self, folder, seconds, chance):
        talker = Talker(folder, "speech")
        parts = talker.parts()
        loud = [loud_part(part) for part in parts]
        self.order, self.begins, self.ends, length = [], [], [], 0.0
        while length < seconds:
            number = chance.choice([one for one in range(len(parts)) if one not in self.order[-2:]])
            self.order.append(number)
            self.begins.append(length + loud[number][0])
            self.ends.append(length + loud[number][1])
            length += talker.lengths[number]
        self.path = Path(folder) / "speech.wav"
        with wave.open(str(self.path), "wb") as whole:
            whole.setparams((1, 2, 16000, 0, "NONE", ""))
            for number in self.order:
                with wave.open(str(parts[number])) as part:
                    whole.writeframes(part.readframes(part.getnframes()))
        self.seconds = length


def compare(heard, wanted):
    """How many sentences were lost, doubled, and out of order."""
    lost = doubled = 0
    for kind, first, last, other, end in difflib.SequenceMatcher(None, wanted, heard, autojunk=False).get_opcodes():
        if kind in ("delete", "replace"):
            lost += last - first
        if kind in ("insert", "replace"):
            doubled += end - other
    moved = sum(1 for before, after in zip(heard, heard[1:]) if before is not None and before == after)
    return lost, doubled, moved
