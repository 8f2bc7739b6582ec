"""Takes the pictures of docs/screenshots anew: python3 -m tests.e2e.screenshots [windows] [linux]. Needs what the window
tests need."""

import pathlib
import shutil
import sys
import tempfile

from . import desktop, qtdesktop
from .desktop import Wine, wait_for
from .qtdesktop import CONTRAST as LINUX_CONTRAST
from .qtdesktop import DARK, QtDesk
from .scenes import ABOUT, MAIN, MODES, SETTINGS
from .test_window import CONTRAST
from .world import ROOT

PICTURES = ROOT / "docs" / "screenshots"
EARLIER = {"LastSync": "11/20/2026 6:12:40 PM"}


def windows_world(wine):
    world = wine.world(wine.rows_of_a_long_run, wine.drive_c / "Cars")
    world.settings.write({"General": {"DBPath": "C:\\Cars"}, "Handheld": {"Root": "C:\\Cars\\handheld"},
                          "PPC_Mobile": EARLIER})
    return world


def linux_world(desk):
    # Its paths are to be seen.
    world = desk.world(2000, pathlib.Path(tempfile.gettempdir(), "Cars"))
    world.set(**EARLIER)
    return world


def take(desk, world, wanted):
    """Takes the pictures named in `wanted`: {moment: file name}."""
    def picture(moment, window, settled=True):
        if moment in wanted:
            app.capture(PICTURES / f"{wanted[moment]}.png", window, settled)
    app = desk.app()
    main = app.window(MAIN)
    wait_for(lambda: app.can_start(main), "the handheld's answer")
    app.command(main, "View", "Settings...")
    dialog = app.window(SETTINGS)
    picture("settings", dialog)
    app.press(dialog, "Cancel")
    app.gone(SETTINGS)
    app.command(main, "About...")
    about = app.window(ABOUT)
    picture("about", about)
    app.press(about, "OK")
    app.gone(ABOUT)
    app.command(main, "Sync", "Start")
    if "run" in wanted:
        wait_for(lambda: len(app.lines(main)) >= 6, "five tables")
        picture("run", main, settled=False)  # it never is, before the run has ended
    wait_for(lambda: "ended" in app.lines(main)[-1], "the end of the run")
    picture("main", main)
    if "overwrite" in wanted:
        app.command(main, "View", "Settings...")
        dialog = app.window(SETTINGS)
        app.press(dialog, MODES[2])
        app.press(dialog, "Cancel")
        app.gone(SETTINGS)
        wait_for(lambda: app.status(main)[1] == "Overwrite PC", "the mode")
        picture("overwrite", main)
    app.close(main)
    app.wait()


def take_all(make_desk, make_world, appearances):
    for dpi, colours, wanted in appearances:
        desk = make_desk(dpi, colours)
        try:
            for folder in (pathlib.Path(tempfile.gettempdir(), "Cars"), getattr(desk, "drive_c", ROOT) / "Cars"):
                shutil.rmtree(folder, ignore_errors=True)
            world = make_world(desk)
            take(desk, world, wanted)
            world.remove()
        finally:
            desk.close()


def main(editions):
    PICTURES.mkdir(parents=True, exist_ok=True)
    if "windows" in editions:
        if desktop.missing():
            sys.exit("the window cannot be shown: " + desktop.missing())
        take_all(Wine, windows_world,
                 ((96, None, {"settings": "settings", "about": "about", "run": "run", "main": "main",
                              "overwrite": "main-overwrite"}),
                  (192, None, {"settings": "settings-200-percent"}),
                  (96, CONTRAST, {"main": "main-contrast", "overwrite": "main-contrast-overwrite"})))
    if "linux" in editions:
        if qtdesktop.missing():
            sys.exit("the window cannot be shown: " + qtdesktop.missing())
        take_all(QtDesk, linux_world,
                 ((96, None, {"settings": "settings-linux", "about": "about-linux", "main": "main-linux"}),
                  (192, None, {"main": "main-200-percent-linux"}),
                  (96, DARK, {"overwrite": "main-dark-linux", "settings": "settings-dark-linux"}),
                  (96, LINUX_CONTRAST, {"overwrite": "main-contrast-linux"})))


if __name__ == "__main__":
    main(sys.argv[1:] or ["windows", "linux"])
