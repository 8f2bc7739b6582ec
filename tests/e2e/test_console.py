"""What the Windows program, which has no console, says in the one of whoever starts it. Under Wine a console is a window, so it
runs on a screen of its own."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

from .desktop import Screen
from .windows import PROGRAM, WINDOWS_BIN, windows_path
from .world import ROOT

PROBE = WINDOWS_BIN / "consoleprobe.exe"
PROMPT = "C:\\>"


@unittest.skipUnless(PROGRAM.exists() and PROBE.exists(), "there are no Windows programs")
@unittest.skipUnless(shutil.which("wine") and shutil.which("Xvfb"), "wine or Xvfb is not installed")
class Console(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.screen = Screen()
        cls.addClassCleanup(cls.screen.close)

    def shown(self, *words):
        """The exit status, and the lines in the console afterwards."""
        with tempfile.TemporaryDirectory() as folder:
            out = pathlib.Path(folder, "out.txt")
            environment = dict(os.environ, WINEPREFIX=str(WINDOWS_BIN.parent / "wine-console"), DISPLAY=self.screen.display,
                               LC_ALL="C.UTF-8")
            done = subprocess.run([ROOT / "tools" / "wine-run", PROBE, windows_path(out), PROMPT, windows_path(PROGRAM), *words],
                                  env=environment, timeout=180, capture_output=True)
            return done.returncode, out.read_text(encoding="utf-8").splitlines()

    def test_help_and_version_stand_below_the_prompt_that_started_it(self):
        status, lines = self.shown("--version")
        self.assertEqual((status, lines[0], len(lines)), (0, PROMPT, 2), lines)
        self.assertRegex(lines[1], r"^MVPPCSync [0-9.]+$")
        status, lines = self.shown("--help")
        self.assertEqual((status, lines[:2]), (0, [PROMPT, "MVPPCSync"]))
        self.assertIn("    --version   the version of the program", lines)
        self.assertTrue(lines[-1].endswith("shows what a run would do."), lines)

    def test_an_option_that_is_none_is_named_there(self):
        status, lines = self.shown("-Mode0", "--frob")
        self.assertEqual((status, lines[0]), (2, PROMPT))
        self.assertIn('"--frob"', lines[1])


if __name__ == "__main__":
    unittest.main()
