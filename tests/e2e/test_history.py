"""What a run keeps and says of itself: entries with everything in them, previews that tell what the run then does, bounds,
warnings, and lines on standard error."""

import json
import os
import pathlib
import random
import shutil
import signal
import stat
import subprocess
import tempfile
import time
import unittest

from . import cases, merge, pdbfile
from .jetreaders import structure_findings
from .test_sync import lay_out, with_empty_template, without_dates
from .world import BIN, KEYS, SILENT_TABLES, World, to_json

CASES = int(os.environ.get("MV_HISTORY_CASES", "3"))
KILLS = int(os.environ.get("MV_KILLS", "12")) // 2
SEED = int(os.environ.get("MV_SEED", "20240517"))
MODES = (merge.SYNCHRONIZE, merge.OVERWRITE_PDA, merge.OVERWRITE_PC)
MODE_NAMES = ("Synchronize", "Overwrite PDA", "Overwrite PC")


class HistoryWorld(World):
    """A world whose runs and tools tell what they print."""

    def run(self, mode):
        """Runs a silent sync to its end."""
        return self.start(str(self.program_folder / "MVPPCSync"), f"-Mode{mode}")

    def mvtool(self, *words):
        return self.start(str(self.program_folder / "mvtool"), *words)

    def start(self, *words):
        return subprocess.run(words, env=self.environment(), timeout=60, text=True, capture_output=True)

    def environment(self):
        temporary = self.folder / "tmp"
        temporary.mkdir(exist_ok=True)
        return dict(super().environment(), TMPDIR=str(temporary))

    def history(self):
        return self.folder / "sync" / "history"

    def entries(self):
        """Folders of the entries, oldest first."""
        return sorted(self.history().iterdir()) if self.history().is_dir() else []

    def newest(self):
        return self.entries()[-1]

    def record(self):
        return json.loads((self.newest() / "run.json").read_text(encoding="utf-8"))

    def changes(self):
        return [json.loads(line) for line in (self.newest() / "changes.jsonl").read_text(encoding="utf-8").splitlines()]

    def add_settings(self, **sections):
        """{section: {key: value}}, added to the settings."""
        file = self.folder / "config" / "Motorva32.ini"
        text = file.read_text(encoding="utf-8")
        for section, values in sections.items():
            text += f"[{section}]\n" + "".join(f"{k}={v}\n" for k, v in values.items())
        file.write_text(text, encoding="utf-8")

    def handheld_files(self):
        return {f.name: f.read_bytes() for f in sorted(self.tables.glob("*.pdb"))}

    def files(self):
        """Content and time of every file, times of every folder; the folder for temporary files aside."""
        found = {}
        for path in sorted(self.folder.rglob("*")):
            facts = path.stat()
            if path.name != "tmp":
                found[path] = (facts.st_mtime_ns, facts.st_mode, path.read_bytes() if path.is_file() else None)
        return found

    def desktop_rows(self, table):
        """Rows by their folded key, each as a JSON object."""
        out = subprocess.run([str(BIN / "mvtool"), "show", str(self.database), table], check=True,
                             capture_output=True).stdout.decode("utf-8")
        return {folded(row[KEYS[table]]): row for row in map(json.loads, out.splitlines())}

    def handheld_rows(self, table):
        """The same of the handheld's table, and the flags of each row."""
        return rows_of_file(table, self.read_table(table))


def folded(key):
    return (key or "").casefold()


def rows_of_file(table, data):
    _, fields, records = pdbfile.parse(data)
    rows = [{n: to_json(v) for (n, _), v in zip(fields, r.values)} for r in records]
    return ({folded(row[KEYS[table]]): row for row in rows},
            {folded(row[KEYS[table]]): r.attributes & (pdbfile.MODIFIED | pdbfile.DELETED)
             for row, r in zip(rows, records)})


ZEROS = {"Currency": "0.0000", "DateTime": "1904-01-01T00:00:00", "Boolean": False, "Text": "", "Memo": ""}


def on_handheld(columns, row):
    """A row of a report as the handheld holds it: it knows no null, and reads a date beyond its own as one of them."""
    if row is None:
        return None
    return {n: ZEROS.get(t, 0) if row[n] is None else row[n] for n, t, _ in columns}


def new_world(folder, rng, most=30):
    world = HistoryWorld(folder)
    case = cases.world_case(rng, most)
    lay_out(world, case)
    with_empty_template(world, case)
    shutil.copy(BIN / "mvtool", world.program_folder / "mvtool")
    return world, case


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
        lines = [line for line in done.stderr.splitlines() if not line.startswith("Warning: ")]
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


class holding:
    """Another program that has a file open."""

    def __init__(self, file, lock):
        self.words = ["flock", lock, str(file), "-c", "echo held; exec sleep 60"]

    def __enter__(self):
        self.process = subprocess.Popen(self.words, start_new_session=True, stdout=subprocess.PIPE)
        self.process.stdout.readline()

    def __exit__(self, *_):
        os.killpg(self.process.pid, signal.SIGKILL)
        self.process.wait()
        self.process.stdout.close()


if __name__ == "__main__":
    unittest.main()
