"""The main window, the settings dialog and interactive runs of the Windows edition: the real program under Wine on a
screen of its own, looked at and worked on from outside. Pictures of what was seen go to build/screenshots."""

import re
import shutil
import subprocess
import unittest

from .desktop import (ALT, BM_CLICK, BM_GETIMAGE, DOWN, END, ENTER, ESCAPE, F10, IMAGE_ICON, RIGHT, SPACE, SS_ICON,
                      SS_TYPE_MASK, TAB, WM_ENDSESSION, WM_QUERYENDSESSION, WM_SYSCOLORCHANGE,
                      WM_THEMECHANGED, App, Wine, World, middle, missing, plain, wait_for)
from .windows import WINDOWS_BIN, windows_path
from .world import BIN, ROOT

MAIN = "Motorva\u2122 Mobile Edition - Pocket PC Sync Utility"
SETTINGS = "  Motorva\u2122 Mobile Edition - Settings"
PICTURE = "MotorvaPicture"
# Of the drawing packaging/windows/resources/MVPPCSync-small.svg.
OUTLINE = (0x17, 0x49, 0x7F)
ABOUT = "About Motorva\u2122 Mobile Edition"
NO_DEVICE = "Unable to Communicate with Pocket PC"
LOG_TITLE = "Motorva\u00a9 Mobile Edition"
TABLES = ["brnd_Accessories", "brnd_AccItems", "brnd_Customer", "brnd_FieldValues", "brnd_Fuel", "brnd_Maintenance",
          "brnd_MaintTasks", "brnd_Models", "brnd_Parts", "brnd_Payment", "brnd_SchedMaint", "brnd_Trip", "brnd_Vehicle"]
PICTURES = ROOT / "build" / "screenshots"
CONTRAST = {"Window": "0 0 0", "WindowText": "255 255 255", "ButtonFace": "0 0 0", "ButtonText": "255 255 255",
            "ButtonHilight": "255 255 255", "ButtonShadow": "255 255 255", "ButtonLight": "0 0 0",
            "ButtonDkShadow": "255 255 255", "GrayText": "0 255 0", "Hilight": "26 235 255", "HilightText": "0 0 0",
            "Menu": "0 0 0", "MenuBar": "0 0 0", "MenuText": "255 255 255", "ActiveTitle": "128 0 128",
            "TitleText": "255 255 255", "WindowFrame": "255 255 255"}


def setUpModule():
    if missing():
        raise unittest.SkipTest("the window: " + missing())
    PICTURES.mkdir(parents=True, exist_ok=True)


class WindowCase(unittest.TestCase):
    DPI, COLOURS = 96, None

    @classmethod
    def setUpClass(cls):
        cls.wine = Wine(cls.DPI, cls.COLOURS)
        cls.addClassCleanup(cls.wine.close)

    def world(self, rows=None):
        world = World(self.wine, rows)
        self.addCleanup(world.remove)
        return world

    def start(self, *arguments):
        app = App(self.wine, *arguments)
        self.addCleanup(app.end)
        return app

    def open(self):
        """The program with its window, ready for the first run in the world made last."""
        app = self.start()
        main = app.window(MAIN)
        wait_for(lambda: app.toolbar(main)[0]["enabled"], "the handheld's answer")
        return app, main

    def picture(self, app, name, window=None):
        app.capture(PICTURES / f"{name}-{self.DPI}.png", window)

    def box(self, app, title):
        """A message box, and its text."""
        box = app.window(title)
        return box, next(c["text"] for c in app.children(box) if c["class"] == "Static" and c["text"])

    def looks(self, app, box):
        """A message box's icon and its buttons."""
        children = app.children(box)
        icons = [c["rect"] for c in children if c["class"] == "Static" and c["style"] & SS_TYPE_MASK == SS_ICON]
        buttons = [plain(c["text"]) for c in children if c["class"] == "Button"]
        return self.icon_in(*icons), buttons

    def icon_in(self, rect):
        """Which of the system's icons it is, by its colour."""
        self.wine.screen.settle()
        counts = {"critical": 0, "exclamation": 0, "information": 0}
        for red, green, blue in self.wine.screen.colours(*(rect[k] for k in ("left", "top", "right", "bottom"))):
            counts["critical"] += red > 150 and green < 100 and blue < 100
            counts["exclamation"] += red > 180 and green > 140 and blue < 100
            counts["information"] += blue > 150 and red < 100
        return max(counts, key=counts.get)

    def answer(self, app, box, button):
        app.press(box, button, **{"class": "Button"})
        wait_for(lambda: not app.top(hwnd=box["hwnd"]), f"the end of the message box {box['text']!r}")

    def run_to_end(self, app, main, runs=1):
        def ended():
            return [x for x in app.lines(main) if " ended: " in x or "Stopped" in x]
        wait_for(lambda: len(ended()) == runs and app.toolbar(main)[0]["enabled"], "the end of the run")
        return app.lines(main)

    def leave(self, app, main):
        app.close(main)
        self.assertEqual(app.wait(), 0)


class Texts(WindowCase):
    """What the windows show, word for word."""

    def test_main_window(self):
        world = self.world()
        world.set(LastSync="11/21/2026 2:05:09 PM", SyncMode="1")
        app, main = self.open()
        menus = app.probe.ask("menu", main["hwnd"])
        self.assertEqual([plain(m["text"]) for m in menus], ["Sync", "View", "About..."])
        self.assertEqual([plain(i["text"]) for i in menus[0]["items"]], ["Start", "", "Exit Program"])
        self.assertEqual([plain(i["text"]) for i in menus[1]["items"]], ["Settings...", "Sync Log...", ""])
        self.assertTrue(menus[0]["items"][1]["separator"] and menus[1]["items"][2]["separator"])
        self.assertEqual([(b["text"], b["tip"], b["separator"]) for b in app.toolbar(main)],
                         [("Sync", " Begin Sync Process ", False), ("", "", True),
                          (" Settings ", " Sync Settings... ", False), ("Sync Log", "View Sync Log", False)])
        wait_for(lambda: app.status(main)[1] == "Overwrite PDA", "the mode")
        self.assertEqual(app.status(main), ["Last sync: 11/21/2026 2:05:09 PM", "Overwrite PDA"])
        status = app.child(main, **{"class": "msctls_statusbar32"})["hwnd"]
        self.assertEqual(app.probe.ask("tip", status, 0), " Current Status Information ")
        self.assertEqual(app.probe.ask("tip", status, 1), " Current Mode ")
        panel = app.child(main, " You are set to Overwrite PDA")
        self.assertEqual(app.probe.ask("tip", panel["hwnd"]), " You are set to Overwrite PDA")
        self.assertNotEqual(app.probe.ask("icon", panel["hwnd"]), 0)
        box = app.probe.ask("window", main["hwnd"])["rect"]
        self.wine.screen.settle()
        caption = set(self.wine.screen.colours(box["left"], box["top"], box["left"] + 26, box["top"] + 26))
        self.assertIn(OUTLINE, caption, "the program's icon")
        self.leave(app, main)

    def test_without_an_earlier_run_its_time_is_unknown(self):
        self.world()
        app, main = self.open()
        self.assertEqual(app.status(main)[0], "Last sync: Unknown")
        self.leave(app, main)

    def test_settings_dialog(self):
        world = self.world()
        app, main = self.open()
        app.command(main, "View", "Settings...")
        dialog = app.window(SETTINGS)
        self.picture(app, "settings", dialog)
        shown = [(c["class"], plain(c["text"])) for c in app.children(dialog) if c["text"]]
        self.assertEqual(shown, [
            ("Button", "Database/File Locations"),
            ("Static", "Desktop Edition Database Location"), ("Edit", windows_path(world.database)),
            ("Button", " Browse to Set Database File Location "),
            ("Static", "Mobile Edition Location on PDA"), ("Edit", "\\Program Files\\Motorva"),
            ("Static", "Synchronization Log File"), ("Edit", windows_path(world.log)),
            ("Button", " Browse to Set Log File Location "),
            ("Button", "Logging On"), ("Button", "Retain History"),
            ("Button", "Process Options"),
            ("Button", "Synchronize Databases [Normal Mode] - RECOMMENDED"),
            ("Button", "Desktop (PC) Database Completely Overwrites Mobile (PDA) Database"),
            ("Button", "Mobile (PDA) Database Completely Overwrites Desktop (PC) Database"),
            ("Button", "Auto Run in Silent Mode whenever Active Sync is Launched"),
            ("Static", "Use this dialog to setup your sync options. Use care when using any mode other than [Normal "
                       "Mode] as a complete database replacement will occur."),
            ("Button", "OK"), ("Button", "Cancel")])
        for tip in (" Browse to Set Database File Location ", " Browse to Set Log File Location "):
            self.assertEqual(app.probe.ask("tip", app.child(dialog, tip)["hwnd"]), tip)
        self.assertFalse(app.probe.ask("window", main["hwnd"])["enabled"])
        app.press(dialog, "Cancel")
        app.gone(SETTINGS)
        self.leave(app, main)

    def test_about_box(self):
        self.world()
        app, main = self.open()
        app.command(main, "About...")
        about = app.window(ABOUT)
        self.picture(app, "about", about)
        version = re.search(r"VERSION (\d+\.\d+\.\d+)", (ROOT / "CMakeLists.txt").read_text())[1]
        app.child(about, f"Version: {version}")
        app.press(about, "OK")
        app.gone(ABOUT)
        self.leave(app, main)


class Handheld(WindowCase):
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
        self.assertEqual([b["enabled"] for b in app.toolbar(main) if not b["separator"]], [False, True, True])
        self.assertFalse(app.probe.ask("menu", main["hwnd"])[0]["items"][0]["enabled"])
        self.answer(app, box, "Retry")
        box, _ = self.box(app, NO_DEVICE)
        world.plug_in()
        self.answer(app, box, "Retry")
        wait_for(lambda: app.toolbar(main)[0]["enabled"], "the Start command")
        self.assertTrue(app.probe.ask("menu", main["hwnd"])[0]["items"][0]["enabled"])
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
        wait_for(lambda: app.toolbar(main)[0]["enabled"], "the Start command")
        self.assertTrue(app.probe.ask("menu", main["hwnd"])[0]["items"][0]["enabled"])
        self.assertEqual(app.lines(main), [])
        self.assertEqual(world.log_text(), "")
        world.plug_in()
        app.click_tool(main, 1)
        self.assertIn("13 of 13", self.run_to_end(app, main)[-1])
        self.leave(app, main)


class Runs(WindowCase):
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
        self.assertFalse(app.probe.ask("menu", main["hwnd"])[0]["items"][0]["enabled"], "Start stays disabled")
        self.assertIn(" Synchronization of 13 of 13 tables ended: ", world.log_text())
        app.click_tool(main, 1)
        self.run_to_end(app, main, runs=2)
        shown = app.list(main)
        self.assertEqual(len(shown["items"]), 30, "the first run's lines stay above")
        self.assertGreaterEqual(shown["first"] + shown["page"], 30, "the newest line is in sight")
        self.leave(app, main)
        self.assertNotEqual(world.stored()["LastSync"], "")

    def test_commands_are_disabled_while_a_run_asks(self):
        world = self.world()
        (world.tables / "brnd_Fuel.pdb").unlink()
        app, main = self.open()
        app.click_tool(main, 1)
        box, text = self.box(app, "Sync Not Completed Successfully")
        self.picture(app, "not-completed")
        self.assertEqual(text, "Please make sure that Motorva Mobile Edition is NOT running on your PDA.\r"
                               "If necessary, use the Exit|Close menu option to close Motorva Mobile Edition, then "
                               "retry.\rYour PDA should be connected and powered on.")
        self.assertEqual(self.looks(app, box), ("critical", ["OK"]))
        self.assertEqual([b["enabled"] for b in app.toolbar(main) if not b["separator"]], [False, False, False])
        self.assertEqual([m["enabled"] for m in app.probe.ask("menu", main["hwnd"])], [False, False, True])
        self.answer(app, box, "OK")
        lines = self.run_to_end(app, main)
        self.assertIn("Unable to retrieve table [brnd_Fuel] from device. Function returned code: 1 - Not Avail/In-Use",
                      lines)
        self.assertTrue(lines[-1].startswith("Synchronization Ended with Errors: "))
        self.assertEqual([m["enabled"] for m in app.probe.ask("menu", main["hwnd"])], [True, True, True])
        self.leave(app, main)

    def test_a_double_click_starts_one_run(self):
        self.world()
        app, main = self.open()
        app.click_tool(main, 1, clicks=2)
        self.run_to_end(app, main)
        app.click_tool(main, 3)
        app.window(SETTINGS)
        self.assertEqual(len(app.lines(main)), 15)
        app.press(app.window(SETTINGS), "Cancel")
        app.gone(SETTINGS)
        self.leave(app, main)

    def test_the_spinner_turns_during_a_run_and_ends_as_it_began(self):
        self.world(rows=2000)
        app, main = self.open()
        spinner = [c for c in app.children(main) if c["class"] == PICTURE][-1]["hwnd"]
        first = app.probe.ask("icon", spinner)
        seen = {first}
        app.click_tool(main, 1)
        wait_for(lambda: seen.add(app.probe.ask("icon", spinner)) or len(seen) == 4, "four frames")
        self.run_to_end(app, main)
        self.assertEqual(app.probe.ask("icon", spinner), first)
        self.leave(app, main)

    def test_the_pointer_is_an_hourglass_during_a_run(self):
        self.world(rows=2000)
        app, main = self.open()
        # Where the pointer rests from now on.
        app.probe.ask("mouse", *middle(app.child(main, **{"class": "SysListView32"})["rect"]))
        before = app.probe.ask("cursor")
        app.command(main, "Sync", "Start")
        wait_for(lambda: app.probe.ask("cursor") != before and app.lines(main), "the hourglass")
        self.run_to_end(app, main)
        wait_for(lambda: app.probe.ask("cursor") == before, "the arrow")
        self.leave(app, main)

    def test_an_error_is_shown_and_the_window_stays_usable(self):
        world = self.world()
        world.database.rename(world.folder / "elsewhere.db")
        app, main = self.open()
        app.click_tool(main, 1)
        box, text = self.box(app, "")
        self.assertRegex(text, r"^Error: -2147467259 has occurred\.\rDescription: Could not find file ")
        self.assertEqual(self.looks(app, box), ("exclamation", ["OK"]))
        self.answer(app, box, "OK")
        self.assertTrue(self.run_to_end(app, main)[-1].startswith("Synchronization Stopped Due to Errors: "))
        (world.folder / "elsewhere.db").rename(world.database)
        app.click_tool(main, 1)
        self.assertIn("13 of 13", self.run_to_end(app, main, runs=2)[-1])
        self.leave(app, main)

    def test_closing_the_window_during_a_run_loses_nothing(self):
        world = self.world(rows=2000)
        app, main = self.open()
        app.click_tool(main, 1)
        wait_for(lambda: len(app.lines(main)) >= 3, "two tables")
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
            self.assertEqual([w for w in app.probe.ask("top") if w["class"] != "Progman"], [])
        self.assertEqual(app.wait(), 0)
        self.assertIn("Silent Synchronization of 11 of 13", world.log_text())


class SessionEnd(WindowCase):
    """The user logs off, whatever the program is doing: the settings are saved and the program ends by itself."""

    def end_session(self, app, main):
        self.assertEqual(app.probe.ask("send", main["hwnd"], WM_QUERYENDSESSION, 0, 0), 1)
        app.probe.ask("send", main["hwnd"], WM_ENDSESSION, 1, 0)

    def test_during_a_run(self):
        world = self.world(rows=2000)
        app, main = self.open()
        app.click_tool(main, 1)
        wait_for(lambda: len(app.lines(main)) >= 3, "two tables")
        self.end_session(app, main)
        self.assertEqual(world.stored()["SyncMode"], "0")
        self.assertEqual(app.wait(), 0)
        self.assertIn(" Synchronization Stopped Due to Errors: ", world.log_text())

    def test_while_nothing_happens(self):
        world = self.world()
        app, main = self.open()
        self.end_session(app, main)
        self.assertEqual(app.wait(), 0)
        self.assertEqual(world.stored()["SyncMode"], "0")

    def test_while_the_settings_are_open_below_a_file_dialog(self):
        world = self.world()
        app, main = self.open()
        app.command(main, "View", "Settings...")
        app.press(app.window(SETTINGS), " Browse to Set Database File Location ")
        app.window("Set Desktop Edition Database Location")
        self.end_session(app, main)
        self.assertEqual(app.wait(), 0)
        self.assertEqual(world.stored()["SyncMode"], "0")

    def test_while_the_handheld_is_asked_for(self):
        world = self.world()
        world.unplug()
        app = self.start()
        self.box(app, NO_DEVICE)
        self.end_session(app, app.window(MAIN))
        self.assertEqual(app.wait(), 3)
        self.assertEqual(world.stored()["SyncMode"], "0")

    def test_while_a_run_tells_of_its_failure(self):
        world = self.world()
        (world.tables / "brnd_Fuel.pdb").unlink()
        app, main = self.open()
        app.click_tool(main, 1)
        self.box(app, "Sync Not Completed Successfully")
        self.end_session(app, main)
        self.assertEqual(app.wait(), 0)
        self.assertIn(" Synchronization of 12 of 13 tables ended: ", world.log_text())

    def test_a_session_that_goes_on_after_all_changes_nothing(self):
        world = self.world()
        world.set(LastSync="yesterday")
        app, main = self.open()
        self.assertEqual(app.probe.ask("send", main["hwnd"], WM_QUERYENDSESSION, 0, 0), 1)
        app.probe.ask("send", main["hwnd"], WM_ENDSESSION, 0, 0)
        self.assertNotIn("SyncMode", world.stored())
        app.click_tool(main, 1)
        self.run_to_end(app, main)
        self.leave(app, main)


class ManyWindows(WindowCase):
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
        wait_for(lambda: app.toolbar(main)[0]["enabled"], "the Start command")
        self.leave(app, main)

    def test_a_dialog_comes_before_the_window_below_can_be_closed(self):
        self.world()
        app, main = self.open()
        for path, title in ((("View", "Settings..."), SETTINGS), (("About...",), ABOUT)):
            app.command(main, *path)
            dialog = app.window(title)
            app.close(main)
            self.assertFalse(app.probe.ask("window", main["hwnd"])["enabled"])
            app.close(dialog)
            app.gone(title)
        self.leave(app, main)

    def test_a_second_copy_of_the_program_opens_its_own_window(self):
        self.world()
        first, main = self.open()
        second = self.start()
        other = wait_for(lambda: second.top(text=MAIN) and second.top(text=MAIN)["hwnd"] != main["hwnd"] and
                         second.top(text=MAIN), "the second window")
        wait_for(lambda: second.toolbar(other)[0]["enabled"], "the handheld's answer")
        second.click_tool(other, 1)
        self.run_to_end(second, other)
        self.leave(second, other)
        first.click_tool(main, 1)
        self.run_to_end(first, main)
        self.leave(first, main)


class SettingsDialog(WindowCase):
    """The settings dialog at work."""

    def dialog(self):
        app, main = self.open()
        app.command(main, "View", "Settings...")
        return app, main, app.window(SETTINGS)

    def test_ok_takes_over_and_closing_the_window_saves(self):
        world = self.world()
        app, main, dialog = self.dialog()
        edits = [c for c in app.children(dialog) if c["class"] == "Edit"]
        for edit, text in zip(edits, (f" {windows_path(world.folder)}\\Garage \u00e9.db ", "\\Storage Card", "C:\\log.txt")):
            app.probe.ask("settext", edit["hwnd"], text)
        app.press(dialog, "Retain History")
        app.press(dialog, "Auto Run in Silent Mode whenever Active Sync is Launched")
        app.press(dialog, "Mobile (PDA) Database Completely Overwrites Desktop (PC) Database")
        wait_for(lambda: app.child(dialog, "Mobile (PDA) Database Completely Overwrites Desktop (PC) Database")["checked"],
                 "the mode")
        app.press(dialog, "OK")
        app.gone(SETTINGS)
        wait_for(lambda: app.status(main)[1] == "Overwrite PC", "the mode")
        self.assertNotIn("PDADBPath", world.stored(), "settings reach the store when the window closes")
        self.leave(app, main)
        folder = windows_path(world.folder)
        stored = world.stored()
        self.assertEqual({k: stored[k] for k in sorted(stored)}, {
            "AutoStart": "1", "DesktopDBPath": f"{folder}\\Garage \u00e9.db", "PCSyncDestPath": f"{folder}\\sync\\dest",
            "PCSyncSourcePath": f"{folder}\\sync\\source", "PDADBPath": "\\Storage Card", "SyncLog": "1",
            "SyncLogHistory": "1", "SyncLogPath": "C:\\log.txt", "SyncMode": "2"})
        self.assertTrue((world.folder / "sync" / "dest").is_dir())

    def test_ok_writes_the_entry_that_starts_the_program_when_a_handheld_connects(self):
        world = self.world()
        world.set(SyncMode="1")
        folder = self.wine.drive_c / "Program Files" / "Motorva"
        folder.mkdir()
        self.addCleanup(shutil.rmtree, folder)
        shutil.copy(WINDOWS_BIN / "MVPPCSync.exe", folder)

        def entry():
            return world.settings.read_key(
                r"HKEY_LOCAL_MACHINE\Software\Microsoft\Windows CE Services\AutoStartOnConnect")

        def press_auto_start(app, main, dialog):
            app.press(dialog, "Auto Run in Silent Mode whenever Active Sync is Launched")
            app.press(dialog, "OK")
            app.gone(SETTINGS)

        app, main, dialog = self.dialog()
        press_auto_start(app, main, dialog)
        command = r"C:\Program Files\Motorva\MVPPCSync.exe -Mode1"
        self.assertEqual(entry(), {"Brindle Software": command})
        self.assertEqual(app.probe.ask("start", command), 0)
        self.assertIn("Silent Synchronization of 11 of 13", world.log_text())
        self.assertIn(">> SUCCESSFUL [brnd_Fuel] PC Table Replaced PDA Table", world.log_text())
        app.command(main, "View", "Settings...")
        press_auto_start(app, main, app.window(SETTINGS))
        self.assertEqual(entry(), {"Brindle Software": ""})
        self.leave(app, main)

    def test_a_mode_survives_cancel(self):
        world = self.world()
        app, main, dialog = self.dialog()

        def picture(window):
            return app.probe.ask("icon", app.child(window, **{"class": PICTURE})["hwnd"])
        before, main_before = picture(dialog), picture(main)
        app.press(dialog, "Desktop (PC) Database Completely Overwrites Mobile (PDA) Database")
        wait_for(lambda: app.child(dialog, "Desktop (PC) Database Completely Overwrites Mobile (PDA) Database")["checked"],
                 "the mode")
        self.assertNotEqual(picture(dialog), before)
        app.press(dialog, "Cancel")
        app.gone(SETTINGS)
        wait_for(lambda: app.status(main)[1] == "Overwrite PDA", "the mode")
        app.child(main, " You are set to Overwrite PDA")
        self.assertNotEqual(picture(main), main_before)
        self.leave(app, main)
        self.assertEqual(world.stored()["SyncMode"], "1")

    def test_the_log_row_follows_its_box(self):
        self.world()
        app, main, dialog = self.dialog()

        def row():
            return [app.child(dialog, "Synchronization Log File")["enabled"],
                    [c for c in app.children(dialog) if c["class"] == "Edit"][2]["enabled"],
                    app.child(dialog, "Retain History")["enabled"],
                    app.child(dialog, " Browse to Set Log File Location ")["enabled"]]
        self.assertEqual(row(), [True] * 4)
        app.press(dialog, "Logging On")
        wait_for(lambda: row() == [False] * 4, "a disabled row")
        app.press(dialog, "Logging On")
        wait_for(lambda: row() == [True] * 4, "an enabled row")
        app.press(dialog, "Cancel")
        app.gone(SETTINGS)
        self.leave(app, main)

    def test_browsing_takes_the_chosen_file_at_once(self):
        world = self.world()
        other = world.folder / "other.db"
        other.write_bytes(b"")
        app, main, dialog = self.dialog()
        app.press(dialog, " Browse to Set Database File Location ")
        browse = app.window("Set Desktop Edition Database Location")
        self.picture(app, "browse")
        name = next(c for c in self.deep(app, browse) if c["class"] == "Edit" and c["visible"] and c["enabled"])
        self.assertIn("Motorva.db", name["text"])
        self.assertIn("Motorva Database Files(*.db)", [c["text"] for c in self.deep(app, browse)])
        app.probe.ask("settext", name["hwnd"], windows_path(world.folder / "missing.db"))
        app.probe.ask("post", app.child(browse, id=1)["hwnd"], BM_CLICK, 0, 0)
        self.refusal(app, browse, "OK")
        app.probe.ask("settext", name["hwnd"], windows_path(other))
        app.probe.ask("post", app.child(browse, id=1)["hwnd"], BM_CLICK, 0, 0)
        app.gone("Set Desktop Edition Database Location")
        edit = next(c for c in app.children(dialog) if c["class"] == "Edit")
        self.assertEqual(edit["text"], windows_path(other))
        app.press(dialog, "Cancel")
        app.gone(SETTINGS)
        self.leave(app, main)
        self.assertEqual(world.stored()["DesktopDBPath"], windows_path(other))

    def test_a_browsed_log_without_an_extension_gets_one(self):
        world = self.world()
        app, main, dialog = self.dialog()
        app.press(dialog, " Browse to Set Log File Location ")
        browse = app.window("Save Log File As")
        name = next(c for c in self.deep(app, browse) if c["class"] == "Edit" and c["visible"] and c["enabled"])
        self.assertIn("Sync Log Files (*.txt,*.log)", [c["text"] for c in self.deep(app, browse)])
        app.probe.ask("settext", name["hwnd"], windows_path(world.folder / "nowhere" / "log.txt"))
        app.probe.ask("post", app.child(browse, id=1)["hwnd"], BM_CLICK, 0, 0)
        self.refusal(app, browse, "OK")
        (world.folder / "old.txt").write_text("a log")
        app.probe.ask("settext", name["hwnd"], windows_path(world.folder / "old.txt"))
        app.probe.ask("post", app.child(browse, id=1)["hwnd"], BM_CLICK, 0, 0)
        self.refusal(app, browse, "No")
        app.probe.ask("settext", name["hwnd"], windows_path(world.folder / "journal"))
        app.probe.ask("post", app.child(browse, id=1)["hwnd"], BM_CLICK, 0, 0)
        app.gone("Save Log File As")
        self.assertEqual([c for c in app.children(dialog) if c["class"] == "Edit"][2]["text"],
                         windows_path(world.folder / "journal.txt"))
        app.press(dialog, "Cancel")
        app.gone(SETTINGS)
        self.leave(app, main)

    def refusal(self, app, browse, button):
        """A message box over the file dialog, which stays open."""
        box = wait_for(lambda: app.top(owner=browse["hwnd"], **{"class": "#32770"}), "the refusal")
        self.answer(app, box, button)

    def test_a_browse_button_shows_another_picture_while_it_is_down(self):
        self.world()
        app, main, dialog = self.dialog()
        button = app.child(dialog, " Browse to Set Database File Location ")

        def picture():
            return app.probe.ask("send", button["hwnd"], BM_GETIMAGE, IMAGE_ICON, 0)
        released = picture()
        app.probe.ask("press", *middle(button["rect"]))
        pressed = wait_for(lambda: picture() != released and picture(), "the other picture")
        self.picture(app, "browse-pressed", dialog)
        # Out of the button, where letting go is no click.
        app.probe.ask("press", *middle(app.child(dialog, "Logging On")["rect"]))
        app.probe.ask("release")
        wait_for(lambda: picture() != pressed, "the first picture")
        app.press(dialog, "Cancel")
        app.gone(SETTINGS)
        self.leave(app, main)

    def deep(self, app, window):
        for child in app.children(window):
            yield child
            yield from self.deep(app, child)


class Log(WindowCase):
    """The command Sync Log."""

    def test_a_missing_log_is_named(self):
        world = self.world()
        app, main = self.open()
        app.click_tool(main, 4)
        box, text = self.box(app, LOG_TITLE)
        self.assertEqual(text, f"Sync Log: {windows_path(world.log)} does not exist.")
        self.assertEqual(self.looks(app, box), ("information", ["OK"]))
        self.answer(app, box, "OK")
        self.leave(app, main)

    def test_a_log_that_no_program_opens_is_named(self):
        world = self.world()
        log = world.folder / "SyncLog.unheard-of"
        log.write_text("a log\r\n")
        world.set(SyncLogPath=windows_path(log))
        app, main = self.open()
        app.click_tool(main, 4)
        box, text = self.box(app, LOG_TITLE)
        self.assertEqual(text, f"Unable to open: {windows_path(log)}")
        self.assertEqual(self.looks(app, box), ("exclamation", ["OK"]))
        self.answer(app, box, "OK")
        self.leave(app, main)

    def test_a_log_opens_in_the_program_for_texts(self):
        world = self.world()
        world.log.write_text("a log\r\n")
        app, main = self.open()
        app.click_tool(main, 4)
        editor = wait_for(lambda: next((w for w in app.probe.ask("top") if w["class"] == "Notepad"), None), "the editor")
        wait_for(lambda: "SyncLog" in app.probe.ask("window", editor["hwnd"])["text"], "the log in the editor")
        app.close(editor)
        wait_for(lambda: not app.top(hwnd=editor["hwnd"]), "the editor's end")
        self.leave(app, main)


class Keyboard(WindowCase):
    """Every command without a mouse."""

    def test_menus(self):
        world = self.world()
        app, main = self.open()
        app.keys(main, f"{ALT}+{ord('S')}", ord("S"))
        self.run_to_end(app, main)
        app.keys(main, f"{ALT}+{ord('V')}", ord("S"))
        dialog = app.window(SETTINGS)
        app.keys(dialog, ESCAPE)
        app.gone(SETTINGS)
        app.keys(main, f"{ALT}+{ord('A')}")
        about = app.window(ABOUT)
        app.keys(about, ENTER)
        app.gone(ABOUT)
        world.log.unlink()
        app.keys(main, f"{ALT}+{ord('V')}", ord("L"))
        box, _ = self.box(app, LOG_TITLE)
        app.keys(box, ENTER)
        app.gone(LOG_TITLE)
        app.keys(main, f"{ALT}+{ord('S')}", ord("X"))
        self.assertEqual(app.wait(), 0)

    def test_the_menu_key(self):
        self.world()
        app, main = self.open()
        app.keys(main, F10, RIGHT, DOWN, ENTER)
        dialog = app.window(SETTINGS)
        app.keys(dialog, ESCAPE)
        app.gone(SETTINGS)
        app.keys(main, F10, ESCAPE, ENTER, ESCAPE, SPACE)
        self.leave(app, main)

    def test_toolbar(self):
        self.world()
        app, main = self.open()
        self.focus(app, main, "ToolbarWindow32")
        wait_for(lambda: app.toolbar(main)[0]["hot"], "the first button")
        app.keys(main, ENTER)
        self.run_to_end(app, main)
        # The second run: the menu command is disabled now, the button is the only way.
        self.focus(app, main, "SysListView32")
        self.focus(app, main, "ToolbarWindow32")
        app.keys(main, SPACE)
        self.run_to_end(app, main, runs=2)
        self.focus(app, main, "SysListView32")
        self.focus(app, main, "ToolbarWindow32")
        app.keys(main, RIGHT)
        wait_for(lambda: app.toolbar(main)[2]["hot"], "the button behind the separator")
        app.keys(main, SPACE)
        dialog = app.window(SETTINGS)
        app.keys(dialog, ESCAPE)
        app.gone(SETTINGS)
        self.leave(app, main)

    def test_settings_dialog(self):
        world = self.world()
        app, main = self.open()
        app.keys(main, f"{ALT}+{ord('V')}", ord("S"))
        dialog = app.window(SETTINGS)
        visited = []
        for _ in range(11):
            focused = wait_for(lambda: app.probe.ask("focus"), "the focus")
            visited.append(plain(app.probe.ask("window", focused)["text"]))
            app.keys(dialog, TAB)
            wait_for(lambda: app.probe.ask("focus") != focused, "the next control")
        self.assertEqual(visited, [
            windows_path(world.database), " Browse to Set Database File Location ", "\\Program Files\\Motorva",
            windows_path(world.log), " Browse to Set Log File Location ", "Logging On", "Retain History",
            "Synchronize Databases [Normal Mode] - RECOMMENDED",
            "Auto Run in Silent Mode whenever Active Sync is Launched", "OK", "Cancel"])
        app.keys(dialog, f"{ALT}+{ord('S')}", DOWN)
        wait_for(lambda: app.child(dialog, "Desktop (PC) Database Completely Overwrites Mobile (PDA) Database")["checked"],
                 "the next mode")
        app.keys(dialog, f"{ALT}+{ord('H')}")
        wait_for(lambda: app.child(dialog, "Retain History")["checked"], "the mark of a box")
        app.keys(dialog, f"{ALT}+{ord('M')}", END, *[8] * 30, ord("X"))
        wait_for(lambda: [c for c in app.children(dialog) if c["class"] == "Edit"][1]["text"] == "x", "the typed path")
        app.keys(dialog, ENTER)
        app.gone(SETTINGS)
        self.leave(app, main)
        stored = world.stored()
        self.assertEqual((stored["SyncMode"], stored["SyncLogHistory"], stored["PDADBPath"]), ("1", "1", "x"))

    def focus(self, app, main, class_name):
        wanted = app.child(main, **{"class": class_name})["hwnd"]
        app.keys(main, TAB)
        wait_for(lambda: app.probe.ask("focus") == wanted, f"the focus in {class_name}")


class Layout(WindowCase):
    """Every control inside its window and clear of the others."""

    def test_windows(self):
        self.world()
        app, main = self.open()
        self.check(app, main)
        self.picture(app, "main", main)
        app.command(main, "View", "Settings...")
        dialog = app.window(SETTINGS)
        self.check(app, dialog)
        self.picture(app, "settings", dialog)
        app.press(dialog, "Cancel")
        app.gone(SETTINGS)
        app.command(main, "About...")
        about = app.window(ABOUT)
        self.check(app, about)
        self.picture(app, "about", about)
        app.press(about, "OK")
        app.gone(ABOUT)
        self.leave(app, main)

    def test_any_size(self):
        self.world()
        app, main = self.open()
        for runs in (1, 2):
            app.click_tool(main, 1)
            self.run_to_end(app, main, runs)
        for name, width, height in (("small", 1, 1), ("large", 1280, 960)):
            app.probe.ask("place", main["hwnd"], 0, 0, width, height)
            self.check(app, main)
            self.picture(app, f"main-{name}", main)
            columns = app.list(main)["column"]
            client = app.child(main, **{"class": "SysListView32"})["client"]["right"]
            self.assertGreaterEqual(columns, client)
            painted = self.wine.screen.pixels()
            app.probe.ask("redraw", main["hwnd"])
            self.wine.screen.settle()
            self.assertTrue(self.wine.screen.pixels() == painted, "nothing is left of the former size")
        self.leave(app, main)

    def test_labels_stand_beside_their_texts(self):
        self.world()
        app, main = self.open()
        app.command(main, "View", "Settings...")
        dialog = app.window(SETTINGS)
        edits = [c for c in app.children(dialog) if c["class"] == "Edit"]
        labels = [c for c in app.children(dialog) if c["class"] == "Static"][:3]
        for edit, label in zip(edits, labels):
            (_, high), (_, low) = middle(edit["rect"]), middle(label["rect"])
            self.assertLessEqual(abs(high - low), 2 * self.DPI // 96, (edit, label))
        app.press(dialog, "Cancel")
        app.gone(SETTINGS)
        self.leave(app, main)

    def check(self, app, window):
        outer = app.probe.ask("window", window["hwnd"])["rect"]
        frames = ("Database/File Locations", "Process Options")
        children = [c for c in app.children(window) if c["visible"] and c["text"] not in frames]
        for child in children:
            box = child["rect"]
            self.assertLess(box["left"], box["right"], child)
            self.assertLess(box["top"], box["bottom"], child)
            self.assertTrue(outer["left"] <= box["left"] and box["right"] <= outer["right"], child)
            self.assertTrue(outer["top"] <= box["top"] and box["bottom"] <= outer["bottom"], child)
            for other in children:
                self.assertTrue(other is child or apart(box, other["rect"]), (child, other))


def apart(a, b):
    return a["right"] <= b["left"] or b["right"] <= a["left"] or a["bottom"] <= b["top"] or b["bottom"] <= a["top"]


class LayoutAt200Percent(Layout):
    DPI = 192

    def test_the_window_is_twice_as_large(self):
        self.world()
        app, main = self.open()
        box = app.probe.ask("window", main["hwnd"])["rect"]
        self.assertEqual(box["right"] - box["left"], 1200)
        self.leave(app, main)


class HighContrast(WindowCase):
    COLOURS = CONTRAST

    def test_the_systems_colours_are_used(self):
        self.world()
        app, main = self.open()
        app.command(main, "View", "Settings...")
        dialog = app.window(SETTINGS)
        app.capture(PICTURES / "settings-contrast.png", dialog)
        app.press(dialog, "Cancel")
        app.gone(SETTINGS)
        app.capture(PICTURES / "main-contrast.png", main)
        for child in app.children(main):
            box = child["rect"]
            # The status bar has its grip in the corner.
            inset = 40 if child["class"] == "msctls_statusbar32" else 4
            corner = (box["right"] - inset, box["bottom"] - 4)
            self.assertEqual(self.wine.screen.pixel(*corner), (0, 0, 0), child["class"])
        for message in (WM_SYSCOLORCHANGE, WM_THEMECHANGED):
            app.probe.ask("send", main["hwnd"], message, 0, 0)
        self.assertEqual(app.status(main)[1], "Synchronize")
        self.leave(app, main)


if __name__ == "__main__":
    unittest.main()
