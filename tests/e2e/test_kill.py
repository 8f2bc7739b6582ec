"""The program is killed at random instants. At each of them every table's edits are there as a whole or not at all, and
the next run ends where an undisturbed one would have ended."""

import os
import random
import signal
import subprocess
import tempfile
import time
import unittest

from . import cases, merge
from .jetreaders import structure_findings
from .test_sync import BALLAST, comparable, lay_out, without_dates
from .world import SILENT_TABLES, World

KILLS = int(os.environ.get("MV_KILLS", "12"))
SEED = int(os.environ.get("MV_SEED", "20240517"))


class KilledRuns(unittest.TestCase):
    def setUp(self):
        self.rng = random.Random(SEED)
        self.case = cases.world_case(self.rng, 150)

    def new_world(self, folder):
        world = World(folder)
        lay_out(world, self.case, BALLAST)
        return world

    def killed_after(self, world, seconds):
        process = subprocess.Popen([str(world.program_folder / "MVPPCSync"), "-Mode0"], env=world.environment(),
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            process.wait(seconds)
        except subprocess.TimeoutExpired:
            process.send_signal(signal.SIGKILL)
            process.wait()
        return process.returncode == -signal.SIGKILL

    def state(self, world):
        return {t: (comparable(cols, world.foreign_rows(t, cols)), without_dates(world.read_table(t)))
                for t, (cols, _, _) in self.case.items()}

    def check_whole(self, world, before, after):
        """Every table's desktop rows are the old ones or the new ones; a new table file means that its rows are safe."""
        for t, (rows, data) in self.state(world).items():
            self.assertIn(rows, (before[t][0], after[t][0]), f"{t}: edits are half there")
            self.assertIn(data, (before[t][1], after[t][1]), f"{t}: table file is half there")
            if data == after[t][1] != before[t][1]:
                self.assertEqual(rows, after[t][0], f"{t}: the handheld was updated before the desktop was safe")
        self.assertEqual(structure_findings(world.database), "")

    def test_every_instant_leaves_all_or_nothing_and_the_next_run_completes(self):
        with tempfile.TemporaryDirectory() as folder:
            world = self.new_world(folder)
            before = self.state(world)
            started = time.monotonic()
            self.assertEqual(world.sync(0), 0, world.log_text())
            duration = time.monotonic() - started
            after = self.state(world)
        killed = 0
        for i in range(KILLS):
            with self.subTest(kill=i), tempfile.TemporaryDirectory() as folder:
                world = self.new_world(folder)
                killed += self.killed_after(world, duration * self.rng.uniform(0.02, 0.98))
                self.check_whole(world, before, after)
                self.assertEqual(world.sync(0), 0, world.log_text())
                self.assertEqual(self.state(world), after)
                beside = {name.name for name in world.database.parent.glob(world.database.name + "*")}
                self.assertEqual(beside, {world.database.name}, "something is left beside the database")
        self.assertGreater(killed, 0, "no run was caught alive")

    def test_the_tables_of_the_test_do_change(self):
        changed = [t for t, (cols, rows, records) in self.case.items()
                   if merge.merged(0, cases.KEYS[t], cols, rows, records)[0] != rows]
        self.assertGreater(len(changed), len(SILENT_TABLES) // 2)
