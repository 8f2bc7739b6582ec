"""A handheld on the network: worlds whose settings name it, and the simulator that plays it."""

import contextlib
import pathlib
import socket
import subprocess
import time

from .world import BIN, World

SOON = 20


def free_port(host="127.0.0.1"):
    with contextlib.closing(socket.socket()) as probe:
        probe.bind((host, 0))
        return probe.getsockname()[1]


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

    def wait_for(self, text, times=1):
        """Waits until the program has written `text` so many times."""
        end = time.monotonic() + SOON
        while self.text().count(text) < times:
            if time.monotonic() > end:
                raise AssertionError(f"{text!r} did not come {times} times:\n{self.text()}")
            time.sleep(0.01)

    def interrupt(self):
        """Ctrl-C; returns the exit status."""
        self.process.send_signal(2)
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
