"""Interactive runs on a terminal, as a user does them: the Linux program behind a terminal of the test's own."""

import fcntl
import os
import pathlib
import pty
import re
import select
import shutil
import signal
import struct
import subprocess
import tempfile
import termios
import time
import unittest

from .world import BIN

PATIENCE = 60.0
CTRL_C, CTRL_Z, ENTER, ESCAPE, BACKSPACE = "\x03", "\x1a", "\r", "\x1b", "\x7f"
TABLES = ["brnd_Accessories", "brnd_AccItems", "brnd_Customer", "brnd_FieldValues", "brnd_Fuel", "brnd_Maintenance",
          "brnd_MaintTasks", "brnd_Models", "brnd_Parts", "brnd_Payment", "brnd_SchedMaint", "brnd_Trip", "brnd_Vehicle"]
CONTROLS = re.compile(r"\x1b\[[0-9;?]*[A-Za-z]|\x1b[=>]")
COMMANDS = "[A]bout...  "


class World:
    """A folder with a handheld and a database, and the program's settings for them."""

    def __init__(self, rows=None):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        size = ["--rows", str(rows)] if rows else []
        subprocess.run([str(BIN / "mvtool"), "demo", *size, str(self.folder)], check=True, stdout=subprocess.DEVNULL)
        self.handheld = self.folder / "handheld"
        self.away = self.folder / "handheld away"
        self.log = self.folder / "SyncLog.txt"
        self.settings = self.folder / "config" / "Motorva32.ini"
        self.set()

    def set(self, **mobile):
        self.settings.parent.mkdir(exist_ok=True)
        lines = ["[General]", f"DBPath={self.folder}", "[Handheld]", f"Root={self.handheld}", "[PPC_Mobile]"]
        self.settings.write_text("\n".join(lines + [f"{k}={v}" for k, v in mobile.items()]) + "\n", encoding="utf-8")

    def stored(self):
        pairs = [line.split("=", 1) for line in self.settings.read_text(encoding="utf-8").splitlines() if "=" in line]
        return dict(pairs)

    def environment(self, **variables):
        environment = {k: v for k, v in os.environ.items() if k not in ("DISPLAY", "WAYLAND_DISPLAY", "NO_COLOR")}
        environment.update({"XDG_CONFIG_HOME": str(self.settings.parent), "LC_ALL": "C.UTF-8", "TERM": "xterm",
                            "PAGER": "cat"})
        environment.update(variables)
        return environment

    def log_text(self):
        return self.log.read_bytes().decode("cp1252") if self.log.exists() else ""

    def remove(self):
        shutil.rmtree(self.folder, ignore_errors=True)


class Terminal:
    """The program on a terminal. `output`: where standard output goes when it is not the terminal."""

    def __init__(self, world, *arguments, columns=100, output=None, program=BIN / "MVPPCSync",
                 **variables):
        self.controller, terminal = pty.openpty()
        fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        self.before = termios.tcgetattr(terminal)
        self.terminal = terminal
        self.text = ""

        def adopt():
            os.setsid()
            fcntl.ioctl(terminal, termios.TIOCSCTTY, 0)
            os.tcsetpgrp(terminal, os.getpgrp())
            # A test run in the background of a script is told to ignore it.
            signal.signal(signal.SIGINT, signal.SIG_DFL)
        self.process = subprocess.Popen([str(program), *(arguments or ["--terminal"])], stdin=terminal,
                                        stdout=output or terminal, stderr=terminal,
                                        env=world.environment(**variables), preexec_fn=adopt)

    def read(self, seconds):
        """Takes what comes within that time."""
        if select.select([self.controller], [], [], seconds)[0]:
            self.text += os.read(self.controller, 65536).decode("utf-8", "replace")

    def wait_for(self, text, after=0):
        """Where the text ends that is shown behind that place."""
        end = time.monotonic() + PATIENCE
        while text not in self.text[after:]:
            if time.monotonic() > end:
                raise AssertionError(f"waited in vain for {text!r}; shown: {self.text[after:][-2000:]!r}")
            self.read(0.05)
        return self.text.index(text, after) + len(text)

    def type(self, keys):
        """Returns the place behind all that was shown before."""
        place = len(self.text)
        os.write(self.controller, keys.encode("utf-8"))
        return place

    def mode(self):
        return termios.tcgetattr(self.terminal)

    def resize(self, columns):
        fcntl.ioctl(self.terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))

    def exit_status(self):
        end = time.monotonic() + PATIENCE
        while self.process.poll() is None and time.monotonic() < end:
            self.read(0.02)
        while select.select([self.controller], [], [], 0)[0]:
            self.read(0)
        return self.process.wait(timeout=1)

    def close(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        os.close(self.controller)
        os.close(self.terminal)


def lines_of(text):
    """What stays on the terminal: no control sequences, and of a line that was drawn over the last form."""
    return [line.split("\r")[-1].rstrip() for line in CONTROLS.sub("", text.replace("\r\n", "\n")).split("\n")]


class TerminalCase(unittest.TestCase):
    def world(self, rows=None):
        world = World(rows)
        self.addCleanup(world.remove)
        return world

    def start(self, world, *arguments, **how):
        terminal = Terminal(world, *arguments, **how)
        self.addCleanup(terminal.close)
        return terminal

    def open(self, world, *arguments, **how):
        """The program at its commands."""
        terminal = self.start(world, *arguments, **how)
        terminal.wait_for(COMMANDS)
        return terminal

    def assert_left(self, terminal, status=0):
        """The program has ended and the terminal is as before."""
        self.assertEqual(terminal.exit_status(), status, terminal.text[-2000:])
        self.assertEqual(terminal.mode(), terminal.before)


class Runs(TerminalCase):
    def test_a_whole_run(self):
        world = self.world()
        terminal = self.open(world)
        self.assertNotEqual(terminal.mode(), terminal.before, "keys are told at once")
        place = terminal.type("s")
        end = terminal.wait_for(COMMANDS, terminal.wait_for(" ended: ", place))
        shown = lines_of(terminal.text[place:end])
        self.assertEqual([x for x in shown if x.startswith("SUCCESSFUL")],
                         [f"SUCCESSFUL [{t}] Table Synchronized" for t in TABLES])
        self.assertTrue(any(x.startswith("Synchronization of 13 of 13 tables ended: ") for x in shown), shown)
        self.assertIn("12 of 13  ", terminal.text)
        self.assertIn(" Synchronization of 13 of 13 tables ended: ", world.log_text())
        terminal.type("x")
        self.assert_left(terminal)
        self.assertEqual(world.stored()["SyncMode"], "0")

    def test_a_second_run_starts_after_the_first(self):
        world = self.world()
        terminal = self.open(world)
        for _ in range(2):
            place = terminal.type("S")
            terminal.wait_for(COMMANDS, terminal.wait_for("13 of 13 tables ended: ", place))
        terminal.type("x")
        self.assert_left(terminal)

    def test_without_a_display_the_terminal_is_taken(self):
        world = self.world()
        for arguments in ([""], ["-Mode3"]):
            terminal = self.open(world, *arguments)
            terminal.type("x")
            self.assert_left(terminal)

    def test_no_handheld_at_the_start_then_retry_then_cancel(self):
        world = self.world()
        world.handheld.rename(world.away)
        terminal = self.start(world)
        place = terminal.wait_for("[R]etry  [C]ancel: ")
        shown = lines_of(terminal.text)
        at = shown.index("Unable to Communicate with Pocket PC")
        self.assertEqual(shown[at + 1:at + 4],
                         ["Please connect your PDA to your PC, turn it on, then click Retry to continue.", "",
                          "Click Cancel to end this program."])
        self.assertNotIn("[S]tart", terminal.text)
        terminal.type("r")
        place = terminal.wait_for("[R]etry  [C]ancel: ", terminal.wait_for("Retry\r\n", place))
        terminal.type("c")
        self.assert_left(terminal, status=3)
        self.assertEqual(world.stored()["SyncMode"], "0", "the settings were saved")

    def test_no_handheld_for_a_run_then_retry_with_it(self):
        world = self.world()
        terminal = self.open(world)
        world.handheld.rename(world.away)
        place = terminal.wait_for("[R]etry  [C]ancel: ", terminal.type("s"))
        self.assertIn("Click Cancel to sync your databases later.", terminal.text)
        world.away.rename(world.handheld)
        terminal.type(ENTER)
        terminal.wait_for(COMMANDS, terminal.wait_for("13 of 13 tables ended: ", place))
        terminal.type("x")
        self.assert_left(terminal)

    def test_a_table_that_is_missing_is_told_in_a_box(self):
        world = self.world()
        next(world.handheld.rglob("brnd_Fuel.pdb")).unlink()
        terminal = self.open(world)
        place = terminal.wait_for("[O]K: ", terminal.type("s"))
        shown = lines_of(terminal.text)
        self.assertIn("Sync Not Completed Successfully", shown)
        self.assertTrue(any(x.startswith("Unable to retrieve table [brnd_Fuel]") for x in shown), shown)
        terminal.type("o")
        terminal.wait_for(COMMANDS, place)
        terminal.type("x")
        self.assert_left(terminal)

    def test_ctrl_c_between_runs_closes_the_window(self):
        world = self.world()
        world.set(SyncMode="1")
        terminal = self.open(world)
        self.assertIn("! Overwrite PDA: ", CONTROLS.sub("", terminal.text))
        terminal.type(CTRL_C)
        self.assert_left(terminal)
        self.assertEqual(world.stored()["SyncMode"], "1")

    def test_ctrl_c_in_a_run_stops_it_at_its_next_safe_point(self):
        world = self.world(rows=2000)
        terminal = self.open(world)
        place = terminal.type("s")
        terminal.wait_for("1 of 13  ", place)
        terminal.type(CTRL_C + CTRL_C)
        terminal.wait_for("Closing. The run stops at its next safe point...", place)
        terminal.type(CTRL_C)
        self.assert_left(terminal)
        self.assertIn(" Synchronization Stopped Due to Errors: ", world.log_text())
        self.assertEqual(world.stored()["SyncMode"], "0")
        subprocess.run([str(BIN / "mvtool"), "check", str(world.folder / "Motorva.db")], check=True,
                       stdout=subprocess.DEVNULL)
        terminal = self.open(world)
        terminal.wait_for("13 of 13 tables ended: ", terminal.type("s"))
        terminal.type(CTRL_C)
        self.assert_left(terminal)

    def test_the_systems_request_to_go_is_closing_the_window(self):
        for request in (signal.SIGTERM, signal.SIGHUP):
            world = self.world()
            terminal = self.open(world)
            terminal.process.send_signal(request)
            self.assert_left(terminal)
            self.assertEqual(world.stored()["SyncMode"], "0")

    def test_about_in_a_run_does_not_stop_it(self):
        world = self.world(rows=500)
        terminal = self.open(world)
        place = terminal.type("s")
        terminal.wait_for("1 of 13  ", place)
        terminal.type("a")
        shown = terminal.wait_for("Version: ", place)
        terminal.wait_for(COMMANDS, terminal.wait_for("13 of 13 tables ended: ", shown))
        terminal.type("x")
        self.assert_left(terminal)


class Dialogs(TerminalCase):
    def test_settings_are_changed_and_stored(self):
        world = self.world()
        terminal = self.open(world)
        place = terminal.wait_for("[C]ancel: ", terminal.type("e"))
        self.assertIn("  1  Desktop Edition Database Location: ", terminal.text)
        place = terminal.wait_for("\\Program Files\\Motorva", terminal.type("2"))
        place = terminal.wait_for("[C]ancel: ", terminal.type("\x15\\Storage é" + BACKSPACE + "Card" + ENTER))
        place = terminal.wait_for("[C]ancel: ", terminal.type("a"))
        terminal.wait_for("! Overwrite PC", terminal.type("o"))
        terminal.wait_for(COMMANDS, place)
        terminal.type("x")
        self.assert_left(terminal)
        self.assertEqual(world.stored()["PDADBPath"], "\\Storage Card")
        self.assertEqual(world.stored()["SyncMode"], "2")

    def test_cancelled_settings_stay(self):
        world = self.world()
        before = world.settings.read_text(encoding="utf-8")
        terminal = self.open(world)
        place = terminal.wait_for("[C]ancel: ", terminal.type("e"))
        place = terminal.wait_for("[x] Retain History", terminal.type("5"))
        terminal.wait_for(COMMANDS, terminal.wait_for("Cancel\r\n", terminal.type("c")))
        terminal.process.kill()
        terminal.exit_status()
        self.assertEqual(world.settings.read_text(encoding="utf-8"), before)

    def test_escape_cancels(self):
        terminal = self.open(self.world())
        terminal.wait_for("[C]ancel: ", terminal.type("e"))
        terminal.wait_for(COMMANDS, terminal.type(ESCAPE))
        terminal.type("x")
        self.assert_left(terminal)

    def test_the_log_is_shown(self):
        world = self.world()
        terminal = self.open(world)
        place = terminal.wait_for("[O]K: ", terminal.type("l"))
        self.assertIn("Sync Log: ", terminal.text)
        terminal.type(ENTER)
        terminal.wait_for(COMMANDS, place)
        terminal.wait_for(COMMANDS, terminal.wait_for("13 of 13 tables ended: ", terminal.type("s")))
        place = terminal.wait_for("Motorva\u2122 Mobile Edition - Database Synchronization Utility", terminal.type("l"))
        terminal.wait_for(COMMANDS, place)
        terminal.type("x")
        self.assert_left(terminal)

    def test_a_log_without_a_pager_is_shown_all_the_same(self):
        world = self.world()
        world.log.write_bytes("one\r\ntwo \u2122\r\n".encode("cp1252"))
        terminal = self.open(world, PAGER="/nowhere/pager 2>/dev/null")
        place = terminal.wait_for("one\r\ntwo \u2122\r\n", terminal.type("l"))
        terminal.wait_for(COMMANDS, place)
        terminal.type("x")
        self.assert_left(terminal)

    def test_ctrl_c_in_the_pager_is_not_for_the_program(self):
        world = self.world()
        world.log.write_bytes(b"one\r\n")
        terminal = self.open(world, PAGER="echo paging; exec sleep 100")
        place = terminal.wait_for("paging", terminal.type("l"))
        terminal.type(CTRL_C)
        terminal.wait_for(COMMANDS, place)
        terminal.type("x")
        self.assert_left(terminal)


class Terminals(TerminalCase):
    def test_piped_output_has_each_line_once_and_nothing_else(self):
        world = self.world()
        with tempfile.TemporaryFile() as output:
            terminal = self.start(world, output=output)

            def wait_for(text, times=1):
                end = time.monotonic() + PATIENCE
                while time.monotonic() < end:
                    output.seek(0)
                    shown = output.read().decode("utf-8")
                    if shown.count(text) >= times:
                        return shown
                    time.sleep(0.02)
                raise AssertionError(f"waited in vain for {text!r}: {shown!r}")
            wait_for(COMMANDS)
            terminal.type("s")
            wait_for(COMMANDS, times=2)
            terminal.type("x")
            self.assert_left(terminal)
            shown = wait_for("E[x]it", times=2)
        self.assertNotRegex(shown, "[\x00-\x09\x0b-\x1f]")
        for table in TABLES:
            self.assertEqual(shown.count(f"SUCCESSFUL [{table}] Table Synchronized\n"), 1)
        self.assertEqual(shown.count("Synchronization of 13 of 13 tables ended: "), 1)
        self.assertNotIn("Retrieving", shown)
        self.assertNotIn("of 13  ", shown)

    def test_a_reader_that_has_gone_closes_the_window(self):
        world = self.world()
        read, write = os.pipe()
        with os.fdopen(write, "wb") as output:
            terminal = self.start(world, output=output)
        with os.fdopen(read, "rb") as reader:
            reader.read(1)
        terminal.type("s")
        self.assert_left(terminal)
        self.assertEqual(world.stored()["SyncMode"], "0")

    def test_a_simple_terminal_gets_no_control_sequences(self):
        world = self.world()
        terminal = self.open(world, TERM="dumb")
        terminal.wait_for(COMMANDS, terminal.wait_for("13 of 13 tables ended: ", terminal.type("s")))
        place = terminal.wait_for("[C]ancel: ", terminal.type("e"))
        place = terminal.wait_for("[\\Program Files\\Motorva]: ", terminal.type("2"))
        place = terminal.wait_for("[C]ancel: ", terminal.type("\\Cards\n"))
        self.assertIn("Mobile Edition Location on PDA: \\Cards", terminal.text)
        terminal.wait_for(COMMANDS, terminal.type("o"))
        terminal.type("x")
        self.assert_left(terminal)
        self.assertNotIn("\x1b", terminal.text)
        self.assertEqual(world.stored()["PDADBPath"], "\\Cards")

    def test_no_colours_where_none_are_wanted(self):
        world = self.world()
        world.set(SyncMode="2")
        for variables, sign in (({}, "\x1b[1;31m! Overwrite PC\x1b[0m"),
                                ({"NO_COLOR": "1"}, "\x1b[1;7m! Overwrite PC\x1b[0m")):
            terminal = self.open(world, **variables)
            terminal.type("x")
            self.assert_left(terminal)
            self.assertIn(sign, terminal.text)

    def test_a_locale_without_utf8_gets_what_it_can_show(self):
        terminal = self.open(self.world(), LC_ALL="C")
        self.assertIn("Motorva(TM) Mobile Edition", terminal.text)
        terminal.type("x")
        self.assert_left(terminal)

    def test_a_narrow_terminal_and_a_change_of_its_size(self):
        world = self.world(rows=500)
        terminal = self.open(world, columns=40)
        place = terminal.type("s")
        terminal.wait_for("1 of 13  ", place)
        terminal.resize(30)
        ended = terminal.wait_for("13 of 13 tables ended: ", place)
        for drawn in re.findall(r"\x1b\[K([|/\\-] [^\r\x1b]*)", terminal.text[place:]):
            self.assertLess(len(drawn), 40)
            self.assertTrue(drawn.endswith("Synchronize"), drawn)
        # What is typed before the commands are there is dropped.
        terminal.wait_for("[A]bout...", ended)
        terminal.type("x")
        self.assert_left(terminal)

    def test_a_stop_gives_the_terminal_back_and_takes_it_again(self):
        world = self.world()
        # A shell of its own, which a stop returns to: a program without one is not stopped.
        script = f'set -m; {BIN / "MVPPCSync"} --terminal; echo stopped; read line; fg; echo "left with $?"'
        terminal = self.open(world, "-c", script, program="/bin/bash")
        place = 0
        terminal.type(CTRL_Z)
        place = terminal.wait_for("stopped", place)
        mode = terminal.mode()
        self.assertTrue(mode[3] & termios.ICANON and mode[3] & termios.ECHO)
        terminal.type("\n")
        place = terminal.wait_for(COMMANDS, place)
        self.assertFalse(terminal.mode()[3] & termios.ICANON)
        terminal.type("x")
        terminal.wait_for("left with 0", place)
        terminal.exit_status()


class InsteadOfTheWindow(TerminalCase):
    """A plain start where there is no display."""

    def test_the_terminal_says_why_and_offers_the_same(self):
        world = self.world()
        # A word that is no switch: it would open the window.
        terminal = self.open(world, "-Mode3")
        self.assertIn("MVPPCSync: no window: there is no display; here is the terminal instead\r\n", terminal.text)
        terminal.type("x")
        self.assert_left(terminal)


class Nowhere(TerminalCase):
    """Starts without a terminal."""

    def run_without(self, world, *arguments):
        done = subprocess.run([str(BIN / "MVPPCSync"), *arguments], env=world.environment(), stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=PATIENCE)
        return done.returncode, done.stdout, done.stderr

    def test_the_terminal_that_was_asked_for(self):
        self.assertEqual(self.run_without(self.world(), "--terminal"),
                         (2, "", "MVPPCSync: --terminal needs a terminal on standard input. Start it with -Mode0 "
                                 "(Synchronize), -Mode1 (Overwrite PDA) or -Mode2 (Overwrite PC).\n"))

    def test_the_window_that_was_asked_for(self):
        status, output, errors = self.run_without(self.world())
        self.assertEqual((status, output), (2, ""))
        self.assertRegex(errors, r"^MVPPCSync: no window: .+; and no terminal on standard input, which --terminal "
                                 r"needs\. Start it with -Mode0 \(Synchronize\), -Mode1 \(Overwrite PDA\) or -Mode2 "
                                 r"\(Overwrite PC\)\.\n$")

    def test_a_silent_run_needs_none(self):
        status, output, errors = self.run_without(self.world(), "-Mode0")
        self.assertEqual((status, output, errors), (0, "", ""))
