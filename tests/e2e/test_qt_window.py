"""The window of the Linux edition: the scenes of both editions, and what is its own."""

import pathlib
import subprocess
import time
import unittest

from . import qtdesktop, scenes
from .desktop import PATIENCE, wait_for
from .scenes import ABOUT, AUTO_START, BROWSE_TIPS, DATABASE_DIALOG, LOG_DIALOG, SETTINGS
from .world import BIN

PRODUCT = "Motorva\u2122 Mobile Edition"


def setUpModule():
    if qtdesktop.missing():
        raise unittest.SkipTest("the window: " + qtdesktop.missing())


class QtCase:
    """Plays a class of scenes with the Linux program."""

    @classmethod
    def make_desk(cls):
        return qtdesktop.QtDesk(cls.DPI)

    def open(self):
        app, main = super().open()
        app.wait_for_turn(main)
        return app, main


FOLDER = "Folder in the Handheld's Place"
BROWSE_HANDHELD = "Browse to Set Handheld Folder"
NETWORK = "Handheld Connects over the Network"


class Texts(QtCase, scenes.Texts):
    def handheld_texts(self, world):
        return ["Handheld", FOLDER, str(world.handheld), BROWSE_HANDHELD, NETWORK,
                "A change here takes effect at the next start of this program."]


class Handheld(QtCase, scenes.Handheld):
    pass


class Runs(QtCase, scenes.Runs):
    pass


class SessionEnd(QtCase, scenes.SessionEnd):
    pass


class ManyWindows(QtCase, scenes.ManyWindows):
    pass


class SettingsDialog(QtCase, scenes.SettingsDialog):
    def told_of_auto_start(self, app):
        box = app.window(PRODUCT)
        self.assertIn("a run starts by itself from now on", app.box_text(box))
        self.answer(app, box, "OK")
        self.assertIn("--user enable --now mvppcsync-listen.service", self.desk.words_of("systemctl"))

    def test_a_service_that_is_not_installed_is_told_of(self):
        self.world()
        self.desk.answer_to("systemctl", 1)
        self.addCleanup(self.desk.let_service_be_off)
        app, main, dialog = self.dialog()
        app.press(dialog, AUTO_START)
        app.press(dialog, "OK")
        box = app.window(PRODUCT)
        self.assertIn("is not installed", app.box_text(box))
        self.answer(app, box, "OK")
        self.leave(app, main)

    def test_nothing_is_told_when_nothing_was_switched(self):
        self.world()
        app, main, dialog = self.dialog()
        app.press(dialog, "OK")
        app.gone(SETTINGS)
        self.leave(app, main)
        self.assertEqual([w for w in self.desk.words_of("systemctl") if "able --now" in w], [])

    def test_the_way_to_the_handheld_is_stored_with_ok(self):
        world = self.world()
        other = world.folder / "other handheld"
        app, main, dialog = self.dialog()
        app.set_edit(dialog, 3, str(other))
        app.press(dialog, "Cancel")
        app.gone(SETTINGS)
        self.assertEqual(world.settings.read("Handheld"), {"Root": str(world.handheld)})
        app.command(main, "View", "Settings...")
        dialog = app.window(SETTINGS)
        app.set_edit(dialog, 3, str(other))
        app.press(dialog, NETWORK)
        wait_for(lambda: not app.enabled(dialog, BROWSE_HANDHELD), "a disabled folder")
        app.press(dialog, "OK")
        app.gone(SETTINGS)
        self.assertEqual(world.settings.read("Handheld"), {"Root": str(other), "Connection": "network"})
        self.leave(app, main)

    def test_browsing_takes_the_chosen_file_at_once(self):
        world = self.world()
        other = world.folder / "other.db"
        other.write_bytes(b"")
        app, main, dialog = self.dialog()
        app.press(dialog, BROWSE_TIPS[0])
        browse = app.window(DATABASE_DIALOG)
        self.picture(app, "browse", browse)
        app.browse(browse, other)
        app.gone(DATABASE_DIALOG)
        self.assertEqual(app.edits(dialog)[0]["text"], str(other))
        self.leave_dialog(app, main, dialog)
        self.assertEqual(world.stored()["DesktopDBPath"], f"{world.folder}\\other.db")

    def test_a_browsed_log_without_an_extension_gets_one(self):
        world = self.world()
        app, main, dialog = self.dialog()
        app.press(dialog, BROWSE_TIPS[1])
        browse = app.window(LOG_DIALOG)
        app.browse(browse, world.folder / "journal")
        app.gone(LOG_DIALOG)
        self.assertEqual(app.edits(dialog)[2]["text"], str(world.folder / "journal.txt"))
        self.leave_dialog(app, main, dialog)

    def test_a_browse_button_shows_another_picture_while_it_is_down(self):
        self.world()
        app, main, dialog = self.dialog()
        button = app.control(dialog, BROWSE_TIPS[0])
        app.keys(dialog, "Tab")
        wait_for(lambda: app.focused(dialog) == BROWSE_TIPS[0], "the button's turn")
        self.desk.screen.settle()
        released = self.folder_colours(button)
        self.desk.tool("xdotool", "keydown", "space")
        wait_for(lambda: self.folder_colours(button) != released, "the other picture")
        # Lets the button go without a click.
        self.desk.tool("xdotool", "key", "Escape", "keyup", "space")
        wait_for(lambda: self.folder_colours(button) == released, "the first picture")
        self.leave_dialog(app, main, dialog)

    def folder_colours(self, button):
        """How much of each yellow of the folder is to be seen."""
        box = button["rect"]
        seen = list(self.desk.screen.colours(box["left"], box["top"], box["right"], box["bottom"]))
        return [seen.count(colour) for colour in ((0xD9, 0x8E, 0x1B), (0xF0, 0xA8, 0x30), (0xFF, 0xCA, 0x5C))]


class Log(QtCase, scenes.Log):
    def let_no_program_open(self):
        self.desk.answer_to("xdg-open", 3)
        self.addCleanup(self.desk.answer_to, "xdg-open", 0)

    def test_a_log_opens_in_the_program_for_texts(self):
        world = self.world()
        world.log.write_text("a log\r\n")
        app, main = self.open()
        self.desk.words_of("xdg-open")
        app.click_tool(main, 4)
        wait_for(lambda: self.desk.words_of("xdg-open") == [str(world.log)], "the log's opening")
        self.leave(app, main)


class Keyboard(QtCase, scenes.Keyboard):
    def handheld_stops(self, world):
        return [str(world.handheld), BROWSE_HANDHELD, NETWORK]

    def test_toolbar(self):
        self.world()
        app, main = self.open()
        self.reach_toolbar(app, main)
        app.keys(main, "Enter")
        self.run_to_end(app, main)
        # The second run: the menu command is disabled now, the button is the only way.
        self.reach_toolbar(app, main)
        app.keys(main, "Space")
        self.run_to_end(app, main, runs=2)
        self.reach_toolbar(app, main)
        app.keys(main, "Right")
        wait_for(lambda: app.toolbar(main)[2]["hot"], "the button behind the separator")
        app.keys(main, "Space")
        dialog = app.window(SETTINGS)
        app.keys(dialog, "Escape")
        app.gone(SETTINGS)
        self.leave(app, main)

    def reach_toolbar(self, app, main):
        app.keys(main, "Tab")
        wait_for(lambda: app.toolbar(main)[0]["hot"], "the first button")


class Layout(QtCase, scenes.Scene):
    """Every control inside its window and clear of the others."""

    SCALE = 1

    def test_windows(self):
        self.world()
        app, main = self.open()
        box = app.box_of(main)
        self.assertEqual((box["right"] - box["left"], box["bottom"] - box["top"]), (600 * self.SCALE, 440 * self.SCALE))
        self.check(app, main)
        app.command(main, "View", "Settings...")
        dialog = app.window(SETTINGS)
        self.check(app, dialog)
        app.press(dialog, "Cancel")
        app.gone(SETTINGS)
        app.command(main, "About...")
        about = app.window(ABOUT)
        self.check(app, about)
        app.press(about, "OK")
        app.gone(ABOUT)
        self.leave(app, main)

    def check(self, app, window):
        app.wait_for_turn(window)
        outer = app.box_of(window)
        # What holds others encloses them.
        controls = [n for n in app.nodes(window) if n["showing"] and not n["children"] and n["role"] != "filler"]
        self.check_apart(outer, controls)


class LayoutAt200Percent(Layout):
    DPI, SCALE = 192, 2


class Appearance(QtCase, scenes.Scene):
    """The desktop's colours, and a mode that replaces one side in one that can be read on them."""

    COLOURS, BACKGROUND, WARNING = None, (0xEF, 0xEF, 0xEF), (0xA6, 0x1B, 0x1B)

    @classmethod
    def make_desk(cls):
        return qtdesktop.QtDesk(cls.DPI, cls.COLOURS)

    def test_modes_that_replace_one_side_stand_out(self):
        world = self.world()
        for mode, stands_out in (("0", False), ("1", True), ("2", True)):
            world.set(SyncMode=mode)
            app, main = self.open()
            wait_for(lambda: app.status(main)[1], "the mode")
            wait_for(lambda: self.BACKGROUND in self.seen(app, main), "the desktop's colours")
            self.desk.screen.settle()
            self.assertEqual(self.WARNING in self.seen(app, main), stands_out, mode)
            self.leave(app, main)

    def seen(self, app, main):
        """The colours around the mode's name."""
        box = app.panels(main)[1]["rect"]
        return set(self.desk.screen.colours(box["left"], box["top"], box["right"], box["bottom"]))


class DarkAppearance(Appearance):
    COLOURS, BACKGROUND, WARNING = qtdesktop.DARK, (42, 46, 50), (0xFF, 0xC1, 0x4D)


class DarkAppearanceAskedOfTheDesktop(Appearance):
    """A desktop without a plug-in for Qt tells it through its settings portal."""

    BACKGROUND, WARNING = (0x2B, 0x2E, 0x31), (0xFF, 0xC1, 0x4D)

    @classmethod
    def make_desk(cls):
        desk = qtdesktop.QtDesk(cls.DPI)
        cls.addClassCleanup(desk.prefer_dark())
        return desk


class HighContrast(Appearance):
    COLOURS, BACKGROUND, WARNING = qtdesktop.CONTRAST, (0, 0, 0), (0xFF, 0xC1, 0x4D)


class Start(QtCase, scenes.Scene):
    """Where there is no window to show, the program says so and nothing is left of it."""

    def test_without_a_display(self):
        self.world()
        for display in ("", ":987"):
            done = subprocess.run([str(BIN / "MVPPCSync")], env=dict(self.desk.environment, DISPLAY=display),
                                  stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=PATIENCE)
            self.assertEqual(done.returncode, 2)
            self.assertIn("no window", done.stderr)

    def test_a_window_that_waits_takes_no_processor_time(self):
        self.world()
        app, main = self.open()
        before = self.processor_time(app)
        # What idles has nothing to wait for.
        time.sleep(1)
        self.assertLessEqual(self.processor_time(app) - before, 1)
        self.leave(app, main)

    @staticmethod
    def processor_time(app):
        """In ticks of a hundredth of a second."""
        fields = pathlib.Path("/proc", str(app.process.pid), "stat").read_text().rsplit(")", 1)[1].split()
        return int(fields[11]) + int(fields[12])


if __name__ == "__main__":
    unittest.main()
