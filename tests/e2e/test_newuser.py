"""The first hour with the program: settings that are missing or mistyped, a card that is not there, setup and doctor."""

import contextlib
import fcntl
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

from . import world

MVTOOL = world.BIN / "mvtool"
PROGRAM = world.BIN / "MVPPCSync"


class NewUser(unittest.TestCase):
    """A home with a card that has the tables, a database, and no settings."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = pathlib.Path(folder.name)
        self.config = self.home / "config"
        self.settings = self.config / "Motorva32.ini"
        self.check(MVTOOL, "demo", self.home / "demo")
        self.card = self.home / "demo" / "handheld"
        self.database = self.home / "demo" / "Motorva.db"
        self.log = self.home / "demo" / "SyncLog.txt"

    def run_program(self, *command, answers="", program=None):
        return subprocess.run([str(word) for word in command], input=answers, text=True, capture_output=True,
                              timeout=120, env=dict(os.environ, XDG_CONFIG_HOME=str(self.config), LC_ALL="C.UTF-8"))

    def check(self, *command):
        done = self.run_program(*command)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        return done

    def write_settings(self, **sections):
        text = "".join(f"[{section}]\n" + "".join(f"{k}={v}\n" for k, v in values.items())
                       for section, values in sections.items())
        self.config.mkdir(exist_ok=True)
        self.settings.write_text(text, encoding="utf-8")

    def usual(self, **handheld):
        self.write_settings(General={"DBPath": self.home / "demo"}, Handheld=handheld or {"Root": self.card})

    def set_up(self, *more):
        return self.run_program(MVTOOL, "setup", "--database", self.database, "--handheld", "folder", "--root", self.card,
                                "--yes", *more)


class Errors(NewUser):
    def test_without_settings_it_says_where_they_were_looked_for_and_what_writes_them(self):
        # A copy, for the log would lie beside the program.
        programs = self.home / "programs"
        shutil.copytree(world.BIN, programs, ignore=shutil.ignore_patterns("*_tests", "fuzz*", "bench*", "make_*"))
        done = self.run_program(programs / "MVPPCSync", "-Mode0")
        self.assertEqual(done.returncode, 3)
        self.assertIn(str(self.settings), done.stderr)
        self.assertIn("mvtool setup", done.stderr)

    def test_a_missing_root_is_named(self):
        self.usual(Root=self.home / "card")
        done = self.run_program(PROGRAM, "-Mode0")
        self.assertEqual(done.returncode, 3)
        self.assertIn(f'"{self.home / "card"}", the Root of [Handheld], is no folder', done.stderr)

    def test_an_empty_mount_point_is_told_from_a_missing_one(self):
        (self.home / "card").mkdir()
        self.usual(Root=self.home / "card")
        self.assertIn("is empty, as a mount point without its card is", self.run_program(PROGRAM, "-Mode0").stderr)

    def test_a_mistyped_key_is_named_with_the_one_that_was_meant(self):
        self.usual(Rooot=self.card)
        done = self.run_program(PROGRAM, "-Mode0")
        self.assertEqual(done.returncode, 3)
        self.assertIn("[Handheld] Rooot is none and has no effect; did you mean [Handheld] Root?", done.stderr)

    def test_a_number_that_is_none_is_named_with_its_key(self):
        self.write_settings(General={"DBPath": self.home / "demo"}, PPC_Mobile={"SyncLogHistory": "yes"})
        done = self.run_program(PROGRAM, "-Mode0")
        self.assertEqual(done.returncode, 2)
        self.assertIn('the setting SyncLogHistory of [PPC_Mobile], "yes", is no number', done.stderr)
        self.assertIn("mvtool doctor", done.stderr)

    def test_a_second_run_at_once_is_refused(self):
        self.usual()
        (self.home / "demo" / "sync").mkdir(exist_ok=True)
        with open(self.home / "demo" / "sync" / "run.lock", "w", encoding="utf-8") as lock, contextlib.closing(lock):
            fcntl.lockf(lock, fcntl.LOCK_EX)
            done = self.run_program(PROGRAM, "-Mode0")
        self.assertEqual(done.returncode, 2)
        self.assertIn("another run with", done.stderr)
        self.assertIn("run again when it has ended", done.stderr)

    def test_an_overwrite_pc_without_its_database_names_it(self):
        self.usual()
        self.database.unlink()
        done = self.run_program(PROGRAM, "-Mode2")
        self.assertEqual(done.returncode, 2)
        self.assertIn("Motorva.db", done.stderr)
        self.assertIn("mvtool doctor", done.stderr)

    def test_a_log_that_cannot_be_written_is_named(self):
        self.write_settings(General={"DBPath": self.home / "demo"}, Handheld={"Root": self.card},
                            PPC_Mobile={"SyncLogPath": self.home / "none" / "SyncLog.txt"})
        done = self.run_program(PROGRAM, "-Mode0")
        self.assertEqual(done.returncode, 2)
        self.assertIn(str(self.home / "none" / "SyncLog.txt"), done.stderr)
        self.assertIn("mvtool doctor", done.stderr)


class Setup(NewUser):
    def test_setup_preview_sync_look_and_undo(self):
        before = self.database.read_bytes()
        done = self.set_up()
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertIn("MVPPCSync -Mode0", done.stdout)
        self.check(MVTOOL, "preview")
        self.check(PROGRAM, "-Mode0")
        self.assertNotEqual(self.database.read_bytes(), before)
        self.assertIn("last run", self.check(MVTOOL, "doctor").stdout)
        self.check(MVTOOL, "restore", "last")
        self.assertEqual(self.database.read_bytes(), before)

    def test_without_a_database_the_first_run_fills_one_from_the_handheld(self):
        self.database = self.home / "cars" / "Motorva.db"
        done = self.set_up()
        self.assertIn("MVPPCSync -Mode2", done.stdout)
        self.assertNotIn("-Mode0", done.stdout)
        self.check(PROGRAM, "-Mode2")
        self.assertIn("KY_RECID", self.check(MVTOOL, "show", self.database, "brnd_Fuel").stdout)

    def test_asked_it_takes_answers_and_keeps_what_else_the_file_holds(self):
        self.config.mkdir()
        self.settings.write_text("; my own\n[Handheld]\nWait=7\n", encoding="utf-8")
        done = self.run_program(MVTOOL, "setup", answers=f"{self.database}\nfolder\n{self.card}\n\ny\n")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        text = self.settings.read_text(encoding="utf-8")
        self.assertTrue(text.startswith("; my own\n[Handheld]\nWait=7\n"), text)
        self.assertIn(f"Root={self.card}\n", text)


class Doctor(NewUser):
    def test_it_changes_nothing_anywhere(self):
        self.usual()
        (self.home / "demo" / "sync").mkdir(exist_ok=True)
        def state():
            return {str(path): (path.stat().st_mtime_ns, path.read_bytes() if path.is_file() else None)
                    for path in sorted(self.home.rglob("*"))}
        before = state()
        done = self.check(MVTOOL, "doctor")
        self.assertIn("0 failures, 0 warnings", done.stdout)
        self.assertEqual(state(), before)

    def test_a_quote_in_a_key_is_found_before_a_run_stops_at_it(self):
        self.usual()
        insert = self.run_program(MVTOOL, "apply", self.database, "brnd_Fuel",
                                  answers='{"op":"insert","row":{"KY_RECID":"O\'Neill"}}\n')
        self.assertEqual(insert.returncode, 0, insert.stderr)
        done = self.run_program(MVTOOL, "doctor")
        self.assertEqual(done.returncode, 2)
        self.assertIn("failure  rows: brnd_Fuel, row \"O'Neill\"", done.stdout)

    def test_misuse_ends_with_2(self):
        self.assertEqual(self.run_program(MVTOOL, "doctor", "--frob").returncode, 2)


if __name__ == "__main__":
    unittest.main()
