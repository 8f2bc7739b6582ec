"""What a user is told: by a preview before a run, by warnings and lines on standard error with it."""

import os
import pathlib
import random
import shutil
import tempfile
import unittest

from . import merge, pdbfile
from .history import MODES, HistoryWorld, holding, new_world
from .test_sync import with_empty_template
from .world import BIN, KEYS, SILENT_TABLES

SEED = int(os.environ.get("MV_SEED", "20240517"))


def report_of(world):
    """What a preview of the newest run should have printed."""
    return world.mvtool("changes").stdout + "".join(f"Warning: {w}\n" for w in world.record()["warnings"])


class Previews(unittest.TestCase):
    """A preview says what the run then does, and touches nothing."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def world(self, seed, name="world"):
        world, case = new_world(self.folder / name, random.Random(seed), 20)
        return world, case

    def preview(self, world, mode, *words):
        """Its outcome; all files are as they were."""
        seen = world.files()
        done = world.mvtool("preview", "--mode", str(mode), *words)
        self.assertEqual(world.files(), seen)
        self.assertEqual(list((world.folder / "tmp").iterdir()), [])
        return done

    def check(self, world, mode, status):
        """Preview and run, one after the other."""
        entries = len(world.entries())
        told = self.preview(world, mode)
        done = world.run(mode)
        self.assertEqual((told.returncode, done.returncode), (status, status), (told.stderr, done.stderr))
        if len(world.entries()) > entries:
            self.assertEqual(told.stdout, report_of(world))
        else:
            self.assertEqual(told.stdout, "")
        # What may be the reason that no handheld answers stands below, further in.
        lines = [line for line in done.stderr.splitlines() if not line.startswith(("Warning: ", "  "))]
        self.assertEqual(told.stderr.splitlines(), lines)
        return done

    def test_runs_of_every_mode_do_what_was_shown(self):
        for mode in MODES:
            with self.subTest(mode=mode):
                world, _ = self.world(SEED + 7 * mode, f"mode{mode}")
                self.check(world, mode, 0)
                # Again, now that both sides have agreed on something.
                table = world.tables / "brnd_Fuel.pdb"
                shutil.copy(world.newest() / "handheld" / "brnd_Fuel.pdb", table)
                self.check(world, mode, 0)

    def test_a_table_that_the_handheld_lacks(self):
        for mode in MODES:
            with self.subTest(mode=mode):
                world, _ = self.world(SEED, f"mode{mode}")
                (world.tables / "brnd_Fuel.pdb").unlink()
                self.assertIn("brnd_Fuel not fetched (code 1)", self.check(world, mode, 1).stderr)

    def test_a_table_that_is_cut(self):
        for mode in MODES:
            with self.subTest(mode=mode):
                world, _ = self.world(SEED, f"mode{mode}")
                table = world.tables / "brnd_Fuel.pdb"
                table.write_bytes(table.read_bytes()[:200])
                self.assertIn("stopped at table brnd_Fuel: Error 9: ", self.check(world, mode, 2).stderr)

    def test_no_handheld(self):
        world, _ = self.world(SEED)
        world.handheld.rename(self.folder / "away")
        for mode in MODES:
            with self.subTest(mode=mode):
                self.assertIn("no handheld answered", self.check(world, mode, 3).stderr)
        self.assertEqual(world.entries(), [])

    def test_a_table_that_the_database_lacks(self):
        world, case = self.world(SEED)
        world.create_database({t: (c, rows) for t, (c, rows, _) in case.items() if t != "brnd_Trip"})
        for mode in (merge.SYNCHRONIZE, merge.OVERWRITE_PDA):
            with self.subTest(mode=mode):
                self.assertIn("stopped at table brnd_Trip: ", self.check(world, mode, 2).stderr)

    def test_a_quote_in_a_key_names_the_row(self):
        world, case = self.world(SEED)
        columns, rows, records = case["brnd_Fuel"]
        at = [n for n, _, _ in columns].index(KEYS["brnd_Fuel"])
        row = list(rows[0])
        row[at] = "O'Brien"
        case["brnd_Fuel"] = (columns, [row] + rows[1:], records)
        world.create_database({t: (c, r) for t, (c, r, _) in case.items()})
        done = self.check(world, merge.SYNCHRONIZE, 2)
        self.assertIn('Warning: brnd_Fuel, row "O\'Brien": ', done.stderr)
        self.assertIn("stopped at table brnd_Fuel: Error 3001: ", done.stderr)

    def test_a_database_that_another_program_has_open(self):
        world, _ = self.world(SEED)
        for lock in ("--shared", "--exclusive"):
            with self.subTest(lock=lock), holding(world.database, lock):
                told = self.preview(world, merge.SYNCHRONIZE)
                done = world.run(merge.SYNCHRONIZE)
                self.assertEqual((told.returncode, done.returncode), (2, 2))
                for text in (told.stderr, done.stderr):
                    self.assertEqual(len(text.splitlines()), 1, text)
                    self.assertIn("Motorva.db'; file already in use.", text)
                self.assertEqual(world.record()["status"], 2)

    def test_what_an_overwrite_left_to_fill_stops_both_alike(self):
        world, _ = self.world(SEED)
        (world.tables / "brnd_Fuel.pdb").unlink()
        self.check(world, merge.OVERWRITE_PC, 1)
        overwrite = world.newest().name
        for mode in (merge.SYNCHRONIZE, merge.OVERWRITE_PDA):
            with self.subTest(mode=mode):
                self.assertIn(f'"mvtool restore {overwrite}"', self.check(world, mode, 2).stderr)


class Warnings(unittest.TestCase):
    """What a run says, and what the settings make of it."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.world = HistoryWorld(folder.name)
        tables = {}
        for table in SILENT_TABLES:
            columns = [(KEYS[table], "Text", 20), ("NM_ODO", "Long", 0)]
            rows = [[f"K{n}", n] for n in range(20)]
            tables[table] = (columns, rows)
            self.world.write_table(table, merge.fields_of(columns), [pdbfile.Record(row) for row in rows])
        self.world.create_database(tables)
        with_empty_template(self.world, {table: (columns, [], []) for table, (columns, _) in tables.items()})
        shutil.copy(BIN / "mvtool", self.world.program_folder / "mvtool")

    def delete_on_handheld(self, table, count):
        fields = merge.fields_of([(KEYS[table], "Text", 20), ("NM_ODO", "Long", 0)])
        self.world.write_table(table, fields, [pdbfile.Record([f"K{n}", n], pdbfile.DELETED if n < count else 0)
                                               for n in range(20)])

    def test_a_mass_loss_stops_the_run_before_the_table_when_the_settings_ask(self):
        self.delete_on_handheld("brnd_Fuel", 19)
        self.world.add_settings(Safety={"OnMassLoss": "stop"})
        rows, file = self.world.desktop_rows("brnd_Fuel"), self.world.read_table("brnd_Fuel")
        database = self.world.database.read_bytes()
        done = self.world.run(merge.SYNCHRONIZE)
        self.assertEqual(done.returncode, 2)
        stopped = [line for line in done.stderr.splitlines() if not line.startswith("Warning: ")]
        self.assertEqual(len(stopped), 1, done.stderr)
        self.assertTrue(stopped[0].startswith("MVPPCSync: stopped at table brnd_Fuel: "), stopped[0])
        self.assertIn("loses 19 of 20 rows", stopped[0])
        self.assertEqual(self.world.desktop_rows("brnd_Fuel"), rows)
        self.assertEqual(self.world.read_table("brnd_Fuel"), file)
        self.assertEqual(self.world.database.read_bytes(), database)

    def check_nothing_changed_by_overwrite_pc(self, why):
        """Neither by the run nor by its preview, which says the same."""
        database, tables = self.world.database.read_bytes(), self.world.handheld_files()
        told = self.world.mvtool("preview", "--mode", "2")
        done = self.world.run(merge.OVERWRITE_PC)
        self.assertEqual((told.returncode, done.returncode), (2, 2), done.stderr)
        self.assertEqual(done.stderr.splitlines()[-1], told.stderr.splitlines()[-1])
        self.assertTrue(done.stderr.startswith(f"MVPPCSync: stopped: {why}: nothing was changed, "), done.stderr)
        self.assertTrue(self.world.database.read_bytes() == database)
        self.assertTrue(self.world.handheld_files() == tables)
        self.assertEqual([f.name for f in self.world.files() if "BACKUP" in f.name or "unfilled" in f.name], [])
        self.assertEqual(list((self.world.folder / "tmp").iterdir()), [])
        self.assertEqual(self.world.record()["status"], 2)

    def test_an_overwrite_pc_with_a_mass_loss_does_not_begin_when_the_settings_ask(self):
        self.delete_on_handheld("brnd_Fuel", 19)
        self.world.add_settings(Safety={"OnMassLoss": "stop"})
        self.check_nothing_changed_by_overwrite_pc("brnd_Fuel: the PC loses 19 of 20 rows")

    def test_an_overwrite_pc_that_cannot_take_a_table_does_not_begin_when_the_settings_ask(self):
        self.world.add_settings(Safety={"OnMassLoss": "stop"})
        (self.world.tables / "brnd_Fuel.pdb").rename(self.world.folder / "away")
        self.check_nothing_changed_by_overwrite_pc("brnd_Fuel not fetched (code 1)")
        (self.world.tables / "brnd_Fuel.pdb").write_bytes((self.world.folder / "away").read_bytes()[:200])
        self.check_nothing_changed_by_overwrite_pc("Error 9: Subscript out of range")
        (self.world.folder / "away").rename(self.world.tables / "brnd_Fuel.pdb")
        done = self.world.run(merge.OVERWRITE_PC)
        self.assertEqual((done.returncode, len(self.world.desktop_rows("brnd_Fuel"))), (0, 20), done.stderr)

    def test_a_mass_loss_is_a_warning_else(self):
        self.delete_on_handheld("brnd_Fuel", 19)
        done = self.world.run(merge.SYNCHRONIZE)
        self.assertEqual((done.returncode, done.stderr), (0, "Warning: brnd_Fuel: the PC loses 19 of 20 rows\n"))
        self.assertEqual(self.world.record()["warnings"], ["brnd_Fuel: the PC loses 19 of 20 rows"])
        self.assertEqual(len(self.world.desktop_rows("brnd_Fuel")), 1)

    def test_ten_rows_are_no_mass_loss(self):
        self.delete_on_handheld("brnd_Fuel", 10)
        self.world.add_settings(Safety={"OnMassLoss": "stop"})
        done = self.world.run(merge.SYNCHRONIZE)
        self.assertEqual((done.returncode, done.stderr), (0, ""))

    def test_every_failure_says_why_in_one_line_with_the_log_off_too(self):
        for log in (1, 0):
            self.world.write_settings(SyncLog=log)
            with self.subTest(log=log):
                self.assertEqual(self.said(0), "")
                away = self.world.tables / "brnd_Fuel.away"
                (self.world.tables / "brnd_Fuel.pdb").rename(away)
                self.assertIn("MVPPCSync: brnd_Fuel not fetched (code 1); ", self.said(1))
                away.rename(self.world.tables / "brnd_Fuel.pdb")
                with holding(self.world.database, "--exclusive"):
                    self.assertIn("MVPPCSync: stopped at table brnd_Customer: ", self.said(2))
                self.world.handheld.rename(self.world.folder / "away")
                self.assertIn("MVPPCSync: no handheld answered; ", self.said(3))
                (self.world.folder / "away").rename(self.world.handheld)

    def said(self, status):
        """Standard error of a Synchronize that ends so: one line, or none when all went well. Reasons may follow below it,
        further in."""
        done = self.world.run(merge.SYNCHRONIZE)
        self.assertEqual(done.returncode, status, done.stderr)
        lines = [line for line in done.stderr.splitlines() if not line.startswith("  ")]
        self.assertEqual(len(lines), min(status, 1), done.stderr)
        return done.stderr

    def test_words_that_the_settings_do_not_know_stop_the_start(self):
        for section, key, word in (("Safety", "OnMassLoss", "perhaps"), ("Safety", "UnfinishedOverwrite", "1"),
                                   ("History", "Keep", "many"), ("History", "MaxMegabytes", "-1")):
            with self.subTest(key=key):
                self.world.write_settings()
                self.world.add_settings(**{section: {key: word}})
                seen = {f: c for f, c in self.world.files().items() if f.suffix != ".ini"}
                done = self.world.run(merge.SYNCHRONIZE)
                self.assertEqual((done.returncode, len(done.stderr.splitlines())), (2, 1), done.stderr)
                self.assertIn(f'the setting {key} of [{section}], "{word}", is ', done.stderr)
                told = self.world.mvtool("preview", "--mode", "0")
                self.assertEqual(told.returncode, 1)
                self.assertIn(f'the setting {key} of [{section}], "{word}", is ', told.stderr)
                self.assertEqual({f: c for f, c in self.world.files().items() if f.suffix != ".ini"}, seen)


if __name__ == "__main__":
    unittest.main()
