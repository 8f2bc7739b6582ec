"""Takes the pictures of docs/screenshots anew: python3 -m tests.e2e.screenshots. Needs what the window tests need."""

import shutil
import sys

from .desktop import App, Wine, World, missing, wait_for
from .test_window import ABOUT, CONTRAST, MAIN, SETTINGS
from .world import ROOT

PICTURES = ROOT / "docs" / "screenshots"


def take(wine, wanted):
    """Takes the pictures named in `wanted`: {moment: file name}."""
    def picture(moment, window):
        if moment in wanted:
            app.capture(PICTURES / f"{wanted[moment]}.png", window)
    folder = wine.drive_c / "Cars"
    shutil.rmtree(folder, ignore_errors=True)
    world = World(wine, 2000, folder)
    world.settings.write({"General": {"DBPath": "C:\\Cars"}, "Handheld": {"Root": "C:\\Cars\\handheld"},
                          "PPC_Mobile": {"LastSync": "11/20/2026 6:12:40 PM"}})
    app = App(wine)
    main = app.window(MAIN)
    wait_for(lambda: app.toolbar(main)[0]["enabled"], "the handheld's answer")
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
    wait_for(lambda: len(app.lines(main)) >= 6, "five tables")
    picture("run", main)
    wait_for(lambda: "ended" in app.lines(main)[-1], "the end of the run")
    picture("main", main)
    app.close(main)
    app.wait()
    if "overwrite" in wanted:
        world.set(SyncMode="2", LastSync="11/20/2026 6:12:40 PM")
        app = App(wine)
        main = app.window(MAIN)
        wait_for(lambda: app.toolbar(main)[0]["enabled"], "the handheld's answer")
        picture("overwrite", main)
        app.close(main)
        app.wait()
    world.remove()


def main():
    if missing():
        sys.exit("the window cannot be shown: " + missing())
    PICTURES.mkdir(parents=True, exist_ok=True)
    appearances = ((96, None, {"settings": "settings", "about": "about", "run": "run", "main": "main",
                                "overwrite": "main-overwrite"}),
                   (192, None, {"settings": "settings-200-percent"}),
                   (96, CONTRAST, {"main": "main-contrast", "overwrite": "main-contrast-overwrite"}))
    for dpi, colours, wanted in appearances:
        wine = Wine(dpi, colours)
        try:
            take(wine, wanted)
        finally:
            wine.close()


if __name__ == "__main__":
    main()
