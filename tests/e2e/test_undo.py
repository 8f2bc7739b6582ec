"""The page docs/user/undo.md: its commands, word by word, take each of its cases back."""

import datetime
import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import time
import unittest

from . import pdbfile
from .history import rows_of_file
from .world import BIN, ROOT, SILENT_TABLES

PAGE = ROOT / "docs" / "user" / "undo.md"
ACCESSORIES = ["brnd_Accessories", "brnd_AccItems"]
TABLES = ACCESSORIES + SILENT_TABLES


def command_blocks():
    """{heading: the blocks of commands below it}, and the languages of all fences."""
    blocks, languages = {}, []
    heading, block = "", None
    for line in PAGE.read_text(encoding="utf-8").splitlines():
        if line.startswith("```"):
            if block is None:
                languages.append(line[3:])
                block = []
            else:
                blocks.setdefault(heading, []).append("\n".join(block) + "\n")
                block = None
        elif block is not None:
            block.append(line)
        elif line.startswith("#"):
            heading = line.lstrip("# ")
    return blocks, languages


BLOCKS, LANGUAGES = command_blocks()


class Page(unittest.TestCase):
    """The demonstration's world, and a shell in it."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.top = pathlib.Path(folder.name)
        self.folder = self.lay_out("world")

    def lay_out(self, name):
        folder = self.top / name
        subprocess.run([str(BIN / "mvtool"), "demo", str(folder)], check=True, stdout=subprocess.DEVNULL)
        return folder

    def environment(self, folder):
        return dict(os.environ, PATH=f"{BIN}:{os.environ['PATH']}", LC_ALL="C.UTF-8",
                    XDG_CONFIG_HOME=str(folder / "config"))

    def shell(self, text, status=0, folder=None):
        """Runs commands as they stand in the page; what they print."""
        folder = folder or self.folder
        done = subprocess.run(["sh", "-e", "-c", text], cwd=folder, env=self.environment(folder), text=True,
                              capture_output=True, timeout=60)
        self.assertEqual(done.returncode, status, f"{text}\n{done.stdout}\n{done.stderr}")
        return done

    def handheld(self, folder=None):
        return (folder or self.folder) / "handheld" / "Program Files" / "Motorva"

    def file(self, table):
        return self.handheld() / f"{table}.pdb"

    def state(self, folder=None):
        """The rows of the database, and the bytes of the handheld's files."""
        folder = folder or self.folder
        rows = {table: self.rows(table, folder) for table in TABLES}
        return rows, {f.name: f.read_bytes() for f in sorted(self.handheld(folder).iterdir())}

    def rows(self, table, folder=None):
        return self.shell(f"mvtool show Motorva.db {table}", folder=folder).stdout.splitlines()

    def flags(self):
        return {t: rows_of_file(t, self.file(t).read_bytes())[1] for t in TABLES}

    def blocks(self, heading, count):
        blocks = BLOCKS[heading]
        self.assertEqual(len(blocks), count)
        return blocks

    def check_back(self, before):
        rows, files = self.state()
        for table in TABLES:
            self.assertEqual(rows[table], before[0][table], table)
        self.assertEqual(files, before[1])
        self.assertIn(": sound", self.shell("mvtool check Motorva.db").stdout)


class TheWholePage(Page):
    def test_every_command_block_is_one_for_a_shell_and_belongs_to_a_test(self):
        self.assertEqual(set(LANGUAGES), {"sh"})
        source = pathlib.Path(__file__).read_text(encoding="utf-8")
        for heading in BLOCKS:
            self.assertTrue(f'self.blocks("{heading}"' in source, f"no test runs the commands of {heading!r}")

    def test_the_commands_of_the_first_half_work_after_a_run(self):
        before = self.state()
        for block in self.blocks("Before a run", 1):
            self.assertIn("brnd_Fuel: PC ", self.shell(block).stdout)
            self.assertEqual(self.state(), before)
        self.shell("MVPPCSync -Mode0")
        after = self.state()
        for block in self.blocks("After a run", 1):
            self.assertIn("brnd_Fuel: PC ", self.shell(block).stdout)
        for block in self.blocks("Once more to the handheld", 1):
            self.shell(block)
        self.assertEqual(self.state(), after)
        for block in self.blocks("Going back", 1):
            self.shell(block)
        self.check_back(before)


class CutOffOverwrite(Page):
    def stopped_and_taken_back(self, before):
        """A Synchronize that follows changes nothing; then the page's way."""
        left = self.state()
        self.assertNotEqual(left[0], before[0])
        said = self.shell("MVPPCSync -Mode0", status=2).stderr
        self.assertIn("An Overwrite PC emptied these tables on the PC and has not filled them: brnd_", said)
        self.assertEqual(self.state(), left)
        self.run_the_page()
        self.check_back(before)
        self.shell("MVPPCSync -Mode0")

    def run_the_page(self):
        block, = self.blocks("An Overwrite PC that was cut off", 1)
        return self.shell(block).stdout

    def overwrite_until_it_is_emptied(self):
        """Starts the run; returns it as soon as the template has taken the database's place."""
        first = (self.folder / "Motorva.db").stat().st_ino
        run = subprocess.Popen([str(BIN / "MVPPCSync"), "-Mode2"], env=self.environment(self.folder),
                               stderr=subprocess.DEVNULL)
        while (self.folder / "Motorva.db").stat().st_ino == first and run.poll() is None:
            time.sleep(0.0005)
        return run

    def test_killed(self):
        before = self.state()
        run = self.overwrite_until_it_is_emptied()
        run.kill()
        self.assertEqual(run.wait(), -9)
        self.stopped_and_taken_back(before)

    def test_a_card_that_goes_away(self):
        before = self.state()
        run = self.overwrite_until_it_is_emptied()
        (self.folder / "handheld").rename(self.folder / "away")
        self.assertEqual(run.wait(), 1)
        (self.folder / "away").rename(self.folder / "handheld")
        self.stopped_and_taken_back(before)

    def test_a_card_that_is_not_mounted(self):
        before = self.state()
        (self.folder / "handheld").rename(self.folder / "away")
        (self.folder / "handheld").mkdir()
        self.shell("MVPPCSync -Mode2", status=1)
        (self.folder / "handheld").rmdir()
        (self.folder / "away").rename(self.folder / "handheld")
        self.stopped_and_taken_back(before)

    def test_a_table_file_that_cannot_be_read(self):
        before = self.state()
        away = self.folder / "away.pdb"
        self.file("brnd_Models").rename(away)
        os.mkfifo(self.file("brnd_Models"))
        self.shell("MVPPCSync -Mode2", status=1)
        self.file("brnd_Models").unlink()
        away.rename(self.file("brnd_Models"))
        self.stopped_and_taken_back(before)

    def test_a_table_file_that_is_cut(self):
        whole = self.file("brnd_Models").read_bytes()
        self.file("brnd_Models").write_bytes(whole[:400])
        before = self.state()
        self.shell("MVPPCSync -Mode2", status=2)
        left = self.state()
        self.shell("MVPPCSync -Mode0", status=2)
        self.assertEqual(self.state(), left)
        self.assertIn("handheld, brnd_Models: stays; its file was damaged", self.run_the_page())
        self.check_back(before)
        self.file("brnd_Models").write_bytes(whole)
        self.shell("MVPPCSync -Mode0")


class OtherCases(Page):
    def test_a_new_pc_with_the_template_as_its_database(self):
        self.shell("MVPPCSync -Mode0")  # by the old PC: no flags are left on the handheld
        shutil.rmtree(self.folder / "sync")
        shutil.copy(BIN / "_20", self.folder / "Motorva.db")
        before = self.state()
        records = {t: len(flags) for t, flags in self.flags().items() if t in SILENT_TABLES}
        said = self.shell("MVPPCSync -Mode0").stderr
        for table, count in records.items():
            self.assertIn(f"Warning: {table}: the handheld loses {count} of {count} rows\n", said)
            self.assertEqual(len(self.flags()[table]), 0)
        back, forward = self.blocks("A new PC with the template as its database", 2)
        self.assertEqual(self.shell(back).stdout.splitlines()[0], str(sum(records.values())))
        self.check_back(before)
        self.shell(forward)
        self.assertEqual({t: len(self.rows(t)) for t in SILENT_TABLES}, records)
        self.assertEqual({t: len(f) for t, f in self.flags().items() if t in SILENT_TABLES}, records)

    def test_an_overwrite_that_is_regretted(self):
        twin = self.lay_out("twin")
        before, flags = self.state(), self.flags()
        self.assertTrue(any(f for table in flags.values() for f in table.values()))
        self.shell("MVPPCSync -Mode2")
        self.assertFalse(any(f for t in SILENT_TABLES for f in self.flags()[t].values()))
        back, forward = self.blocks("An Overwrite PC that is regretted", 2)
        self.shell(back)
        self.check_back(before)
        self.assertEqual(self.flags(), flags)
        self.shell(forward)
        self.shell("MVPPCSync -Mode0", folder=twin)
        self.assertEqual(self.state(), self.state(twin))

    def test_copying_the_backup_alone_loses_what_the_handheld_entered(self):
        twin = self.lay_out("twin")
        self.shell("MVPPCSync -Mode0", folder=twin)
        self.shell("MVPPCSync -Mode2")
        self.shell("cp Motorva.db.presyncbackup.* Motorva.db")
        self.shell("MVPPCSync -Mode0")
        keys = lambda folder: {json.loads(row)["KY_RECID"].casefold() for row in self.rows("brnd_Fuel", folder)}
        self.assertTrue(keys(twin) - keys(self.folder))

    def test_a_table_cut_during_its_way_back_is_sent_again(self):
        """The cure of docs/user/recovery.md for error 9."""
        self.shell("MVPPCSync -Mode0")
        before = self.state()
        self.file("brnd_Fuel").write_bytes(before[1]["brnd_Fuel.pdb"][:400])
        self.assertIn("Error 9: ", self.shell("MVPPCSync -Mode0", status=2).stderr)
        self.shell("mvtool send brnd_Fuel")
        self.check_back(before)
        self.shell("MVPPCSync -Mode0")

    def test_a_row_edited_on_both_sides(self):
        self.shell("MVPPCSync -Mode0")
        name, fields, records = pdbfile.parse(self.file("brnd_Fuel").read_bytes())
        names = [n for n, _ in fields]
        key, note = names.index("KY_RECID"), next(i for i, (n, t) in enumerate(fields)
                                                  if t == pdbfile.TEXT and n != "KY_RECID")
        chosen = records[3]
        change = {"op": "update", "where": {"KY_RECID": chosen.values[key]}, "set": {names[note]: "by the PC"}}
        subprocess.run([str(BIN / "mvtool"), "apply", str(self.folder / "Motorva.db"), "brnd_Fuel"], check=True,
                       input=json.dumps(change).encode(), stdout=subprocess.DEVNULL)
        chosen.values[note], chosen.attributes = "by hand", pdbfile.MODIFIED
        self.file("brnd_Fuel").write_bytes(pdbfile.build(name, fields, records, datetime.date.today()))
        before, handheld = self.state(), rows_of_file("brnd_Fuel", self.file("brnd_Fuel").read_bytes())[0]
        self.shell("MVPPCSync -Mode0")
        self.assertNotEqual(self.state()[0], before[0])
        look, back = self.blocks("The same row edited on both sides", 2)
        self.assertIn(f'brnd_Fuel {chosen.values[key]}: overruled on the PC: {names[note]} "by the PC" -> "by hand"',
                      self.shell(look).stdout)
        self.shell(back)
        self.assertEqual(self.state()[0], before[0])
        rows, flags = rows_of_file("brnd_Fuel", self.file("brnd_Fuel").read_bytes())
        handheld[chosen.values[key].casefold()][names[note]] = "by the PC"
        self.assertEqual(rows, handheld)
        self.assertEqual(set(flags.values()), {0})

    def test_a_silent_overwrite_then_the_window(self):
        before = self.state()
        self.shell("MVPPCSync -Mode2")
        left = self.state()
        said = self.shell("mvtool preview --mode 0 --tables all", status=2).stderr
        self.assertIn("has not filled them: brnd_Accessories, brnd_AccItems. ", said)
        self.assertEqual(self.state(), left)
        for block in self.blocks("A silent Overwrite PC, then the window", 1):
            self.shell(block)
        self.check_back(before)
        self.shell("mvtool preview --mode 0 --tables all")


if __name__ == "__main__":
    unittest.main()
