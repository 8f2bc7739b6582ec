"""A sync world for the Windows edition under Wine, whose handheld is reached through the test library in tests/rapi."""

import os
import pathlib
import shutil
import subprocess

from .network import Program
from .world import ROOT, World

WINDOWS_BIN = pathlib.Path(os.environ.get("MV_WINDOWS_BIN", ROOT / "build" / "windows-x64" / "bin"))
PROGRAM = WINDOWS_BIN / "MVPPCSync.exe"
LIBRARY = WINDOWS_BIN.parent / "test_rapi" / "rapi.dll"
WINE_PREFIX = WINDOWS_BIN.parent / "wine-e2e"
SETTINGS_KEY = r"HKEY_CURRENT_USER\Software\VB and VBA Program Settings\Motorva32"


def windows_path(path):
    """Wine shows the root of the local file system as drive Z."""
    return "Z:" + str(path).replace("/", "\\")


def wine(*command, timeout=120, **environment):
    """Runs a Windows program; returns its exit status."""
    return subprocess.run([str(ROOT / "tools" / "wine-run"), *map(str, command)], timeout=timeout,
                          env={**os.environ, "WINEPREFIX": str(WINE_PREFIX), "LC_ALL": "C.UTF-8", **environment},
                          stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode


def wine_is_idle():
    """Waits until no program runs in the tests' prefix, and nothing is left in the background."""
    subprocess.run(["wineserver", "-w"], env={**os.environ, "WINEPREFIX": str(WINE_PREFIX)}, timeout=60, check=True)


class WindowsListener(Program):
    """"mvtool listen" of the Windows edition on a console of its own."""

    def __init__(self, folder, event, *options):
        self.signal = folder / "press"
        self.signal.unlink(missing_ok=True)
        output = folder / "listener.log"
        output.touch()
        words = [ROOT / "tools" / "wine-run", WINDOWS_BIN / "console_user.exe", event, windows_path(self.signal),
                 windows_path(output), windows_path(WINDOWS_BIN / "mvtool.exe"), "listen", *options]
        super().__init__(words, folder / "console.log", {**os.environ, "WINEPREFIX": str(WINE_PREFIX)})
        self.output = output

    def __exit__(self, *_):
        # What was started through Wine's shell would not end with it.
        if self.process.poll() is None:
            self.interrupt()

    @staticmethod
    def left_behind():
        """What lies in the folder in which programs find a listener; its lock is free when nobody has it."""
        places = (WINE_PREFIX / "drive_c" / "users").glob("*/AppData/Local/MVPPCSync/*")
        return sorted(path.name for path in places)

    def interrupt(self):
        """Lets the event happen; returns the exit status."""
        self.signal.touch()
        return self.process.wait(60)


class WindowsWorld(World):
    """A copy of another world, made before that one is used."""

    def __init__(self, folder, original):
        super().__init__(folder)
        shutil.copytree(original.folder, self.folder, dirs_exist_ok=True,
                        ignore=shutil.ignore_patterns("config", "MVPPCSync"))
        self.program_folder = self.folder / "program"
        self.program_folder.mkdir(exist_ok=True)
        shutil.copy(PROGRAM, self.program_folder)
        shutil.copy(LIBRARY, self.program_folder)
        self.calls_log = self.folder / "calls.log"

    def write_settings(self, handheld=None, **extra):
        """Into the registry; what a world before this one stored goes away. `handheld`: the section of that name."""
        sections = {"General": {"DBPath": windows_path(self.folder)}, "PPC_Mobile": extra, "Handheld": handheld or {}}
        lines = ["Windows Registry Editor Version 5.00", "", f"[-{SETTINGS_KEY}]"]
        for section, values in sections.items():
            lines += ["", f"[{SETTINGS_KEY}\\{section}]"]
            lines += ['"{}"="{}"'.format(k, v.replace("\\", "\\\\").replace('"', '\\"')) for k, v in values.items()]
        file = self.folder / "settings.reg"
        file.write_text("\r\n".join(lines) + "\r\n", encoding="utf-16", newline="")
        if wine("reg", "import", windows_path(file)) != 0:
            raise RuntimeError("the settings could not be put into the registry")

    def sync(self, mode, timeout=120, script=""):
        return wine(self.program_folder / "MVPPCSync.exe", f"-Mode{mode}", timeout=timeout,
                    MV_RAPI_ROOT=windows_path(self.handheld), MV_RAPI_LOG=windows_path(self.calls_log), MV_RAPI_SCRIPT=script)

    def calls(self):
        """What the library wrote down, a line a call."""
        return self.calls_log.read_text(encoding="utf-8").splitlines() if self.calls_log.exists() else []
