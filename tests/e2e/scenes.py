"""What the windows of both editions have to do, as scenes that a user plays. test_window.py plays them with the Windows
program, test_qt_window.py with the Linux program. Pictures of what was seen go to build/screenshots."""

import re
import subprocess
import unittest

from .desktop import wait_for
from .world import BIN, ROOT

MAIN = "Motorva\u2122 Mobile Edition - Pocket PC Sync Utility"
SETTINGS = "  Motorva\u2122 Mobile Edition - Settings"
ABOUT = "About Motorva\u2122 Mobile Edition"
NO_DEVICE = "Unable to Communicate with Pocket PC"
NOT_COMPLETED = "Sync Not Completed Successfully"
LOG_TITLE = "Motorva\u00a9 Mobile Edition"
DATABASE_DIALOG = "Set Desktop Edition Database Location"
LOG_DIALOG = "Save Log File As"
MODES = ["Synchronize Databases [Normal Mode] - RECOMMENDED",
         "Desktop (PC) Database Completely Overwrites Mobile (PDA) Database",
         "Mobile (PDA) Database Completely Overwrites Desktop (PC) Database"]
AUTO_START = "Auto Run in Silent Mode whenever Active Sync is Launched"
BROWSE_TIPS = [" Browse to Set Database File Location ", " Browse to Set Log File Location "]
TABLES = ["brnd_Accessories", "brnd_AccItems", "brnd_Customer", "brnd_FieldValues", "brnd_Fuel", "brnd_Maintenance",
          "brnd_MaintTasks", "brnd_Models", "brnd_Parts", "brnd_Payment", "brnd_SchedMaint", "brnd_Trip", "brnd_Vehicle"]
PICTURES = ROOT / "build" / "screenshots"


def apart(a, b):
    return a["right"] <= b["left"] or b["right"] <= a["left"] or a["bottom"] <= b["top"] or b["bottom"] <= a["top"]


class Scene(unittest.TestCase):
    """A case of one edition gives make_desk."""

    DPI = 96
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        PICTURES.mkdir(parents=True, exist_ok=True)
        cls.desk = cls.make_desk()
        cls.addClassCleanup(cls.desk.close)

    def world(self, rows=None):
        world = self.desk.world(rows)
        self.addCleanup(world.remove)
        return world

    def start(self, *arguments):
        app = self.desk.app(*arguments)
        self.addCleanup(app.end)
        return app

    def open(self):
        """The program with its window, ready for the first run in the world made last."""
        app = self.start()
        main = app.window(MAIN)
        wait_for(lambda: app.can_start(main), "the handheld's answer")
        return app, main

    def picture(self, app, name, window=None):
        app.capture(PICTURES / f"{self.desk.name}-{name}-{self.DPI}.png", window)

    def box(self, app, title):
        """A message box, and its text."""
        box = app.window(title)
        return box, app.box_text(box)

    def check_apart(self, outer, controls):
        """Each control, of which none lies upon another, has its place within the window."""
        self.assertTrue(controls)
        for control in controls:
            box = control["rect"]
            self.assertLess(box["left"], box["right"], control)
            self.assertLess(box["top"], box["bottom"], control)
            self.assertTrue(outer["left"] <= box["left"] and box["right"] <= outer["right"], control)
            self.assertTrue(outer["top"] <= box["top"] and box["bottom"] <= outer["bottom"], control)
            for other in controls:
                self.assertTrue(other is control or apart(box, other["rect"]), (control, other))

    def looks(self, app, box):
        """A message box's icon and its buttons."""
        return self.icon_in(app.box_icon(box)), app.box_buttons(box)

    def icon_in(self, rect):
        """Which of the system's icons it is, by its colour."""
        self.desk.screen.settle()
        counts = {"critical": 0, "exclamation": 0, "information": 0}
        for red, green, blue in self.desk.screen.colours(*(rect[k] for k in ("left", "top", "right", "bottom"))):
            counts["critical"] += red > 150 and green < 100 and blue < 100
            counts["exclamation"] += red > 180 and green > 140 and blue < 100
            counts["information"] += blue > 150 and red < 100
        return max(counts, key=counts.get)

    def answer(self, app, box, button):
        app.press(box, button)
        self.wait_for_end(app, box)

    def wait_for_end(self, app, window):
        wait_for(lambda: not self.still_there(app, window), f"the end of the window {window['text']!r}")

    def still_there(self, app, window):
        key = "hwnd" if "hwnd" in window else "id"
        return app.top(**{key: window[key]})

    def run_to_end(self, app, main, runs=1):
        wait_for(lambda: len(self.ended(app, main)) == runs and app.can_start(main), "the end of the run")
        return app.lines(main)

    def ended(self, app, main):
        """The lines that end a run."""
        return [x for x in app.lines(main) if " ended: " in x or "Stopped" in x]

    def start_enabled(self, app, main):
        return app.menus(main)[0]["items"][0]["enabled"]

    def commands_enabled(self, app, main):
        return [b["enabled"] for b in app.toolbar(main) if not b["separator"]]

    def leave(self, app, main):
        app.close(main)
        self.assertEqual(app.wait(), 0)

    def leave_dialog(self, app, main, dialog):
        app.press(dialog, "Cancel")
        app.gone(SETTINGS)
        self.leave(app, main)

    def dialog(self):
        app, main = self.open()
        app.command(main, "View", "Settings...")
        return app, main, app.window(SETTINGS)


class Texts(Scene):
    """What the windows show, word for word."""

    def test_main_window(self):
        world = self.world()
        world.set(LastSync="11/21/2026 2:05:09 PM", SyncMode="1")
        app, main = self.open()
        menus = app.menus(main)
        self.assertEqual([m["text"] for m in menus], ["Sync", "View", "About..."])
        self.assertEqual([i["text"] for i in menus[0]["items"]], ["Start", "", "Exit Program"])
        self.assertEqual([i["text"] for i in menus[1]["items"]], ["Settings...", "Sync Log...", ""])
        self.assertTrue(menus[0]["items"][1]["separator"] and menus[1]["items"][2]["separator"])
        self.assertEqual([(b["text"], b["tip"], b["separator"]) for b in app.toolbar(main)],
                         [("Sync", " Begin Sync Process ", False), ("", "", True),
                          (" Settings ", " Sync Settings... ", False), ("Sync Log", "View Sync Log", False)])
        wait_for(lambda: app.status(main)[1] == "Overwrite PDA", "the mode")
        self.assertEqual(app.status(main), ["Last sync: 11/21/2026 2:05:09 PM", "Overwrite PDA"])
        self.assertEqual(app.status_tips(main), [" Current Status Information ", " Current Mode "])
        self.assertEqual(app.tip(main, " You are set to Overwrite PDA"), " You are set to Overwrite PDA")
        self.assertTrue(app.mode_picture(main))
        self.leave(app, main)

    def test_without_an_earlier_run_its_time_is_unknown(self):
        self.world()
        app, main = self.open()
        self.assertEqual(app.status(main)[0], "Last sync: Unknown")
        self.leave(app, main)

    def test_settings_dialog(self):
        world = self.world()
        app, main, dialog = self.dialog()
        self.picture(app, "settings", dialog)
        self.assertEqual(app.texts(dialog), [
            "Database/File Locations",
            "Desktop Edition Database Location", self.desk.path(world.database), BROWSE_TIPS[0],
            "Mobile Edition Location on PDA", "\\Program Files\\Motorva",
            "Synchronization Log File", self.desk.path(world.log), BROWSE_TIPS[1],
            "Logging On", "Retain History",
            *self.handheld_texts(world),
            "Process Options", *MODES, AUTO_START,
            "Use this dialog to setup your sync options. Use care when using any mode other than [Normal Mode] as a "
            "complete database replacement will occur.",
            "OK", "Cancel"])
        for tip in BROWSE_TIPS:
            self.assertEqual(app.tip(dialog, tip), tip)
        self.assertFalse(app.can_be_used(main))
        self.leave_dialog(app, main, dialog)

    def handheld_texts(self, _):
        """What an edition shows besides, where nothing else sets the way to the handheld."""
        return []

    def test_about_box(self):
        self.world()
        app, main = self.open()
        app.command(main, "About...")
        about = app.window(ABOUT)
        self.picture(app, "about", about)
        version = re.search(r"VERSION (\d+\.\d+\.\d+)", (ROOT / "CMakeLists.txt").read_text())[1]
        self.assertIn(f"Version: {version}", app.texts(about))
        app.press(about, "OK")
        app.gone(ABOUT)
        self.leave(app, main)


class Handheld(Scene):
    """The handheld that has to be there, at start and for a run."""

    def test_start_is_disabled_until_the_handheld_has_answered(self):
        world = self.world()
        world.unplug()
        app = self.start()
        box, text = self.box(app, NO_DEVICE)
        self.picture(app, "no-handheld")
        self.assertEqual(text, "Please connect your PDA to your PC, turn it on, then click Retry to continue.\r\r"
                               "Click Cancel to end this program.")
        self.assertEqual(self.looks(app, box), ("information", ["Retry", "Cancel"]))
        main = app.window(MAIN)
        self.assertEqual(self.commands_enabled(app, main), [False, True, True])
        self.assertFalse(self.start_enabled(app, main))
        self.answer(app, box, "Retry")
        box, _ = self.box(app, NO_DEVICE)
        world.plug_in()
        self.answer(app, box, "Retry")
        wait_for(lambda: app.can_start(main), "the Start command")
        self.assertTrue(self.start_enabled(app, main))
        self.leave(app, main)

    def test_cancel_at_start_saves_the_settings_and_ends_the_program(self):
        world = self.world()
        world.unplug()
        app = self.start()
        box, _ = self.box(app, NO_DEVICE)
        app.press(box, "Cancel")
        self.assertEqual(app.wait(), 3)
        self.assertEqual(world.stored()["SyncMode"], "0")

    def test_a_handheld_that_has_gone_is_asked_for_again_and_may_be_put_off(self):
        world = self.world()
        app, main = self.open()
        world.unplug()
        app.click_tool(main, 1)
        box, text = self.box(app, NO_DEVICE)
        self.assertEqual(text, "Please connect your PDA to your PC, turn it on, then click Retry to continue.\r\r"
                               "Click Cancel to sync your databases later.")
        self.assertEqual(self.looks(app, box), ("critical", ["Retry", "Cancel"]))
        self.answer(app, box, "Cancel")
        wait_for(lambda: app.can_start(main), "the Start command")
        self.assertTrue(self.start_enabled(app, main))
        self.assertEqual(app.lines(main), [])
        self.assertEqual(world.log_text(), "")
        world.plug_in()
        app.click_tool(main, 1)
        self.assertIn("13 of 13", self.run_to_end(app, main)[-1])
        self.leave(app, main)


class Runs(Scene):
    """Interactive runs."""

    def test_thirteen_tables_go_by(self):
        world = self.world(rows=400)
        app, main = self.open()
        app.click_tool(main, 1)
        wait_for(lambda: len(app.lines(main)) >= 6, "five tables")
        self.picture(app, "run", main)
        lines = self.run_to_end(app, main)
        self.picture(app, "run-ended", main)
        self.assertTrue(lines[0].startswith("Synchronization Began: "))
        self.assertEqual(lines[1:14], [f"SUCCESSFUL [{table}] Table Synchronized" for table in TABLES])
        self.assertTrue(lines[14].startswith("Synchronization of 13 of 13 tables ended: "))
        self.assertEqual(len(lines), 15)
        self.assertTrue(app.status(main)[0].startswith("Synchronization Ended - "))
        self.assertFalse(self.start_enabled(app, main), "Start stays disabled")
        self.assertIn(" Synchronization of 13 of 13 tables ended: ", world.log_text())
        app.click_tool(main, 1)
        self.run_to_end(app, main, runs=2)
        self.assertEqual(len(app.lines(main)), 30, "the first run's lines stay above")
        self.assertTrue(app.last_line_in_sight(main), "the newest line is in sight")
        self.leave(app, main)
        self.assertNotEqual(world.stored()["LastSync"], "")

    def test_commands_are_disabled_while_a_run_asks(self):
        world = self.world()
        (world.tables / "brnd_Fuel.pdb").unlink()
        app, main = self.open()
        app.click_tool(main, 1)
        box, text = self.box(app, NOT_COMPLETED)
        self.picture(app, "not-completed")
        self.assertEqual(text, "Please make sure that Motorva Mobile Edition is NOT running on your PDA.\r"
                               "If necessary, use the Exit|Close menu option to close Motorva Mobile Edition, then "
                               "retry.\rYour PDA should be connected and powered on.")
        self.assertEqual(self.looks(app, box), ("critical", ["OK"]))
        self.assertEqual(self.commands_enabled(app, main), [False, False, False])
        self.assertEqual([m["enabled"] for m in app.menus(main)], [False, False, True])
        self.answer(app, box, "OK")
        lines = self.run_to_end(app, main)
        self.assertIn("Unable to retrieve table [brnd_Fuel] from device. Function returned code: 1 - Not Avail/In-Use",
                      lines)
        self.assertTrue(lines[-1].startswith("Synchronization Ended with Errors: "))
        self.assertEqual([m["enabled"] for m in app.menus(main)], [True, True, True])
        self.leave(app, main)

    def test_a_double_click_starts_one_run(self):
        self.world()
        app, main = self.open()
        app.click_tool(main, 1, clicks=2)
        self.run_to_end(app, main)
        app.click_tool(main, 3)
        dialog = app.window(SETTINGS)
        self.assertEqual(len(app.lines(main)), 15)
        self.leave_dialog(app, main, dialog)

    def test_the_spinner_turns_during_a_run_and_ends_as_it_began(self):
        world = self.world(self.desk.rows_of_a_long_run)
        app, main = self.open()
        first = app.spinner(main)
        seen, runs = {first}, 0

        def ended():
            for _ in range(20):
                seen.add(app.spinner(main))
            # Not asked of the window: what it answers during a run comes late, always at the same frames.
            return " ended: " in world.log_text()

        def all_frames():
            """A run may end before each frame has met a look: then the next one shows them too."""
            nonlocal runs
            world.log.unlink(missing_ok=True)
            app.click_tool(main, 1)
            runs += 1
            wait_for(ended, "the end of the run")
            self.run_to_end(app, main, runs)
            return len(seen) == 4

        wait_for(all_frames, "four frames")
        wait_for(lambda: app.spinner(main) == first, "the first frame")
        self.leave(app, main)

    def test_an_error_is_shown_and_the_window_stays_usable(self):
        world = self.world()
        world.database.rename(world.folder / "elsewhere.db")
        app, main = self.open()
        app.click_tool(main, 1)
        box = wait_for(app.any_box, "the error")
        self.assertRegex(app.box_text(box), r"^Error: -2147467259 has occurred\.\rDescription: Could not find file ")
        self.assertEqual(self.looks(app, box), ("exclamation", ["OK"]))
        self.answer(app, box, "OK")
        self.assertTrue(self.run_to_end(app, main)[-1].startswith("Synchronization Stopped Due to Errors: "))
        (world.folder / "elsewhere.db").rename(world.database)
        app.click_tool(main, 1)
        self.assertIn("13 of 13", self.run_to_end(app, main, runs=2)[-1])
        self.leave(app, main)

    def test_closing_the_window_during_a_run_loses_nothing(self):
        world = self.world(self.desk.rows_of_a_long_run)
        app, main = self.open()
        app.click_tool(main, 1)
        # Not asked of the window, which answers a run first.
        wait_for(lambda: world.log_text().count(">> SUCCESSFUL") >= 2, "two tables")
        app.close(main)
        self.assertEqual(app.wait(), 0)
        self.assertEqual(world.stored()["SyncMode"], "0", "the settings are saved")
        self.assertIn(" Synchronization Stopped Due to Errors: ", world.log_text())
        self.assertNotIn(" ended: ", world.log_text())
        self.assertEqual(subprocess.run([str(BIN / "mvtool"), "check", str(world.database)],
                                        stdout=subprocess.DEVNULL).returncode, 0)
        app, main = self.open()
        app.click_tool(main, 1)
        self.assertIn("13 of 13", self.run_to_end(app, main)[-1])
        self.leave(app, main)

    def test_a_silent_run_shows_no_window(self):
        world = self.world()
        app = self.start("-Mode0")
        while app.process.poll() is None:
            self.assertEqual([w for w in app.tops() if w.get("class") != "Progman"], [])
        self.assertEqual(app.wait(), 0)
        self.assertIn("Silent Synchronization of 11 of 13", world.log_text())


class SessionEnd(Scene):
    """The user logs off, whatever the program is doing: the settings are saved and the program ends by itself."""

    def test_during_a_run(self):
        world = self.world(self.desk.rows_of_a_long_run)
        app, main = self.open()
        app.click_tool(main, 1)
        # Not asked of the window, which answers a run first.
        wait_for(lambda: world.log_text().count(">> SUCCESSFUL") >= 2, "two tables")
        app.end_session(main)
        self.assertEqual(app.wait(), 0)
        self.assertEqual(world.stored()["SyncMode"], "0")
        self.assertIn(" Synchronization Stopped Due to Errors: ", world.log_text())

    def test_while_nothing_happens(self):
        world = self.world()
        app, main = self.open()
        app.end_session(main)
        self.assertEqual(app.wait(), 0)
        self.assertEqual(world.stored()["SyncMode"], "0")

    def test_while_the_settings_are_open_below_a_file_dialog(self):
        world = self.world()
        app, main, dialog = self.dialog()
        app.press(dialog, BROWSE_TIPS[0])
        app.window(DATABASE_DIALOG)
        app.end_session(main)
        self.assertEqual(app.wait(), 0)
        self.assertEqual(world.stored()["SyncMode"], "0")

    def test_while_the_handheld_is_asked_for(self):
        world = self.world()
        world.unplug()
        app = self.start()
        self.box(app, NO_DEVICE)
        app.end_session(app.window(MAIN))
        self.assertEqual(app.wait(), 3)
        self.assertEqual(world.stored()["SyncMode"], "0")

    def test_while_a_run_tells_of_its_failure(self):
        world = self.world()
        (world.tables / "brnd_Fuel.pdb").unlink()
        app, main = self.open()
        app.click_tool(main, 1)
        self.box(app, NOT_COMPLETED)
        app.end_session(main)
        self.assertEqual(app.wait(), 0)
        self.assertIn(" Synchronization of 12 of 13 tables ended: ", world.log_text())


class ManyWindows(Scene):
    """Modal windows over the main one, and the program twice."""

    def test_a_question_comes_before_the_window_below_can_be_closed(self):
        world = self.world()
        app, main = self.open()
        world.unplug()
        app.click_tool(main, 1)
        box, _ = self.box(app, NO_DEVICE)
        app.close(main)
        self.answer(app, box, "Retry")
        box, _ = self.box(app, NO_DEVICE)
        self.answer(app, box, "Cancel")
        wait_for(lambda: app.can_start(main), "the Start command")
        self.leave(app, main)

    def test_a_dialog_comes_before_the_window_below_can_be_closed(self):
        self.world()
        app, main, dialog = self.dialog()
        app.close(main)
        self.assertFalse(app.can_be_used(main))
        app.close(dialog)
        app.gone(SETTINGS)
        self.leave(app, main)

    def test_the_about_box_does_not_hold_a_run(self):
        self.world(self.desk.rows_of_a_long_run)
        app, main = self.open()
        app.click_tool(main, 1)
        wait_for(lambda: app.lines(main), "the run")
        app.command(main, "About...")
        about = app.window(ABOUT)
        self.assertIn("13 of 13", self.run_to_end(app, main)[-1])
        self.assertFalse(app.can_be_used(main))
        app.press(about, "OK")
        app.gone(ABOUT)
        self.leave(app, main)

    def test_a_second_copy_of_the_program_opens_its_own_window(self):
        self.world()
        first, main = self.open()
        second = self.start()
        other = wait_for(lambda: next((w for w in second.tops() if w["text"] == MAIN and not self.same(w, main)), None),
                         "the second window")
        wait_for(lambda: second.can_start(other), "the handheld's answer")
        second.click_tool(other, 1)
        self.run_to_end(second, other)
        self.leave(second, other)
        first.click_tool(main, 1)
        self.run_to_end(first, main)
        self.leave(first, main)

    @staticmethod
    def same(window, other):
        key = "hwnd" if "hwnd" in window else "id"
        return window[key] == other[key]


class SettingsDialog(Scene):
    """The settings dialog at work."""

    def test_ok_takes_over_and_closing_the_window_saves(self):
        world = self.world()
        app, main, dialog = self.dialog()
        separator = self.desk.separator
        folder = self.desk.path(world.folder)
        log = self.desk.path(world.folder / "log.txt")
        for index, text in enumerate((f" {folder}{separator}Garage \u00e9.db ", "\\Storage Card", log)):
            app.set_edit(dialog, index, text)
        for name in ("Retain History", AUTO_START, MODES[2]):
            app.press(dialog, name)
        wait_for(lambda: app.checked(dialog, MODES[2]), "the mode")
        app.press(dialog, "OK")
        app.gone(SETTINGS)
        self.told_of_auto_start(app)
        wait_for(lambda: app.status(main)[1] == "Overwrite PC", "the mode")
        self.assertNotIn("PDADBPath", world.stored(), "settings reach the store when the window closes")
        self.leave(app, main)
        stored = world.stored()
        kept = folder + "\\"
        self.assertEqual({k: stored[k] for k in sorted(stored)}, {
            "AutoStart": "1", "DesktopDBPath": f"{kept}Garage \u00e9.db", "PCSyncDestPath": f"{kept}sync\\dest",
            "PCSyncSourcePath": f"{kept}sync\\source", "PDADBPath": "\\Storage Card", "SyncLog": "1",
            "SyncLogHistory": "1", "SyncLogPath": f"{kept}log.txt", "SyncMode": "2"})
        self.assertTrue((world.folder / "sync" / "dest").is_dir())

    def told_of_auto_start(self, app):
        """Where an edition says what became of it."""

    def test_a_mode_survives_cancel(self):
        world = self.world()
        app, main = self.open()
        main_before = app.mode_picture(main)
        app.command(main, "View", "Settings...")
        dialog = app.window(SETTINGS)
        self.desk.screen.settle()
        before = app.mode_picture(dialog)
        app.press(dialog, MODES[1])
        wait_for(lambda: app.checked(dialog, MODES[1]), "the mode")
        wait_for(lambda: app.mode_picture(dialog) != before, "the mode's picture")
        app.press(dialog, "Cancel")
        app.gone(SETTINGS)
        wait_for(lambda: app.status(main)[1] == "Overwrite PDA", "the mode")
        self.assertEqual(app.tip(main, " You are set to Overwrite PDA"), " You are set to Overwrite PDA")
        wait_for(lambda: app.mode_picture(main) != main_before, "the mode's picture")
        self.picture(app, "overwrite", main)
        self.leave(app, main)
        self.assertEqual(world.stored()["SyncMode"], "1")

    def test_the_log_row_follows_its_box(self):
        self.world()
        app, main, dialog = self.dialog()

        def row():
            return [app.enabled(dialog, "Synchronization Log File"), app.edits(dialog)[2]["enabled"],
                    app.enabled(dialog, "Retain History"), app.enabled(dialog, BROWSE_TIPS[1])]
        self.assertEqual(row(), [True] * 4)
        app.press(dialog, "Logging On")
        wait_for(lambda: row() == [False] * 4, "a disabled row")
        app.press(dialog, "Logging On")
        wait_for(lambda: row() == [True] * 4, "an enabled row")
        self.leave_dialog(app, main, dialog)


class Log(Scene):
    """The command Sync Log."""

    def test_a_missing_log_is_named(self):
        world = self.world()
        app, main = self.open()
        app.click_tool(main, 4)
        box, text = self.box(app, LOG_TITLE)
        self.assertEqual(text, f"Sync Log: {self.desk.path(world.folder)}\\SyncLog.txt does not exist.")
        self.assertEqual(self.looks(app, box), ("information", ["OK"]))
        self.answer(app, box, "OK")
        self.leave(app, main)

    def test_a_log_that_no_program_opens_is_named(self):
        world = self.world()
        log = world.folder / "SyncLog.unheard-of"
        log.write_text("a log\r\n")
        world.set(SyncLogPath=self.desk.path(log))
        self.let_no_program_open()
        app, main = self.open()
        app.click_tool(main, 4)
        box, text = self.box(app, LOG_TITLE)
        self.assertEqual(text, f"Unable to open: {self.desk.path(log)}")
        self.assertEqual(self.looks(app, box), ("exclamation", ["OK"]))
        self.answer(app, box, "OK")
        self.leave(app, main)

    def let_no_program_open(self):
        """Where that takes more than a strange extension."""


class Keyboard(Scene):
    """Every command without a mouse."""

    # In a menu that the arrow keys have led to.
    TO_THE_FIRST_ENTRY = []

    def test_menus(self):
        world = self.world()
        app, main = self.open()
        app.keys(main, "Alt+S", "S")
        self.run_to_end(app, main)
        app.keys(main, "Alt+V", "S")
        dialog = app.window(SETTINGS)
        app.keys(dialog, "Escape")
        app.gone(SETTINGS)
        app.keys(main, "Alt+A")
        about = app.window(ABOUT)
        app.keys(about, "Enter")
        app.gone(ABOUT)
        world.log.unlink()
        app.keys(main, "Alt+V", "L")
        box, _ = self.box(app, LOG_TITLE)
        app.keys(box, "Enter")
        app.gone(LOG_TITLE)
        app.keys(main, "Alt+S", "X")
        self.assertEqual(app.wait(), 0)

    def test_the_menu_key(self):
        self.world()
        app, main = self.open()
        app.keys(main, "F10", "Right", *self.TO_THE_FIRST_ENTRY, "Enter")
        dialog = app.window(SETTINGS)
        app.keys(dialog, "Escape")
        app.gone(SETTINGS)
        app.keys(main, "F10", "Escape", "Enter", "Escape", "Space")
        self.leave(app, main)

    def test_settings_dialog(self):
        world = self.world()
        app, main = self.open()
        app.keys(main, "Alt+V", "S")
        dialog = app.window(SETTINGS)
        visited = []
        stops = self.tab_stops(world)
        for _ in stops:
            focused = wait_for(lambda: app.focused(dialog), "the focus")
            visited.append(focused)
            app.keys(dialog, "Tab")
            wait_for(lambda: app.focused(dialog) != focused, "the next control")
        self.assertEqual(visited, stops)
        app.keys(dialog, "Alt+S", "Down")
        wait_for(lambda: app.checked(dialog, MODES[1]), "the next mode")
        app.keys(dialog, "Alt+H")
        wait_for(lambda: app.checked(dialog, "Retain History"), "the mark of a box")
        app.keys(dialog, "Alt+M", "End", *["Back"] * 30, "X")
        wait_for(lambda: app.edits(dialog)[1]["text"] == "x", "the typed path")
        app.keys(dialog, "Enter")
        app.gone(SETTINGS)
        self.leave(app, main)
        stored = world.stored()
        self.assertEqual((stored["SyncMode"], stored["SyncLogHistory"], stored["PDADBPath"]), ("1", "1", "x"))

    def tab_stops(self, world):
        return [self.desk.path(world.database), BROWSE_TIPS[0], "\\Program Files\\Motorva", self.desk.path(world.log),
                BROWSE_TIPS[1], "Logging On", "Retain History", *self.handheld_stops(world), MODES[0], AUTO_START, "OK",
                "Cancel"]

    def handheld_stops(self, _):
        return []
