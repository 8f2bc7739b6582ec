"""The window of the Windows edition stays alive: while a handheld is waited for, and under the about box in a run."""

import tempfile
import time
import unittest

from .desktop import App, Settings, Wine, World, missing, wait_for
from .windows import windows_path

MAIN = "Motorva\u2122 Mobile Edition - Pocket PC Sync Utility"
ABOUT = "About Motorva\u2122 Mobile Edition"
NOT_COMPLETED = "Sync Not Completed Successfully"


def setUpModule():
    if missing():
        raise unittest.SkipTest("the window: " + missing())


class Alive(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.wine = Wine()
        cls.addClassCleanup(cls.wine.close)

    def start(self):
        app = App(self.wine)
        self.addCleanup(app.end)
        return app, app.window(MAIN)

    def open(self, rows=None):
        """A world, and the program ready for a run in it."""
        world = World(self.wine, rows)
        self.addCleanup(world.remove)
        app, main = self.start()
        wait_for(lambda: app.toolbar(main)[0]["enabled"], "the handheld's answer")
        return world, app, main

    def test_the_window_can_be_closed_while_a_handheld_is_waited_for(self):
        with tempfile.TemporaryDirectory() as folder:
            Settings(self.wine, folder).write({"General": {"DBPath": windows_path(folder)},
                                               "Handheld": {"Connection": "network", "Wait": "50"}})
            app, main = self.start()
            wait_for(lambda: app.status(main)[1] == "Synchronize", "the mode, which activation shows")
            begin = time.monotonic()
            app.close(main)
            self.assertEqual(app.wait(), 3)
            self.assertLess(time.monotonic() - begin, 20)

    def test_about_in_a_run_does_not_stop_it(self):
        _, app, main = self.open(rows=2000)
        app.click_tool(main, 1)
        wait_for(lambda: len(app.lines(main)) >= 2, "the first table")
        app.command(main, "About...")
        about = app.window(ABOUT)
        self.assertFalse(app.probe.ask("window", main["hwnd"])["enabled"], "the window takes no input")
        lines = wait_for(lambda: [x for x in app.lines(main) if " ended: " in x], "the end of the run")
        self.assertIn("13 of 13", lines[0])
        self.assertTrue(app.top(hwnd=about["hwnd"]))
        app.press(about, "OK")
        app.gone(ABOUT)
        wait_for(lambda: app.probe.ask("window", main["hwnd"])["enabled"], "the window")
        app.close(main)
        self.assertEqual(app.wait(), 0)

    def test_a_message_box_comes_up_over_about(self):
        world, app, main = self.open(rows=2000)
        (world.tables / "brnd_Vehicle.pdb").unlink()
        app.click_tool(main, 1)
        wait_for(lambda: len(app.lines(main)) >= 2, "the first table")
        app.command(main, "About...")
        about = app.window(ABOUT)
        box = app.window(NOT_COMPLETED)
        self.assertFalse(app.probe.ask("window", about["hwnd"])["enabled"])
        app.press(box, "OK")
        app.gone(NOT_COMPLETED)
        wait_for(lambda: app.probe.ask("window", about["hwnd"])["enabled"], "the about box")
        self.assertFalse(app.probe.ask("window", main["hwnd"])["enabled"], "the box is open still")
        app.press(about, "OK")
        app.gone(ABOUT)
        app.close(main)
        self.assertEqual(app.wait(), 0)

    def test_closing_the_window_closes_about(self):
        _, app, main = self.open()
        app.command(main, "About...")
        app.window(ABOUT)
        app.close(main)
        self.assertEqual(app.wait(), 0)
