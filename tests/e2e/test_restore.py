"""The way back: both sides as they were before a run, to the byte; killed at random instants; and sending again."""

import json
import os
import random
import signal
import subprocess
import tempfile
import time
import unittest

from . import cases, merge
from .jetreaders import structure_findings
from .test_sync import lay_out, with_empty_template
from .world import BIN, SILENT_TABLES, World

KILLS = int(os.environ.get("MV_KILLS", "12"))
SEED = int(os.environ.get("MV_SEED", "20240517"))


class RestoreWorld(World):
    """A world with a history whose first entry is made by hand, as a run keeps it."""

    def mvtool(self, *words):
        return subprocess.run([str(BIN / "mvtool"), *words], env=self.environment(), timeout=120, text=True,
                              capture_output=True)

    def history(self):
        return self.folder / "sync" / "history"

    def keep(self, name):
        """Keeps both sides as they are now in an entry of that name."""
        entry = self.history() / name
        for folder in ("handheld", "result"):
            (entry / folder).mkdir(parents=True)
        os.link(self.database, entry / "Motorva.db")
        for file in self.tables.glob("*.pdb"):
            (entry / "handheld" / file.name).write_bytes(file.read_bytes())
        facts = self.database.stat()
        record = {"version": "1.0.0", "mode": 0, "modeName": "Synchronize", "began": "2020-01-01T00:00:00",
                  "ended": "2020-01-01T00:00:01", "status": 0,
                  "database": {"path": str(self.database), "kept": "Motorva.db", "bytes": facts.st_size,
                               "modified": facts.st_mtime_ns}}
        (entry / "run.json").write_text(json.dumps(record) + "\n", encoding="utf-8")
        return name

    def state(self):
        return (self.database.read_bytes(), {f.name: f.read_bytes() for f in sorted(self.tables.glob("*.pdb"))})


class Restores(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.world = RestoreWorld(folder.name)
        self.case = cases.world_case(random.Random(SEED), 20)
        lay_out(self.world, self.case)
        self.before = self.world.state()
        self.run_name = self.world.keep("20200101-000000")

    def restore(self, *words):
        done = self.world.mvtool("restore", *words)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return done.stdout

    def runs(self):
        return [json.loads(line) for line in self.world.mvtool("runs", "--json").stdout.splitlines()]

    def test_runs_of_every_mode_are_taken_back_to_the_byte(self):
        with_empty_template(self.world, self.case)
        for mode in (merge.SYNCHRONIZE, merge.OVERWRITE_PDA, merge.OVERWRITE_PC):
            with self.subTest(mode=mode):
                self.assertEqual(self.world.sync(mode), 0, self.world.log_text())
                self.assertNotEqual(self.world.state(), self.before)
                self.restore(self.run_name)
                self.assertEqual(self.world.state(), self.before)
                self.assertEqual(structure_findings(self.world.database), "")

    def test_a_restore_is_undone_by_restoring_its_entry(self):
        self.assertEqual(self.world.sync(merge.SYNCHRONIZE), 0)
        after = self.world.state()
        out = self.restore(self.run_name)
        self.restore(out.splitlines()[-1].split()[-1])
        self.assertEqual(self.world.state(), after)
        self.restore("last")
        self.assertEqual(self.world.state(), self.before)
        self.assertEqual([r["mode"] for r in self.runs()][:3], ["restore"] * 3)

    def test_a_private_database_stays_private(self):
        self.world.database.chmod(0o600)
        self.assertEqual(self.world.sync(merge.SYNCHRONIZE), 0)
        self.restore(self.run_name)
        self.assertEqual(self.world.database.stat().st_mode & 0o777, 0o600)
        newest = self.world.history() / self.runs()[0]["run"]
        for file in (f for f in newest.rglob("*") if f.is_file()):
            self.assertEqual(file.stat().st_mode & 0o777, 0o600, file)

    def test_a_dry_run_changes_nothing_and_names_every_table(self):
        self.assertEqual(self.world.sync(merge.SYNCHRONIZE), 0)
        def look():
            return {f: (f.stat().st_mtime_ns, f.stat().st_size) for f in self.world.folder.rglob("*")}
        seen = look()
        out = self.restore(self.run_name, "--dry-run")
        self.assertEqual(look(), seen)
        for table in SILENT_TABLES:
            self.assertIn(f"{table}: ", out)
        self.assertEqual(self.restore(self.run_name).count("as before the run"), 1 + len(self.before[1]))
        out = self.restore(self.run_name, "--dry-run")
        self.assertEqual({line.split(": ")[1] for line in out.splitlines()}, {"no change"})

    def test_one_side_alone(self):
        self.assertEqual(self.world.sync(merge.OVERWRITE_PDA), 0)
        database, tables = self.world.state()
        self.restore(self.run_name, "--handheld-only")
        self.assertEqual(self.world.state(), (database, self.before[1]))
        self.restore("last")
        self.assertEqual(self.world.state(), (database, tables))

    def test_a_database_in_use_is_left_alone(self):
        self.assertEqual(self.world.sync(merge.SYNCHRONIZE), 0)
        seen = self.world.state()
        with subprocess.Popen(["flock", "--shared", str(self.world.database), "sleep", "60"],
                              start_new_session=True) as holder:
            try:
                time.sleep(0.3)
                done = self.world.mvtool("restore", self.run_name)
            finally:
                os.killpg(holder.pid, signal.SIGKILL)
        self.assertEqual(done.returncode, 1)
        self.assertIn("already in use", done.stderr)
        self.assertEqual(self.world.state(), seen)

    def test_a_kept_database_that_was_written_into_is_not_put_back(self):
        self.assertEqual(self.world.sync(merge.SYNCHRONIZE), 0)
        seen = self.world.state()
        kept = self.world.history() / self.run_name / "Motorva.db"
        with open(kept, "r+b") as file:
            file.seek(5000)
            file.write(b"x")
        done = self.world.mvtool("restore", self.run_name)
        self.assertEqual(done.returncode, 1)
        self.assertIn("another program has written into", done.stderr)
        self.assertEqual(self.world.state(), seen)
        self.restore(self.run_name, "--handheld-only")
        self.assertEqual(self.world.state(), (seen[0], self.before[1]))

    def test_a_result_is_sent_again(self):
        self.assertEqual(self.world.sync(merge.SYNCHRONIZE), 0)
        result = self.world.history() / self.run_name / "result" / "brnd_Fuel.pdb"
        result.write_bytes(self.world.read_table("brnd_Fuel"))
        self.world.tables.joinpath("brnd_Fuel.pdb").unlink()
        done = self.world.mvtool("send", "brnd_Fuel", "--from", self.run_name)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(self.world.read_table("brnd_Fuel"), result.read_bytes())


class KilledRestores(unittest.TestCase):
    def setUp(self):
        self.rng = random.Random(SEED)
        self.case = cases.world_case(self.rng, 20)

    def after_a_run(self, folder):
        """The world, and its states before and after the run "20200101-000000"."""
        world = RestoreWorld(folder)
        lay_out(world, self.case)
        before = world.state()
        world.keep("20200101-000000")
        self.assertEqual(world.sync(merge.SYNCHRONIZE), 0)
        return world, before, world.state()

    def seconds_of_a_restore(self):
        with tempfile.TemporaryDirectory() as folder:
            world, _, _ = self.after_a_run(folder)
            started = time.monotonic()
            self.assertEqual(world.mvtool("restore", "20200101-000000").returncode, 0)
            return time.monotonic() - started

    def test_a_restore_that_is_killed_at_any_instant_is_carried_on(self):
        duration = self.seconds_of_a_restore()
        for kill in range(KILLS):
            with self.subTest(kill=kill), tempfile.TemporaryDirectory() as folder:
                world, before, after = self.after_a_run(folder)
                self.kill_restore(world, "20200101-000000", self.rng.uniform(0, duration))
                done = world.mvtool("restore", "20200101-000000")
                self.assertEqual((done.returncode, done.stderr), (0, ""))
                self.assertEqual(world.state(), before)
                self.check_undo(world, after)

    def kill_restore(self, world, run, seconds):
        process = subprocess.Popen([str(BIN / "mvtool"), "restore", run], env=world.environment(),
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        time.sleep(seconds)
        process.send_signal(signal.SIGKILL)
        process.wait()

    def check_undo(self, world, after):
        """The first restore with a record brings back what there was before it, whether it was carried on or complete
        when the kill came."""
        runs = [json.loads(line) for line in world.mvtool("runs", "--json").stdout.splitlines()]
        restores = [r["run"] for r in runs if r["mode"] == "restore"]
        first = world.history() / restores[-1] / "run.json"
        self.assertTrue(json.loads(first.read_text(encoding="utf-8"))["ended"])
        done = world.mvtool("restore", restores[-1])
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(world.state(), after)


if __name__ == "__main__":
    unittest.main()
