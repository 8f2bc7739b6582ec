"""A handheld on the network: worlds whose settings name it, and the simulator that plays it."""

import contextlib
import ctypes
import os
import pathlib
import signal
import socket
import subprocess
import time

from .world import BIN, World

SOON = 20


def free_port(host="127.0.0.1"):
    with contextlib.closing(socket.socket()) as probe:
        probe.bind((host, 0))
        return probe.getsockname()[1]


class OwnNetwork:
    """A network of this test alone: only its loopback interface, which can be cut. As a context manager; CannotMake
    when this user may not have one."""
    NEW_NETWORK = 0x40000000  # CLONE_NEWNET

    class CannotMake(Exception):
        pass

    def __enter__(self):
        self.libc = ctypes.CDLL(None, use_errno=True)
        self.before = os.open("/proc/self/ns/net", os.O_RDONLY | os.O_CLOEXEC)
        if self.libc.unshare(self.NEW_NETWORK) != 0:
            os.close(self.before)
            raise self.CannotMake(os.strerror(ctypes.get_errno()))
        self.connect()
        return self

    def __exit__(self, *_):
        if self.libc.setns(self.before, 0) != 0:
            raise OSError(ctypes.get_errno(), "the test's own network could not be left")
        os.close(self.before)

    @staticmethod
    def connect():
        subprocess.run(["ip", "link", "set", "lo", "up"], check=True)

    @staticmethod
    def cut():
        """From now on nothing arrives any more, ends of connections included."""
        subprocess.run(["ip", "link", "set", "lo", "down"], check=True)


class PlayedHandheld:
    """The control connection of a handheld of family A at `host` that a test plays; with a password, whose challenge it
    sends."""
    RECORD = bytes.fromhex(
        "64000000 24000000 04143904 110a0000 00000000 44332211 00000000 24000000 36000000 48000000"
        "50006f00 63006b00 65007400 50004300 00005000 6f006300 6b006500 74005000 43000000 53006900"
        "6d004400 65007600 69006300 65002000 31003000 30000000")
    CHALLENGE = bytes.fromhex("5a7e0000")

    def __init__(self, port, host="127.0.0.2"):
        self.socket = socket.create_connection(("127.0.0.1", port), SOON, (host, 0))
        self.socket.sendall(self.CHALLENGE + self.RECORD)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()


class Program:
    """A program that runs beside the test and writes what happens into a file."""

    def __init__(self, words, output, environment=None):
        self.output = pathlib.Path(output)
        with self.output.open("wb") as stream:
            self.process = subprocess.Popen([str(word) for word in words], stdout=stream, stderr=subprocess.STDOUT,
                                            env=environment)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()

    def text(self):
        return self.output.read_text(encoding="utf-8", errors="replace")

    def wait_for(self, text, times=1, patience=SOON):
        """Waits until the program has written `text` so many times."""
        end = time.monotonic() + patience
        while self.text().count(text) < times:
            if time.monotonic() > end:
                raise AssertionError(f"{text!r} did not come {times} times:\n{self.text()}")
            time.sleep(0.01)

    def interrupt(self, request=signal.SIGINT):
        """Ctrl-C, or another request to end; returns the exit status."""
        self.process.send_signal(request)
        return self.process.wait(SOON)


class NetworkWorld(World):
    """A world whose handheld is on the network; its files are those of the folder."""

    def __init__(self, folder, family="A", **extra):
        self.family = family
        self.control = free_port()
        self.calls = free_port("127.0.0.2")
        self.handheld_settings = {
            "Connection": "network", "Listen": "127.0.0.1", "Wait": 20, "CallPortA": self.calls,
            "ControlPortA": self.control if family == "A" else 0,
            "ControlPortB": self.control if family == "B" else 0, **extra}
        super().__init__(folder)
        (self.folder / "runtime").mkdir(mode=0o700)

    def write_settings(self, **extra):
        lines = ["[General]", f"DBPath={self.folder}", "[Handheld]"]
        lines += [f"{k}={v}" for k, v in self.handheld_settings.items()]
        lines += ["[PPC_Mobile]"] + [f"{k}={v}" for k, v in extra.items()]
        (self.folder / "config").mkdir(exist_ok=True)
        (self.folder / "config" / "Motorva32.ini").write_text("\n".join(lines) + "\n", encoding="utf-8")

    def environment(self):
        return dict(super().environment(), XDG_RUNTIME_DIR=str(self.folder / "runtime"))

    def simulator(self, *options):
        words = [BIN / "mvtool", "handheld", "simulate", self.handheld, "--family", self.family,
                 "--desktop", f"127.0.0.1:{self.control}"]
        if self.family == "A":
            words += ["--port", self.calls]
        return Program([*words, *options], self.folder / "simulator.log", self.environment())

    def listener(self, *options):
        return Program([BIN / "mvtool", "listen", *options], self.folder / "listener.log", self.environment())

    def tool(self, *words):
        """Runs mvtool to its end; returns its exit status, and what it said on both streams."""
        done = subprocess.run([str(BIN / "mvtool"), *map(str, words)], env=self.environment(), timeout=60,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return done.returncode, done.stdout.decode("utf-8", errors="replace")

    def sync_aloud(self, mode):
        """A silent run; its exit status, and what it said on standard error."""
        done = subprocess.run([str(self.program_folder / "MVPPCSync"), f"-Mode{mode}"], env=self.environment(),
                              timeout=120, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return done.returncode, done.stdout.decode("utf-8", errors="replace")
