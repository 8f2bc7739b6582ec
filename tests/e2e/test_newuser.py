"""The first hour with the program: settings that are missing or mistyped, a card that is not there, setup and doctor. Each story
is one of both editions, but for what only one of them has."""

import contextlib
import fcntl
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

from . import windows, world
from .network import NetworkWorld, free_port


class LinuxHome:
    """A home whose settings are a file."""

    programs = world.BIN

    def run_program(self, *command, answers=""):
        return subprocess.run([str(word) for word in command], input=answers, text=True, capture_output=True,
                              timeout=120, cwd=self.home,
                              env=dict(os.environ, XDG_CONFIG_HOME=str(self.config), HOME=str(self.home), LC_ALL="C.UTF-8"))

    def path(self, path):
        return str(path)

    def place(self):
        return str(self.settings)

    def write_settings(self, **sections):
        if not sections:
            return
        text = "".join(f"[{section}]\n" + "".join(f"{k}={v}\n" for k, v in values.items())
                       for section, values in sections.items())
        self.config.mkdir(exist_ok=True)
        self.settings.write_text(text, encoding="utf-8")

    def stored(self):
        """What the settings hold, as text."""
        return self.settings.read_text(encoding="utf-8") if self.settings.exists() else ""


@unittest.skipUnless(windows.PROGRAM.exists() and shutil.which("wine"), "no Wine, or no Windows programs")
class WindowsHome:
    """One whose settings are in the registry, under Wine; each test begins with none."""

    PREFIX = windows.WINE_PREFIX.with_name("wine-newuser")
    KEY = windows.SETTINGS_KEY
    programs = windows.WINDOWS_BIN

    def run_program(self, *command, answers=""):
        program, *words = [str(word) for word in command]
        # Answers come in the line ends of a console.
        done = subprocess.run([str(world.ROOT / "tools" / "wine-run"), program, *words],
                              input=answers.replace("\n", "\r\n").encode("utf-8"),
                              capture_output=True, timeout=180, cwd=self.home,
                              env=dict(os.environ, WINEPREFIX=str(self.PREFIX), LC_ALL="C.UTF-8"))
        return subprocess.CompletedProcess(command, done.returncode, done.stdout.decode("utf-8", "replace"),
                                           done.stderr.decode("utf-8", "replace"))

    def path(self, path):
        return windows.windows_path(path)

    def place(self):
        return "Motorva32"

    def write_settings(self, **sections):
        lines = ["Windows Registry Editor Version 5.00", "", f"[-{self.KEY}]"]
        for section, values in sections.items():
            lines += ["", f"[{self.KEY}\\{section}]"]
            lines += [f'"{key}"="{str(value).replace(chr(92), chr(92) * 2)}"' for key, value in values.items()]
        file = self.home / "settings.reg"
        file.write_text("\r\n".join(lines) + "\r\n", encoding="utf-16", newline="")
        self.check("reg", "import", self.path(file))
        file.unlink()

    def stored(self):
        """What the settings hold, as text."""
        return self.run_program("reg", "query", self.KEY, "/s").stdout


class NewUser:
    """A home with a card that has the tables, a database, and no settings."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = pathlib.Path(folder.name).resolve()
        self.config = self.home / "config"
        self.settings = self.config / "Motorva32.ini"
        self.mvtool = self.programs / ("mvtool.exe" if self.programs == windows.WINDOWS_BIN else "mvtool")
        self.program = self.programs / ("MVPPCSync.exe" if self.programs == windows.WINDOWS_BIN else "MVPPCSync")
        self.check(self.mvtool, "demo", self.path(self.home / "demo"))
        self.write_settings()
        self.card = self.home / "demo" / "handheld"
        self.database = self.home / "demo" / "Motorva.db"
        self.log = self.home / "demo" / "SyncLog.txt"

    def check(self, *command):
        done = self.run_program(*command)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        return done

    def usual(self, **handheld):
        self.write_settings(General={"DBPath": self.path(self.home / "demo")},
                            Handheld=handheld or {"Connection": "folder", "Root": self.path(self.card)})

    def set_up(self, *more):
        return self.run_program(self.mvtool, "setup", "--database", self.path(self.database), "--handheld", "folder", "--root",
                                self.path(self.card), "--yes", *more)


class Errors(NewUser):
    def run_silently(self, mode, status):
        """What a run said that ended with that status."""
        done = self.run_program(self.program, f"-Mode{mode}")
        self.assertEqual(done.returncode, status, done.stderr)
        return done.stderr

    def test_a_missing_root_is_named(self):
        card = self.path(self.home / "card")
        self.usual(Root=card)
        self.assertIn(f'"{card}", the Root of [Handheld], is no folder', self.run_silently(0, 3))

    def test_an_empty_mount_point_is_told_from_a_missing_one(self):
        (self.home / "card").mkdir()
        self.usual(Root=self.path(self.home / "card"))
        self.assertIn("is empty, as a mount point without its card is", self.run_silently(0, 1))

    def test_a_mistyped_key_is_named_with_the_one_that_was_meant(self):
        self.usual(Rooot=self.path(self.card))
        self.assertIn("[Handheld] Rooot is none and has no effect; did you mean [Handheld] Root?", self.run_silently(0, 3))

    def test_a_number_that_is_none_is_named_with_its_key(self):
        self.write_settings(General={"DBPath": self.path(self.home / "demo")}, PPC_Mobile={"SyncLogHistory": "yes"})
        said = self.run_silently(0, 2)
        self.assertIn('the setting SyncLogHistory of [PPC_Mobile], "yes", is no number', said)
        self.assertIn("mvtool doctor", said)

    def test_an_overwrite_pc_without_its_database_names_it(self):
        self.usual()
        self.database.unlink()
        said = self.run_silently(2, 2)
        self.assertIn("Motorva.db", said)
        self.assertIn("mvtool doctor", said)

    def test_a_log_that_cannot_be_written_is_named(self):
        log = self.path(self.home / "none" / "SyncLog.txt")
        self.write_settings(General={"DBPath": self.path(self.home / "demo")}, Handheld={"Root": self.path(self.card)},
                            PPC_Mobile={"SyncLogPath": log})
        said = self.run_silently(0, 2)
        self.assertIn(log, said)
        self.assertIn("mvtool doctor", said)

    def test_without_settings_it_says_where_they_were_looked_for_and_what_writes_them(self):
        # A copy, for the log would lie beside the program.
        programs = self.home / "programs"
        programs.mkdir()
        for name in (self.program.name, "_20"):
            shutil.copy(self.program.with_name(name), programs)
        self.program = programs / self.program.name
        said = self.run_silently(0, 3)
        self.assertIn(self.place(), said)
        self.assertIn("mvtool setup", said)


class Setup(NewUser):
    def test_setup_preview_sync_look_and_undo(self):
        before = self.database.read_bytes()
        done = self.set_up()
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertIn("MVPPCSync -Mode0", done.stdout)
        self.check(self.mvtool, "preview")
        self.check(self.program, "-Mode0")
        self.assertNotEqual(self.database.read_bytes(), before)
        self.assertIn("last run", self.check(self.mvtool, "doctor").stdout)
        self.check(self.mvtool, "restore", "last")
        self.assertEqual(self.database.read_bytes(), before)

    def test_without_a_database_the_first_run_fills_one_from_the_handheld(self):
        self.database = self.home / "cars" / "Motorva.db"
        done = self.set_up()
        self.assertIn("MVPPCSync -Mode2", done.stdout)
        self.assertNotIn("-Mode0", done.stdout)
        self.check(self.program, "-Mode2")
        self.assertIn("KY_RECID", self.check(self.mvtool, "show", self.path(self.database), "brnd_Fuel").stdout)

    def test_asked_it_takes_answers_and_asks_again_for_those_that_make_no_sense(self):
        folder = self.home / "my cärs"
        shutil.move(self.home / "demo", folder)
        database, card = (self.path(folder / name) for name in ("Motorva.db", "handheld"))
        done = self.run_program(self.mvtool, "setup", answers=f'\n"{database}"\ncable\nfolder\n{card}\n\nperhaps\ny\n')
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertIn('not by "cable"', done.stdout)
        self.check(self.program, "-Mode0")
        self.assertTrue((folder / "SyncLog.txt").exists())

    def test_a_relative_path_is_counted_from_where_setup_was_started(self):
        done = self.run_program(self.mvtool, "setup", "--database", "demo", "--handheld", "folder", "--root", "demo/handheld",
                                "--log", "my log.txt", "--yes")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        stored = self.stored()
        for path in (self.database, self.card, self.home / "my log.txt"):
            self.assertIn(self.path(path), stored)

    def test_answers_that_end_write_nothing(self):
        before = self.stored()
        done = self.run_program(self.mvtool, "setup", answers=f"{self.path(self.database)}\nfolder\n")
        self.assertEqual(done.returncode, 1, done.stdout + done.stderr)
        self.assertIn("an answer is missing; nothing was written", done.stderr)
        self.assertTrue(done.stdout.endswith("\n"), done.stdout)
        self.assertEqual(self.stored(), before)

    def test_a_handheld_on_the_network_that_does_not_call_is_a_failure_with_what_to_do(self):
        control = free_port()
        self.write_settings(Handheld={"ControlPortA": control, "ControlPortB": 0, "WakeUpPortB": 0})
        done = self.run_program(self.mvtool, "setup", "--database", self.path(self.database), "--handheld", "network",
                                "--listen", "127.0.0.1", "--wait", "1", "--yes")
        self.assertEqual(done.returncode, 2, done.stdout + done.stderr)
        self.assertIn("no handheld has called; connect it and turn it on", done.stdout)
        stored = self.stored()
        for text in ("network", "Listen", "127.0.0.1", "Wait"):
            self.assertIn(text, stored)


class Doctor(NewUser):
    def test_it_changes_nothing_anywhere(self):
        self.usual()
        (self.home / "demo" / "sync").mkdir(exist_ok=True)
        def state():
            return {str(path): (path.stat().st_mtime_ns, path.read_bytes() if path.is_file() else None)
                    for path in sorted(self.home.rglob("*"))}
        before, settings = state(), self.stored()
        done = self.check(self.mvtool, "doctor")
        self.assertIn("0 failures, 0 warnings", done.stdout)
        self.assertEqual((state(), self.stored()), (before, settings))

    def test_a_quote_in_a_key_is_found_before_a_run_stops_at_it(self):
        self.usual()
        insert = self.run_program(self.mvtool, "apply", self.path(self.database), "brnd_Fuel",
                                  answers='{"op":"insert","row":{"KY_RECID":"O\'Neill"}}\n')
        self.assertEqual(insert.returncode, 0, insert.stderr)
        done = self.run_program(self.mvtool, "doctor")
        self.assertEqual(done.returncode, 2)
        self.assertIn("failure  rows: brnd_Fuel, row \"O'Neill\"", done.stdout)

    def test_misuse_ends_with_2(self):
        self.assertEqual(self.run_program(self.mvtool, "doctor", "--frob").returncode, 2)


class ErrorsOnLinux(LinuxHome, Errors, unittest.TestCase):
    def test_a_second_run_at_once_is_refused(self):
        self.usual()
        (self.home / "demo" / "sync").mkdir(exist_ok=True)
        with open(self.home / "demo" / "sync" / "run.lock", "w", encoding="utf-8") as lock, contextlib.closing(lock):
            fcntl.lockf(lock, fcntl.LOCK_EX)
            said = self.run_silently(0, 2)
        self.assertIn("another run with", said)
        self.assertIn("run again when it has ended", said)


class ErrorsOnWindows(WindowsHome, Errors, unittest.TestCase):
    pass


class SetupOnLinux(LinuxHome, Setup, unittest.TestCase):
    def test_what_else_the_file_holds_stays_with_its_line_ends_and_its_mark(self):
        for before in ("; my own\n[Handheld]\nWait=7\n", "; my own\r\n[Handheld]\r\nWait=7\r\n",
                       "\ufeff; my own\n[Handheld]\nWait=7\n", "\ufeff[Handheld]\r\nWait=7\r\n"):
            with self.subTest(before=before):
                self.config.mkdir(exist_ok=True)
                self.settings.write_bytes(before.encode("utf-8"))
                done = self.set_up()
                self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
                self.assertIn('Wait: "7" (stored)', done.stdout)
                text = self.settings.read_bytes().decode("utf-8")
                end = "\r\n" if "\r" in before else "\n"
                self.assertTrue(text.startswith(before), text)
                self.assertIn(f"{end}Root={self.card}{end}", text)
                self.assertEqual(text.count("\n"), text.count(end))
                self.check(self.program, "-Mode0")

    def test_the_home_folder_may_be_written_as_a_shell_takes_it(self):
        done = self.run_program(self.mvtool, "setup", "--database=~/cars/", "--handheld", "folder", "--root=~/demo/handheld",
                                "--yes")
        self.assertIn(f"DesktopDBPath={self.home}/cars/Motorva.db\n", self.stored(), done.stderr)
        self.assertIn(f"Root={self.card}\n", self.stored())

    def test_a_handheld_on_the_network_answers_doctor_at_the_end(self):
        network = NetworkWorld(self.home / "network")
        shutil.copytree(self.card, network.handheld, dirs_exist_ok=True)
        self.write_settings(Handheld={"ControlPortA": network.control, "ControlPortB": 0, "CallPortA": network.calls})
        with network.simulator():
            done = self.run_program(self.mvtool, "setup", "--database", self.database, "--handheld", "network",
                                    "--listen", "127.0.0.1", "--wait", "20", "--yes")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertIn("it answers (network), 13 tables", done.stdout)


class SetupOnWindows(WindowsHome, Setup, unittest.TestCase):
    pass


class DoctorOnLinux(LinuxHome, Doctor, unittest.TestCase):
    pass


class DoctorOnWindows(WindowsHome, Doctor, unittest.TestCase):
    pass


if __name__ == "__main__":
    unittest.main()
