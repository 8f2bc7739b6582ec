"""Runs with a history, and restores, are killed at random instants: what was there before comes back to the byte, and
the next run ends where an undisturbed one would have ended."""

import json
import os
import pathlib
import random
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

from . import cases
from .history import MODES, HistoryWorld
from .jetreaders import structure_findings
from .test_sync import BALLAST, lay_out, with_empty_template, without_dates
from .world import BIN, SILENT_TABLES

KILLS = int(os.environ.get("MV_KILLS", "12")) // 2
SEED = int(os.environ.get("MV_SEED", "20240517"))


class Kills(unittest.TestCase):
    """Runs and restores that are killed at random instants."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.rng = random.Random(SEED)
        self.case = cases.world_case(self.rng, 60)
        self.pattern = HistoryWorld(self.folder / "pattern")
        lay_out(self.pattern, self.case, BALLAST)
        with_empty_template(self.pattern, self.case)

    def world(self, name):
        """One like the pattern."""
        world = HistoryWorld(self.folder / name)
        world.program_folder = self.pattern.program_folder
        shutil.copy(self.pattern.database, world.database)
        for file in self.pattern.tables.iterdir():
            shutil.copy(file, world.tables)
        return world

    def mvtool(self, world, *words):
        return world.start(str(BIN / "mvtool"), *words)

    def state(self, world):
        return world.database.read_bytes(), world.handheld_files()

    def outcome(self, world):
        """What counts of both sides after a run."""
        return ({t: world.desktop_rows(t) for t in SILENT_TABLES},
                {t: without_dates(world.read_table(t)) for t in SILENT_TABLES})

    def killed(self, world, seconds, *words):
        process = subprocess.Popen(words, env=world.environment(), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            process.wait(seconds)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()
        return process.returncode == -signal.SIGKILL

    def runs(self, world):
        done = self.mvtool(world, "runs", "--json")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return [json.loads(line) for line in done.stdout.splitlines()]

    def undisturbed(self, mode):
        """Seconds of a run and of its restore, and the state that the run ends in."""
        world = self.world(f"undisturbed{mode}")
        started = time.monotonic()
        self.assertEqual(world.run(mode).returncode, 0)
        middle = time.monotonic()
        after = self.outcome(world)
        again = time.monotonic()
        self.assertEqual(self.mvtool(world, "restore", "last").returncode, 0)
        return middle - started, time.monotonic() - again, after

    def take_back(self, world, before):
        done = self.mvtool(world, "restore", "last")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(self.state(world), before)
        self.assertEqual(structure_findings(world.database), "")

    def test_a_killed_run_is_taken_back_and_repeated(self):
        caught = 0
        for mode in MODES:
            duration, _, after = self.undisturbed(mode)
            for kill in range(KILLS // 2):
                with self.subTest(mode=mode, kill=kill):
                    world = self.world(f"run{mode}-{kill}")
                    before = self.state(world)
                    words = str(world.program_folder / "MVPPCSync"), f"-Mode{mode}"
                    was_killed = self.killed(world, duration * self.rng.uniform(0.05, 0.95), *words)
                    caught += was_killed
                    listed = [run for run in self.runs(world) if run["mode"] is not None]
                    if listed:
                        self.assertTrue(not was_killed or listed[0]["status"] in (None, 0))
                        self.take_back(world, before)
                    self.assertEqual(self.state(world), before)
                    self.assertEqual(world.run(mode).returncode, 0)
                    self.assertEqual(self.outcome(world), after)
        self.assertGreater(caught, 0, "no run was caught alive")

    def test_a_killed_restore_is_not_listed_as_done_and_is_started_again(self):
        caught = 0
        for kill in range(KILLS):
            mode = MODES[kill % 3]
            with self.subTest(kill=kill):
                world = self.world(f"restore{kill}")
                before = self.state(world)
                if kill < 3:
                    self.seconds = {**getattr(self, "seconds", {}), mode: self.undisturbed(mode)[1:]}
                seconds, after = self.seconds[mode]
                self.assertEqual(world.run(mode).returncode, 0)
                run = self.runs(world)[0]["run"]
                words = str(BIN / "mvtool"), "restore", run
                caught += self.killed(world, seconds * self.rng.uniform(0.05, 0.95), *words)
                if any(r["mode"] == "restore" and r["status"] == 0 for r in self.runs(world)):
                    self.assertEqual(self.state(world), before)
                done = self.mvtool(world, "restore", run)
                self.assertEqual((done.returncode, done.stderr), (0, ""))
                self.assertEqual(self.state(world), before)
                newest = self.runs(world)[0]
                self.assertEqual((newest["mode"], newest["status"]), ("restore", 0))
                self.assertTrue(newest["ended"])
                self.assertEqual(world.run(mode).returncode, 0)
                self.assertEqual(self.outcome(world), after)
        self.assertGreater(caught, 0, "no restore was caught alive")


if __name__ == "__main__":
    unittest.main()
