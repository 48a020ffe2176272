"""What the program needs around it, each part to be killed and brought back: audio server, session manager, a microphone
that hears the loudspeaker, keyring, relay, and the network between it and the relay."""

import os
import socket
import struct
import subprocess
import threading
from pathlib import Path

from Desktop import run, until

PIPEWIRE = """context.objects = [
  { factory = adapter
    args = { factory.name = support.null-audio-sink  node.name = soak-speaker  node.description = "Loudspeaker"
             media.class = Audio/Sink  object.linger = true  audio.position = [ FL FR ] } }
]
"""
NO_HARDWARE = "alsa_monitor.enabled = false\nv4l2_monitor.enabled = false\n" \
              "if libcamera_monitor then libcamera_monitor.enabled = false end\n"


def succeeds(*words):
    return subprocess.run(words, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=10).returncode == 0


class Program:
    """One that is started again and again."""

    def __init__(self, log, *words, stdin=None, **environment):
        self.words, self.log, self.stdin = words, log, stdin
        self.environment = environment
        self.process = None

    def start(self):
        with open(self.log, "ab") as log:
            self.process = subprocess.Popen(self.words, env=dict(os.environ, **self.environment), stdout=log, stderr=log,
                                            stdin=subprocess.PIPE if self.stdin is not None else subprocess.DEVNULL)
        if self.stdin is not None:
            self.process.stdin.write(self.stdin)
            self.process.stdin.close()

    def signal(self, which):
        self.process.send_signal(which)

    def kill(self):
        if self.process is not None:
            self.process.kill()
            self.process.wait()


class Network:
    """A road to a server of this machine, that can be cut or swallow everything."""

    def __init__(self, port):
        self.server = port
        self.is_cut = False
        self.flows = threading.Event()
        self.flows.set()
        self.sockets = set()
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        threading.Thread(target=self._accept, daemon=True).start()

    def cut(self):
        self.is_cut = True
        for one in list(self.sockets):
            try:  # a reset, as of a host that is gone
                one.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
                one.shutdown(socket.SHUT_RD)  # says nothing to the other side; closing then resets
            except OSError:
                pass

    def mend(self):
        self.is_cut = False
        self.flows.set()

    def swallow(self):
        self.flows.clear()

    def _accept(self):
        while True:
            client, _ = self.listener.accept()
            if self.is_cut:
                client.close()
                continue
            try:
                onward = socket.create_connection(("127.0.0.1", self.server))
            except OSError:
                client.close()
                continue
            for ends in ((client, onward), (onward, client)):
                self.sockets.add(ends[0])
                threading.Thread(target=self._carry, args=ends, daemon=True).start()

    def _carry(self, source, target):
        try:
            while data := source.recv(65536):
                self.flows.wait()
                target.sendall(data)
            if not self.is_cut:
                target.shutdown(socket.SHUT_WR)
        except OSError:
            for one in (source, target):
                try:
                    one.shutdown(socket.SHUT_RDWR)
                except OSError:
                    pass
        finally:
            self.sockets.discard(source)
            source.close()


class Surroundings:
    MICROPHONE = "soak-headset"

    def __init__(self, folder, programs):
        self.folder = Path(folder)
        os.environ["XDG_RUNTIME_DIR"] = str(self.folder / "run")
        (self.folder / "run").mkdir(mode=0o700)
        for name in ("CONFIG", "DATA", "STATE", "CACHE"):
            os.environ[f"XDG_{name}_HOME"] = str(self.folder / name.lower())
        own = self.folder / "audio"
        for place, text in (("pipewire/pipewire.conf.d/50-speaker.conf", PIPEWIRE),
                            ("wireplumber/main.lua.d/51-no-hardware.lua", NO_HARDWARE),
                            ("wireplumber/bluetooth.lua.d/51-no-hardware.lua", "bluez_monitor.enabled = false\n")):
            (own / place).parent.mkdir(parents=True, exist_ok=True)
            (own / place).write_text(text)
        where = {"XDG_CONFIG_HOME": str(own), "XDG_STATE_HOME": str(self.folder / "audio-state")}
        log = lambda name: self.folder / f"{name}.log"  # noqa: E731
        self.pipewire = Program(log("pipewire"), "pipewire", **where)
        self.wireplumber = Program(log("wireplumber"), "wireplumber", **where)
        self.microphone = Program(
            log("microphone"), "pw-loopback",
            "--capture-props", "node.name=soak-headset-in node.target=soak-speaker stream.capture.sink=true",
            "--playback-props", f"media.class=Audio/Source node.name={self.MICROPHONE} node.description=Headset")
        self.speech = Program(log("speech"), "pw-cat", "-p", str(self.folder / "speech.wav"))
        self.keyring = Program(log("keyring"), "gnome-keyring-daemon", "--unlock", "--foreground",
                               "--components=secrets", stdin=b"secret")
        with socket.create_server(("127.0.0.1", 0)) as free:
            port = free.getsockname()[1]
        self.relay = Program(log("relay"), str(programs / "tarn-relay"), "--engine", "offline", "--listen",
                             f"127.0.0.1:{port}")
        self.relay_port = port
        self.network = Network(port)
        self.all = [self.speech, self.microphone, self.wireplumber, self.pipewire, self.keyring, self.relay]

    def start(self):
        self.start_audio()
        self.start_keyring()
        self.start_relay()

    def start_audio(self):
        self.pipewire.start()
        until("the audio server", lambda: succeeds("pw-cli", "info", "0"))
        self.start_manager()
        self.start_microphone()

    def start_manager(self):
        self.wireplumber.start()
        until("a default output", lambda: "soak-speaker" in run("pw-metadata", "-n", "default", "0",
                                                                "default.audio.sink"))

    def start_microphone(self):
        self.microphone.start()
        until("the microphone", lambda: self.MICROPHONE in run("pw-cli", "ls", "Node"))
        # Which of the two would be the default is for nobody to guess.
        run("pw-metadata", "-n", "default", "0", "default.configured.audio.source", f'{{"name":"{self.MICROPHONE}"}}',
            "Spa:String:JSON")
        self.speak()

    def speak(self):
        """Starts the speech anew."""
        self.speech.kill()
        self.speech.start()

    def start_keyring(self):
        self.keyring.start()
        until("the keyring", lambda: "true" in run(
            "gdbus", "call", "--session", "--dest", "org.freedesktop.DBus", "--object-path", "/", "--method",
            "org.freedesktop.DBus.NameHasOwner", "org.freedesktop.secrets"))

    def start_relay(self):
        self.relay.start()
        until("the relay", self._relay_listens)

    def _relay_listens(self):
        try:
            socket.create_connection(("127.0.0.1", self.relay_port), 1).close()
        except OSError:
            return False
        return True

    def end(self):
        for one in self.all:
            one.kill()
