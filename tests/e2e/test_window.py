"""The windows of the Windows edition: the scenes of both editions, and what is its own. The real program under Wine on a
screen of its own, looked at and worked on from outside."""

import shutil
import unittest

from . import desktop, scenes
from .desktop import (BM_CLICK, BM_GETIMAGE, IMAGE_ICON, WM_ENDSESSION,
                      WM_QUERYENDSESSION, WM_SYSCOLORCHANGE, WM_THEMECHANGED, Wine, middle, wait_for)
from .scenes import ABOUT, MAIN, PICTURES, SETTINGS
from .windows import WINDOWS_BIN, windows_path

# Of the drawing packaging/windows/resources/MVPPCSync-small.svg.
OUTLINE = (0x17, 0x49, 0x7F)
CONTRAST = {"Window": "0 0 0", "WindowText": "255 255 255", "ButtonFace": "0 0 0", "ButtonText": "255 255 255",
            "ButtonHilight": "255 255 255", "ButtonShadow": "255 255 255", "ButtonLight": "0 0 0",
            "ButtonDkShadow": "255 255 255", "GrayText": "0 255 0", "Hilight": "26 235 255", "HilightText": "0 0 0",
            "Menu": "0 0 0", "MenuBar": "0 0 0", "MenuText": "255 255 255", "ActiveTitle": "128 0 128",
            "TitleText": "255 255 255", "WindowFrame": "255 255 255"}


def setUpModule():
    if desktop.missing():
        raise unittest.SkipTest("the window: " + desktop.missing())


class WineCase:
    """Plays a class of scenes with the Windows program."""

    COLOURS = None

    @classmethod
    def make_desk(cls):
        return Wine(cls.DPI, cls.COLOURS)


class Texts(WineCase, scenes.Texts):
    def test_the_programs_icon_is_in_the_caption(self):
        self.world()
        app, main = self.open()
        box = app.probe.ask("window", main["hwnd"])["rect"]
        self.desk.screen.settle()
        caption = set(self.desk.screen.colours(box["left"], box["top"], box["left"] + 26, box["top"] + 26))
        self.assertIn(OUTLINE, caption)
        self.leave(app, main)


class Handheld(WineCase, scenes.Handheld):
    pass


class Runs(WineCase, scenes.Runs):
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


class SessionEnd(WineCase, scenes.SessionEnd):
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


class ManyWindows(WineCase, scenes.ManyWindows):
    def test_the_about_box_goes_with_the_window(self):
        self.world()
        app, main = self.open()
        app.command(main, "About...")
        app.window(ABOUT)
        self.leave(app, main)


class SettingsDialog(WineCase, scenes.SettingsDialog):
    def test_ok_writes_the_entry_that_starts_the_program_when_a_handheld_connects(self):
        world = self.world()
        world.set(SyncMode="1")
        folder = self.desk.drive_c / "Program Files" / "Motorva"
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


class Log(WineCase, scenes.Log):
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


class Keyboard(WineCase, scenes.Keyboard):
    TO_THE_FIRST_ENTRY = ["Down"]

    def test_toolbar(self):
        self.world()
        app, main = self.open()
        self.focus(app, main, "ToolbarWindow32")
        wait_for(lambda: app.toolbar(main)[0]["hot"], "the first button")
        app.keys(main, "Enter")
        self.run_to_end(app, main)
        # The second run: the menu command is disabled now, the button is the only way.
        self.focus(app, main, "SysListView32")
        self.focus(app, main, "ToolbarWindow32")
        app.keys(main, "Space")
        self.run_to_end(app, main, runs=2)
        self.focus(app, main, "SysListView32")
        self.focus(app, main, "ToolbarWindow32")
        app.keys(main, "Right")
        wait_for(lambda: app.toolbar(main)[2]["hot"], "the button behind the separator")
        app.keys(main, "Space")
        dialog = app.window(SETTINGS)
        app.keys(dialog, "Escape")
        app.gone(SETTINGS)
        self.leave(app, main)

    def focus(self, app, main, class_name):
        wanted = app.child(main, **{"class": class_name})["hwnd"]
        app.keys(main, "Tab")
        wait_for(lambda: app.probe.ask("focus") == wanted, f"the focus in {class_name}")


class Layout(WineCase, scenes.Scene):
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
            painted = self.desk.screen.pixels()
            app.probe.ask("redraw", main["hwnd"])
            self.desk.screen.settle()
            self.assertTrue(self.desk.screen.pixels() == painted, "nothing is left of the former size")
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
        self.check_apart(outer, children)


class LayoutAt200Percent(Layout):
    DPI = 192

    def test_the_window_is_twice_as_large(self):
        self.world()
        app, main = self.open()
        box = app.probe.ask("window", main["hwnd"])["rect"]
        self.assertEqual(box["right"] - box["left"], 1200)
        self.leave(app, main)


class HighContrast(WineCase, scenes.Scene):
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
            self.assertEqual(self.desk.screen.pixel(*corner), (0, 0, 0), child["class"])
        for message in (WM_SYSCOLORCHANGE, WM_THEMECHANGED):
            app.probe.ask("send", main["hwnd"], message, 0, 0)
        self.assertEqual(app.status(main)[1], "Synchronize")
        self.leave(app, main)


if __name__ == "__main__":
    unittest.main()
