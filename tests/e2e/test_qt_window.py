"""The window of the Linux edition: the scenes of both editions, and what is its own."""

import unittest

from . import qtdesktop, scenes
from .desktop import wait_for
from .scenes import MAIN


def setUpModule():
    if qtdesktop.missing():
        raise unittest.SkipTest("the window: " + qtdesktop.missing())


class QtCase:
    """Plays a class of scenes with the Linux program."""

    @classmethod
    def make_desk(cls):
        return qtdesktop.QtDesk(cls.DPI)


class Texts(QtCase, scenes.Texts):
    pass


class Handheld(QtCase, scenes.Handheld):
    pass


class Runs(QtCase, scenes.Runs):
    pass


class SessionEnd(QtCase, scenes.SessionEnd):
    pass


class ManyWindows(QtCase, scenes.ManyWindows):
    pass


class SettingsDialog(QtCase, scenes.SettingsDialog):
    pass


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
    pass


if __name__ == "__main__":
    unittest.main()
