"""What Overwrite PC leaves to go back to: a backup for each run, private, with the template checked first."""

import os
import pathlib
import random
import stat
import tempfile
import unittest

from . import cases, merge
from .test_sync import SEED, lay_out, with_empty_template
from .world import World


class Backups(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.world = World(folder.name)
        self.case = cases.world_case(random.Random(SEED), 3)
        lay_out(self.world, self.case)
        self.template = with_empty_template(self.world, self.case)

    def backups(self):
        return sorted(self.world.folder.glob("Motorva.db.presyncbackup.*"))

    def test_runs_in_a_row_keep_a_backup_each_and_the_original_is_the_first(self):
        original = self.world.database.read_bytes()
        for _ in range(5):
            self.assertEqual(self.world.sync(merge.OVERWRITE_PC), 0, self.world.log_text())
        self.assertEqual(len(self.backups()), 5)
        self.assertEqual(self.backups()[0].read_bytes(), original)

    def test_the_backup_of_a_private_database_is_private(self):
        self.world.database.chmod(0o600)
        self.assertEqual(self.world.sync(merge.OVERWRITE_PC), 0)
        self.assertEqual(stat.S_IMODE(self.backups()[0].stat().st_mode), 0o600)
        self.assertEqual(stat.S_IMODE(self.world.database.stat().st_mode), 0o600)

    def test_a_template_that_is_no_sound_database_of_the_tables_leaves_the_database(self):
        original = self.world.database.read_bytes()
        sound = self.template.read_bytes()
        lacking = self.world.folder / "lacking"
        self.world.create_database({t: (cols, []) for t, (cols, _, _) in self.case.items() if t != "brnd_Trip"}, lacking)
        torn = bytearray(sound)
        torn[2 * 4096] = 1
        for what, content, error in (("cut", sound[:-4096], "is damaged (damage: "),
                                     ("torn", bytes(torn), "is damaged (damage: "),
                                     ("a text", b"no database", f"Unrecognized database format '{self.template.parent}\\_20'"),
                                     ("without brnd_Trip", lacking.read_bytes(), "'brnd_Trip'")):
            with self.subTest(what=what):
                self.template.write_bytes(content)
                self.assertEqual(self.world.sync(merge.OVERWRITE_PC), 2)
                self.assertIn(error, self.world.log_text())
                self.assertIn("Synchronization Stopped Due to Errors", self.world.log_text())
                self.assertEqual(self.world.database.read_bytes(), original)
        self.assertEqual({b.read_bytes() for b in self.backups()}, {original})

    def test_an_unfinished_backup_goes_with_the_next_run_of_any_mode(self):
        left = self.world.folder / "Motorva.db.presyncbackup.20260101-000000.writing"
        left.write_bytes(b"half")
        self.assertEqual(self.world.sync(merge.SYNCHRONIZE), 0)
        self.assertFalse(left.exists())


class PathsThatEatEachOther(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.world = World(folder.name)
        lay_out(self.world, cases.world_case(random.Random(SEED), 3))
        self.before = self.world.database.read_bytes()

    def expect_refused(self):
        for mode in (merge.SYNCHRONIZE, merge.OVERWRITE_PDA):
            self.assertEqual(self.world.sync(mode, timeout=20), 2)
            self.assertEqual(self.world.database.read_bytes(), self.before)
            self.assertNotIn("SUCCESSFUL", self.world.log_text())

    def test_a_log_that_is_the_database(self):
        self.world.write_settings(SyncLogPath=self.world.database)
        self.expect_refused()

    def test_a_log_that_is_a_link_to_the_database(self):
        self.world.log.symlink_to(self.world.database)
        self.assertEqual(self.world.sync(merge.SYNCHRONIZE), 2)
        self.assertEqual(self.world.database.read_bytes(), self.before)

    def test_work_and_handheld_files_that_are_the_database(self):
        for folder in (self.world.source, self.world.dest, self.world.tables):
            with self.subTest(folder=folder.name):
                folder.mkdir(parents=True, exist_ok=True)
                file = folder / "brnd_Vehicle.pdb"
                kept = file.read_bytes() if file.exists() else None
                file.unlink(missing_ok=True)
                os.link(self.world.database, file)
                self.expect_refused()
                file.unlink()
                if kept is not None:
                    file.write_bytes(kept)

    def test_pipes_are_not_waited_for(self):
        self.world.source.mkdir(parents=True)
        for pipe, status in ((self.world.tables / "brnd_Fuel.pdb", 1), (self.world.log, 2)):
            with self.subTest(pipe=pipe.name):
                pathlib.Path(pipe).unlink(missing_ok=True)
                os.mkfifo(pipe)
                self.assertEqual(self.world.sync(merge.SYNCHRONIZE, timeout=20), status)
                pipe.unlink()


if __name__ == "__main__":
    unittest.main()
