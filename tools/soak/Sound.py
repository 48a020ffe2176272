"""Who speaks to the program, and an ear for what it answers."""

import array
import math
import os
import subprocess
import threading
import time
import wave
from pathlib import Path

from Desktop import run

# What is said, in turns, and how its translation is known.
SENTENCES = (("the meeting will begin in ten minutes", "reunión|minutos"),
             ("thank you very much for your help today", "gracias|ayuda"),
             ("the doctor will see you in half an hour", "doctor"),
             ("i would like a cup of coffee and some water", "café|agua"),
             ("my brother works in a small hospital", "hermano|hospital"),
             ("the children are playing in the garden", "niños|jardín"),
             ("please close the window and open the door", "ventana|puerta"),
             ("we need more money for the new school", "necesitamos|dinero"),
             ("the train to the city leaves every morning", "tren|ciudad"),
             ("she bought a red car last summer", "coche|verano"),
             ("it is very cold in the winter here", "frío|invierno"),
             ("the president will speak about the war", "presidente|hablará"))
ROUNDS = 10  # in one recording, before it has to be started again


class Program:
    """One that is started again and again."""

    def __init__(self, log, *words, stdin=None, **environment):
        self.words, self.log, self.stdin = words, log, stdin
        self.environment = environment
        self.process = None

    def start(self, **options):
        with open(self.log, "ab") as log:
            given = subprocess.PIPE if self.stdin is not None else subprocess.DEVNULL
            self.process = subprocess.Popen(self.words, env=dict(os.environ, **self.environment), stdin=given, stderr=log,
                                            **{"stdout": log, **options})
        if self.stdin is not None:
            self.process.stdin.write(self.stdin)
            self.process.stdin.close()

    def signal(self, which):
        self.process.send_signal(which)

    def kill(self):
        if self.process is not None:
            self.process.kill()
            self.process.wait()


class Talker(Program):
    """Says the sentences on the left channel, so that the right one has the dub alone. Where it is started again it
    goes on as if it had never been silent."""

    def __init__(self, folder, name, *options):
        self.folder, self.name = Path(folder), name
        self.recording = self.folder / f"{name}.wav"
        super().__init__(self.folder / f"{name}.log", "pw-cat", "-p", *options, str(self.recording))
        self.began, self.first, self.lengths = None, 0, []

    def start(self):
        self.kill()
        self.first, self.began = self.upcoming(time.monotonic()) if self.began else 0, time.monotonic()
        parts = [str(part) for part in self.parts()]
        run("sox", "-q", *parts[self.first:], *parts[:self.first], str(self.recording), "repeat", str(ROUNDS - 1),
            "remix", "1", "0")
        super().start()

    def upcoming(self, moment):
        """Number of the sentence that begins next after that time."""
        at, number = self.began, self.first
        while at < moment:
            at += self.lengths[number]
            number = (number + 1) % len(SENTENCES)
        return number

    def parts(self):
        parts = [self.folder / f"sentence-{number}.wav" for number in range(len(SENTENCES))]
        for part, (sentence, _) in zip(parts, SENTENCES):
            if not part.exists():
                run("flite", "-voice", "slt", "-t", sentence, "-o", f"{part}.raw.wav")
                run("sox", "-q", f"{part}.raw.wav", "-r", "16000", "-c", "1", "-b", "16", str(part),
                    "pad", "0.2", "1.2")
        if not self.lengths:
            for part in parts:
                with wave.open(str(part)) as sound:
                    self.lengths.append(sound.getnframes() / sound.getframerate())
        return parts


class Ear(Program):
    """Hears the right channel of a loudspeaker."""

    LOUD = 0.01  # of full scale, of a tenth of a second

    def __init__(self, log, sink):
        super().__init__(log, "pw-record", "--properties", "{ stream.capture.sink = true }", "--target", sink,
                         "--format", "f32", "--rate", "16000", "--channels", "2", "-")
        self.last = 0.0  # when it was loud

    def start(self):
        self.kill()
        super().start(stdout=subprocess.PIPE)
        threading.Thread(target=self._listen, args=[self.process.stdout], daemon=True).start()

    def _listen(self, pipe):
        while data := pipe.read(2 * 4 * 1600):
            right = array.array("f", data[:len(data) // 8 * 8])[1::2]
            if right and math.sqrt(sum(sample * sample for sample in right) / len(right)) > self.LOUD:
                self.last = time.monotonic()
