"""The page docs/user/guide.md: its commands, word by word, from practice data to the first run with data of one's own."""

import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

from . import windows
from .world import BIN, ROOT, SILENT_TABLES

PAGE = ROOT / "docs" / "user" / "guide.md"
FENCE = re.compile(r"^```(\w*)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
LINK = re.compile(r"\]\(([^)#]+)(?:#[^)]*)?\)")
TABLES = ["brnd_Accessories", "brnd_AccItems"] + SILENT_TABLES
# The settings of other tests, which run at the same time, are in another one.
PREFIX = windows.WINE_PREFIX.with_name("wine-guide")
WARNED = (0, 1)  # of doctor


def blocks(language, heading=None):
    """The commands of one language below a heading of the first level, or on the whole page."""
    text = PAGE.read_text(encoding="utf-8")
    if heading:
        text = re.split(r"^# ", text, flags=re.MULTILINE)[heading_number(text, heading)]
    return [body for kind, body in FENCE.findall(text) if kind == language]


def heading_number(text, heading):
    parts = re.split(r"^# ", text, flags=re.MULTILINE)
    return next(i for i, part in enumerate(parts) if part.startswith(heading + "\n"))


def rows_of(database):
    """{table: its rows as text}"""
    return {table: subprocess.run([str(BIN / "mvtool"), "show", str(database), table], check=True, text=True,
                                  capture_output=True).stdout for table in TABLES}


class Folder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name).resolve()


class ThePage(unittest.TestCase):
    def test_every_command_belongs_to_a_part_that_is_run_here(self):
        languages = {kind for kind, _ in FENCE.findall(PAGE.read_text(encoding="utf-8"))}
        self.assertEqual(languages, {"sh", "bat"})
        parts = blocks("sh", "Linux") + blocks("sh", "Your own data")
        self.assertEqual(parts, blocks("sh"))
        self.assertEqual(blocks("bat", "Windows"), blocks("bat"))

    def test_what_it_links_to_is_there(self):
        for target in LINK.findall(PAGE.read_text(encoding="utf-8")):
            with self.subTest(target=target):
                self.assertTrue((PAGE.parent / target).exists())


class Linux(Folder):
    """One shell, as a user has one; each block says what it ended with."""

    def run_blocks(self, texts):
        """The output of each block; doctor may have warnings."""
        script = "".join(f"{text}\nprintf '\\n== %s ==\\n' $?\n" for text in texts)
        environment = dict(os.environ, PATH=f"{BIN}:{os.environ['PATH']}", LC_ALL="C.UTF-8", HOME=str(self.folder))
        environment.pop("XDG_CONFIG_HOME", None)
        done = subprocess.run(["sh", "-c", script], cwd=self.folder, env=environment, timeout=120,
                              encoding="utf-8", errors="replace", stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        parts = re.split(r"\n== (\d+) ==\n", done.stdout)
        outputs, statuses = parts[:-1:2], [int(s) for s in parts[1::2]]
        self.assertEqual(len(outputs), len(texts), done.stdout)
        for text, output, status in zip(texts, outputs, statuses):
            allowed = WARNED if text.rstrip().endswith("mvtool doctor") or "mvtool setup" in text else (0,)
            self.assertIn(status, allowed, f"{text}\n{output}")
        return outputs

    def test_practice(self):
        texts = blocks("sh", "Linux")
        demo, doctor, preview, sync, log, looked, back, end = texts
        shown = self.run_blocks([demo, doctor, preview])
        self.assertIn("\n0 failures, 0 warnings\n", shown[1])
        self.assertIn("brnd_Fuel: PC ", shown[2])
        before = rows_of(self.folder / "practice" / "Motorva.db")
        synced = self.run_blocks([doctor, sync, log, looked])
        self.assertEqual(synced[1].strip(), "")
        self.assertIn("11 of 13", synced[2])
        self.assertIn("brnd_Fuel: PC ", synced[3])
        self.assertNotEqual(rows_of(self.folder / "practice" / "Motorva.db"), before)
        self.run_blocks([doctor, back])
        self.assertEqual(rows_of(self.folder / "practice" / "Motorva.db"), before)
        self.run_blocks([end])
        self.assertFalse((self.folder / "practice").exists())

    def test_own_data_of_a_new_pc(self):
        subprocess.run([str(BIN / "mvtool"), "demo", str(self.folder / "made")], check=True, stdout=subprocess.DEVNULL)
        card = self.folder / "card"
        shutil.move(self.folder / "made" / "handheld", card)
        shutil.rmtree(self.folder / "made")
        setup, preview, run = blocks("sh", "Your own data")
        self.assertIn("CARD=/media/card\n", setup)
        setup = setup.replace("CARD=/media/card\n", f"CARD={card}\n")
        told, shown, done = self.run_blocks([setup, preview, run])
        self.assertIn("-Mode2", told)
        self.assertNotIn("-Mode0", told)
        self.assertEqual(sorted(f.name for f in (self.folder / "handheld-copy").rglob("brnd_*.pdb")),
                         sorted(f"{table}.pdb" for table in TABLES))
        self.assertIn("brnd_Fuel: PC +", shown)
        self.assertIn("sound", done)
        self.assertIn('"KY_RECID"', rows_of(self.folder / "cars" / "Motorva.db")["brnd_Fuel"])


@unittest.skipUnless(windows.PROGRAM.exists() and shutil.which("wine"), "no Wine, or no Windows programs")
class Windows(Folder):
    """At the command prompt, line by line."""

    def prompt(self, line):
        environment = dict(os.environ, WINEPREFIX=str(PREFIX), LC_ALL="C.UTF-8",
                           WINEPATH=windows.windows_path(windows.WINDOWS_BIN))
        # Quotes of a line given as a word would not reach the prompt as they are.
        (self.folder / "line.bat").write_text(f"@{line}\r\n", newline="")
        done = subprocess.run([str(ROOT / "tools" / "wine-run"), "cmd", "/c", "line.bat"], cwd=self.folder,
                              env=environment, timeout=120, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        allowed = WARNED if line == "mvtool doctor" else (0,)
        output = done.stdout.decode("utf-8", "replace")
        self.assertIn(done.returncode, allowed, f"{line}\n{output}")
        return output

    def test_practice(self):
        laid, ran, back, end = (text.splitlines() for text in blocks("bat", "Windows"))
        for line in laid:
            self.prompt(line)
        before = rows_of(self.folder / "practice" / "Motorva.db")
        shown = {line: self.prompt(line) for line in ran}
        self.assertIn("brnd_Fuel: PC ", shown["mvtool preview --mode 0"])
        self.assertIn("11 of 13", shown["type practice\\SyncLog.txt"])
        self.assertIn("brnd_Fuel: PC ", shown["mvtool changes"])
        self.assertNotEqual(rows_of(self.folder / "practice" / "Motorva.db"), before)
        for line in back:
            self.prompt(line)
        self.assertEqual(rows_of(self.folder / "practice" / "Motorva.db"), before)
        for line in end:
            self.prompt(line)
        self.assertFalse((self.folder / "practice").exists())
