"""Runs beside a program that takes hold of each new work file: nothing is lost, whatever it holds for how long."""

import os
import random
import tempfile
import unittest

from . import cases, merge
from .scanner import Scanner
from .test_sync import SEED, comparable, lay_out, with_empty_template
from .world import World

RUNS = int(os.environ.get("MV_SCANNED_RUNS", "2"))
MOMENT, LONGER_THAN_A_RUN_WAITS = 0.002, 3.0
ATTEMPTS = 10


class Scanned(unittest.TestCase):
    def scanned_run(self, mode, seed, folder_name, seconds, ending=".pdb"):
        """One run of a random world; returns the world, which knows its tables as they were, its case and the exit status."""
        case = cases.world_case(random.Random(seed), 30)
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        world = World(folder.name)
        lay_out(world, case)
        if mode == merge.OVERWRITE_PC:
            with_empty_template(world, case)
        world.tables_before = {t: world.read_table(t) for t in case}
        watched = getattr(world, folder_name)
        watched.mkdir(parents=True)
        with Scanner(watched, seconds, lambda name: name.endswith(ending)) as scanner:
            status = world.sync(mode)
        self.assertGreater(scanner.held, 0, "the scanner took hold of nothing")
        return world, case, status

    def expect_merged(self, world, case, mode):
        for t, (cols, rows, records) in case.items():
            start = [] if mode == merge.OVERWRITE_PC else rows
            desktop, _ = merge.merged(mode, cases.KEYS[t], cols, start, records)
            self.assertEqual(comparable(cols, world.rows(t, cols)), comparable(cols, desktop), t)

    def expect_untouched(self, world, case):
        self.assertNotIn("SUCCESSFUL", world.log_text())
        for t, (cols, rows, _) in case.items():
            self.assertEqual(comparable(cols, world.rows(t, cols)), comparable(cols, rows), t)
            self.assertEqual(world.read_table(t), world.tables_before[t], t)

    def test_a_moment_s_hold_on_each_work_file_changes_nothing(self):
        for mode in (merge.SYNCHRONIZE, merge.OVERWRITE_PDA, merge.OVERWRITE_PC):
            for folder in ("source", "dest"):
                for number in range(RUNS):
                    with self.subTest(mode=mode, folder=folder, seed=SEED + number):
                        world, case, status = self.scanned_run(mode, SEED + number, folder, MOMENT)
                        self.assertEqual(status, 0, world.log_text())
                        self.expect_merged(world, case, mode)

    def test_a_fetched_file_held_for_long_stops_the_run_and_touches_neither_side(self):
        for mode in (merge.SYNCHRONIZE, merge.OVERWRITE_PDA):
            with self.subTest(mode=mode):
                self.expect_stop_by_a_long_hold(mode)

    def expect_stop_by_a_long_hold(self, mode):
        """The scanner must come between two opens of one file; a run that was faster has to be right as well."""
        for number in range(ATTEMPTS):
            world, case, status = self.scanned_run(mode, SEED + number, "source", LONGER_THAN_A_RUN_WAITS, "brnd_Customer.pdb")
            if status == 2:
                self.assertIn("Error: 75 has occurred. Description: Path/File access error: ", world.log_text())
                self.assertIn("brnd_Customer.pdb is held by another program", world.log_text())
                self.expect_untouched(world, case)
                return
            self.assertEqual(status, 0, world.log_text())
            self.expect_merged(world, case, mode)
        self.skipTest("the scanner never came in time")


if __name__ == "__main__":
    unittest.main()
