"""What the program needs around it, each part to be killed and brought back: audio server, session manager, a program
and a microphone that speak, keyring, relay, and the network between it and the relay."""

import os
import socket
import struct
import subprocess
import threading
import time
from pathlib import Path

from Desktop import run, until
from Sound import Ear, Program, Talker

SPEAKER = """-- Made by the session manager, and gone with it, as sound cards are.
local properties = {}
properties["factory.name"] = "support.null-audio-sink"
properties["node.name"] = "soak-speaker"
properties["node.description"] = "Loudspeaker"
properties["media.class"] = "Audio/Sink"
properties["audio.position"] = "FL,FR"
speaker = Node("adapter", properties)
speaker:activate(Feature.Proxy.BOUND)
"""
NO_HARDWARE = "alsa_monitor.enabled = false\nv4l2_monitor.enabled = false\n" \
              "if libcamera_monitor then libcamera_monitor.enabled = false end\n"


def succeeds(*words):
    return subprocess.run(words, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=10).returncode == 0


class Network:
    """A road to a server of this machine, that can be cut or swallow everything."""

    def __init__(self, port):
        self.server = port
        self.is_cut = False
        self.flows = threading.Event()
        self.flows.set()
        self.sockets = set()
        self.upward = None  # bytes a second that go to the server; none: all
        self.listener = socket.create_server(("127.0.0.1", 0))
        # What waits here would hide that it is slow.
        self.listener.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 16384)
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
        self.upward = None
        self.flows.set()

    def slow(self, upward):
        self.upward = upward

    def swallow(self):
        self.flows.clear()

    def _accept(self):
        while True:
            client, _ = self.listener.accept()
            if self.is_cut:
                client.close()
                continue
            self._carry_on(client)

    def _carry_on(self, client):
        try:
            onward = socket.create_connection(("127.0.0.1", self.server))
        except OSError:
            client.close()
            return
        for ends in ((client, onward, True), (onward, client, False)):
            self.sockets.add(ends[0])
            threading.Thread(target=self._carry, args=ends, daemon=True).start()

    def _carry(self, source, target, is_upward):
        try:
            while data := source.recv(4096):
                self.flows.wait()
                if is_upward and self.upward:
                    time.sleep(len(data) / self.upward)
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
        for place, text in (("wireplumber/scripts/speaker.lua", SPEAKER),
                            ("wireplumber/main.lua.d/95-speaker.lua", "load_script('speaker.lua')\n"),
                            ("wireplumber/main.lua.d/51-no-hardware.lua", NO_HARDWARE),
                            ("wireplumber/bluetooth.lua.d/51-no-hardware.lua", "bluez_monitor.enabled = false\n")):
            (own / place).parent.mkdir(parents=True, exist_ok=True)
            (own / place).write_text(text)
        where = {"XDG_CONFIG_HOME": str(own), "XDG_STATE_HOME": str(self.folder / "audio-state")}
        log = lambda name: self.folder / f"{name}.log"  # noqa: E731
        self.pipewire = Program(log("pipewire"), "pipewire", **where)
        self.wireplumber = Program(log("wireplumber"), "wireplumber", **where)
        self.speech = Talker(self.folder, "speech")
        # A stream that is a microphone itself, so that it hears nothing else and is not heard by the system's capture.
        self.microphone = Talker(self.folder, "microphone", "--properties",
                                 f"{{ media.class = Audio/Source  node.name = {self.MICROPHONE}  "
                                 "node.description = Headset }")
        self.ear = Ear(log("ear"), "soak-speaker")
        self.keyring = Program(log("keyring"), "gnome-keyring-daemon", "--unlock", "--foreground",
                               "--components=secrets", stdin=b"secret")
        with socket.create_server(("127.0.0.1", 0)) as free:
            port = free.getsockname()[1]
        self.relay = Program(log("relay"), str(programs / "tarn-relay"), "--engine", "offline", "--listen",
                             f"127.0.0.1:{port}")
        self.relay_port = port
        self.network = Network(port)
        self.all = [self.ear, self.speech, self.microphone, self.wireplumber, self.pipewire, self.keyring, self.relay]

    def start(self):
        self.start_audio()
        self.start_keyring()
        self.start_relay()

    def start_audio(self):
        self.wireplumber.kill()
        self.pipewire.start()
        until("the audio server", lambda: succeeds("pw-cli", "info", "0"))
        self.start_manager()
        self.start_sound()

    def start_sound(self):
        """Everything that speaks or hears, anew."""
        self.start_microphone()
        self.speech.start()
        self.ear.start()

    def go_on_speaking(self):
        """Where a recording has come to its end."""
        for talker in (self.speech, self.microphone):
            if talker.process.poll() == 0:
                talker.start()

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
