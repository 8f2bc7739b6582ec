"""The window of the Linux edition: the scenes of both editions, and what is its own."""

import unittest

from . import qtdesktop, scenes
from .desktop import wait_for
from .scenes import AUTO_START, BROWSE_TIPS, DATABASE_DIALOG, LOG_DIALOG, MAIN, SETTINGS

PRODUCT = "Motorva\u2122 Mobile Edition"


def setUpModule():
    if qtdesktop.missing():
        raise unittest.SkipTest("the window: " + qtdesktop.missing())


class QtCase:
    """Plays a class of scenes with the Linux program."""

    @classmethod
    def make_desk(cls):
        return qtdesktop.QtDesk(cls.DPI)


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


if __name__ == "__main__":
    unittest.main()
