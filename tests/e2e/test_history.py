"""What a run keeps of itself: entries with everything in them, how many stay, and who may read them."""

import json
import os
import random
import stat
import tempfile
import unittest

from . import merge, pdbfile
from .history import MODES, folded, new_world, on_handheld
from .test_sync import without_dates
from .world import KEYS, SILENT_TABLES

CASES = int(os.environ.get("MV_HISTORY_CASES", "3"))
SEED = int(os.environ.get("MV_SEED", "20240517"))
MODE_NAMES = ("Synchronize", "Overwrite PDA", "Overwrite PC")


class Entries(unittest.TestCase):
    """Each run's entry, held against what the test saw before and after."""

    def check_files(self, world, database, handheld):
        self.assertEqual((world.newest() / "Motorva.db").read_bytes(), database)
        kept = {f.name: f.read_bytes() for f in (world.newest() / "handheld").iterdir()}
        self.assertEqual(kept, handheld)
        results = {f.name: f.read_bytes() for f in (world.newest() / "result").iterdir()}
        self.assertEqual(results, world.handheld_files())

    def check_lines(self, table, side, lines, before, after, flags, form):
        """The lines lead from what was to what is, and there is none too many."""
        rows = dict(before)
        for line in lines:
            told, was, now = line["what"], form(line["before"]), form(line["after"])
            self.assertEqual(line["key"], (line["before"] or line["after"])[KEYS[table]])
            key = folded(line["key"])
            where = f"{table} {side} {line}"
            self.assertEqual(was, rows.get(key), where)
            self.assertNotEqual(was, now, where)
            self.assertEqual((was is None, now is None),
                             {"added": (True, False), "changed": (False, False), "deleted": (False, True),
                              "dropped": (False, True)}[told], where)
            self.assertEqual(told == "dropped", side == "handheld" and now is None and not flags.get(key, 1), where)
            rows.pop(key, None)
            if now is not None:
                rows[folded(now[KEYS[table]])] = now
        self.assertEqual(rows, after, f"{table} {side}")
        keys = [(folded(line["key"]), line["what"]) for line in lines]
        self.assertEqual(len(keys), len(set(keys)), "a row has two lines")

    def check_counts(self, mode, table, record, desktop, handheld, flags):
        """The counts by the test's own reckoning of two states."""
        was, now = desktop
        common = was.keys() & now.keys()
        self.assertEqual(record["desktop"], {
            "before": len(was), "after": len(now), "added": len(now.keys() - was.keys()),
            "changed": sum(was[k] != now[k] for k in common), "deleted": len(was.keys() - now.keys())}, table)
        was, now = handheld
        deleted = {k for k in was if flags[k] & pdbfile.DELETED}
        stayed = (was.keys() & now.keys()) - deleted
        dropped = {k for k in was.keys() - now.keys() if not flags[k]}
        gone = deleted | (was.keys() - now.keys() - dropped)
        self.assertEqual(record["handheld"], {
            "before": len(was), "after": len(now), "added": len(now.keys() - was.keys()) + len(deleted & now.keys()),
            "changed": sum(was[k] != now[k] for k in stayed), "deleted": len(gone)}, table)
        self.assertEqual(record["dropped"], len(dropped), table)
        # No run came before, so every row of the desktop that differs and lost may have been edited there.
        before, after = desktop
        lost = [k for k in before.keys() & flags.keys() if flags[k] and before[k] != after.get(k)]
        self.assertEqual(record["overruled"], len(lost) if mode == merge.SYNCHRONIZE else 0, table)
        return lost

    def check_run(self, mode, seed):
        with tempfile.TemporaryDirectory() as folder:
            world, case = new_world(folder, random.Random(seed), random.Random(seed).choice([3, 30, 60]))
            database, handheld = world.database.read_bytes(), world.handheld_files()
            before = {t: (world.desktop_rows(t), world.handheld_rows(t)) for t in SILENT_TABLES}
            done = world.run(mode)
            self.assertEqual(done.returncode, 0, done.stderr)
            self.assertEqual(len(world.entries()), 1)
            self.check_files(world, database, handheld)
            record, lines = world.record(), world.changes()
            self.assertEqual((record["mode"], record["modeName"], record["status"], record["error"]),
                             (mode, MODE_NAMES[mode], 0, None))
            self.assertEqual([f"Warning: {w}" for w in record["warnings"]], done.stderr.splitlines())
            self.assertEqual([t["table"] for t in record["tables"] if t["table"] in SILENT_TABLES], SILENT_TABLES)
            for table, (desktop, (rows, flags)) in before.items():
                columns = case[table][0]
                ours = [line for line in lines if line["table"] == table]
                overruled = [line for line in ours if line["what"] == "overruled"]
                now = world.desktop_rows(table)
                then, _ = world.handheld_rows(table)
                of = lambda side: [x for x in ours if x["side"] == side and x["what"] != "overruled"]
                self.check_lines(table, "desktop", of("desktop"), desktop, now, {}, lambda row: row)
                self.check_lines(table, "handheld", of("handheld"), rows, then, flags,
                                 lambda row: on_handheld(columns, row))
                counts = next(t for t in record["tables"] if t["table"] == table)
                self.assertEqual(counts["state"], "returned")
                lost = self.check_counts(mode, table, counts, (desktop, now), (rows, then), flags)
                if mode == merge.SYNCHRONIZE:
                    self.assertEqual(sorted(folded(x["key"]) for x in overruled), sorted(lost))
                    self.assertEqual([x["before"] for x in overruled], [desktop[folded(x["key"])] for x in overruled])
                else:
                    self.assertEqual(overruled, [])

    def test_every_mode_keeps_and_reports_all_of_it(self):
        for mode in MODES:
            for number in range(CASES):
                seed = SEED + 1000 * mode + number
                with self.subTest(mode=mode, seed=seed):
                    self.check_run(mode, seed)

    def test_a_run_without_changes_says_so_and_keeps_a_copy(self):
        with tempfile.TemporaryDirectory() as folder:
            world, _ = new_world(folder, random.Random(SEED), 10)
            self.assertEqual(world.run(0).returncode, 0)
            database = world.database.read_bytes()
            done = world.run(0)
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            self.assertEqual(world.changes(), [])
            with open(world.database, "r+b") as file:
                file.write(b"x")  # another program writes in place
            self.assertEqual((world.newest() / "Motorva.db").read_bytes(), database)


class Bounds(unittest.TestCase):
    """How much stays, and who may read it."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.world, self.case = new_world(folder.name, random.Random(SEED), 20)

    def names(self):
        return [entry.name for entry in self.world.entries()]

    def run_all_right(self, mode=merge.SYNCHRONIZE):
        done = self.world.run(mode)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done

    def test_only_the_newest_entries_stay(self):
        self.world.add_settings(History={"Keep": 2})
        seen = []
        for _ in range(4):
            self.run_all_right()
            seen.append(self.names()[-1])
            self.assertEqual(self.names(), seen[-2:])

    def test_the_oldest_give_way_when_they_take_too_much_room(self):
        self.world.add_settings(History={"MaxMegabytes": 1})
        seen, most = [], 0
        for _ in range(5):
            self.run_all_right(merge.OVERWRITE_PDA)
            seen.append(self.names()[-1])
            sizes = [sum(f.stat().st_size for f in e.rglob("*") if f.is_file()) for e in self.world.entries()]
            self.assertEqual(self.names(), seen[-len(sizes):])
            self.assertTrue(sum(sizes) <= 1 << 20 or len(sizes) == 1, sizes)
            most = max(most, len(sizes))
        self.assertLess(most, 5)
        self.assertGreater(most, 1)

    def test_without_history_there_is_no_folder_and_runs_do_the_same(self):
        with tempfile.TemporaryDirectory() as folder:
            other, _ = new_world(folder, random.Random(SEED), 20)
            self.world.add_settings(History={"Keep": 0})
            for mode in MODES:
                self.assertEqual(self.world.mvtool("preview", "--mode", str(mode)).returncode, 0)
                done, expected = self.run_all_right(mode), other.run(mode)
                self.assertEqual((done.returncode, done.stderr), (expected.returncode, expected.stderr))
                for table in SILENT_TABLES:
                    self.assertEqual(self.world.desktop_rows(table), other.desktop_rows(table))
                    self.assertEqual(without_dates(self.world.read_table(table)),
                                     without_dates(other.read_table(table)))
        self.assertFalse(self.world.history().exists())
        runs = self.world.mvtool("runs")
        said = f'No run of "{self.world.database}" is kept: Keep of [History] is 0.\n'
        self.assertEqual((runs.returncode, runs.stdout, runs.stderr), (0, said, ""))
        self.assertEqual(self.world.mvtool("restore", "last").returncode, 1)

    def test_an_entry_is_as_private_as_the_database(self):
        self.world.database.chmod(0o600)
        for mode in MODES:
            self.run_all_right(mode)
            files = [f for f in self.world.newest().rglob("*") if f.is_file()]
            self.assertEqual(len(files), 3 + 2 * len(SILENT_TABLES))
            for file in files:
                self.assertEqual(stat.S_IMODE(file.stat().st_mode) & 0o077, 0, file)

    def test_a_history_that_cannot_be_written_is_a_warning(self):
        self.world.history().parent.mkdir(exist_ok=True)
        self.world.history().write_text("in the way", encoding="utf-8")
        done = self.run_all_right()
        self.assertEqual(len(done.stderr.splitlines()), 1, done.stderr)
        self.assertTrue(done.stderr.startswith("Warning: the history of this run cannot be written ("), done.stderr)
        for table, (columns, rows, records) in self.case.items():
            kept, output = merge.merged(merge.SYNCHRONIZE, KEYS[table], columns, rows, records)
            self.assertEqual(len(self.world.desktop_rows(table)), len(kept))
            self.assertEqual(len(pdbfile.parse(self.world.read_table(table))[2]), len(output))
        self.assertEqual(self.world.history().read_text(encoding="utf-8"), "in the way")


if __name__ == "__main__":
    unittest.main()
