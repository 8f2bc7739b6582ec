"""A database among other users of the system: permissions, links, names, owners. What mvtool writes, MVPPCSync writes too."""

import concurrent.futures
import json
import os
import pathlib
import shutil
import stat
import subprocess
import tempfile
import unittest

from .world import BIN

NOBODY = 65534
ROW = '{"op":"insert","row":{"Key":"%s"}}\n'
AS_ROOT = unittest.skipUnless(os.geteuid() == 0, "only root can work as somebody else")


class Neighbours(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.tool = self.folder / "bin" / "mvtool"
        self.tool.parent.mkdir()
        shutil.copy(BIN / "mvtool", self.tool)
        self.data = self.folder / "data"
        self.data.mkdir()
        self.folder.chmod(0o755)
        self.database = self.data / "x.mdb"
        schema = {"tables": [{"name": "T", "columns": [{"name": "Key", "type": "Text", "size": 20}],
                              "indexes": [{"name": "PrimaryKey", "columns": ["Key"], "primary": True}]}]}
        (self.folder / "schema.json").write_text(json.dumps(schema))
        self.run_tool("create", self.database, self.folder / "schema.json")

    def run_tool(self, *arguments, lines="", user=None, status=0):
        """Runs mvtool; returns what it printed on standard error, without the program's name."""
        done = subprocess.run([str(self.tool), *map(str, arguments)], input=lines, user=user, group=user,
                              capture_output=True, text=True, encoding="utf-8",
                              **({} if user is None else {"extra_groups": []}))
        self.assertEqual(done.returncode, status, done.stderr)
        return done.stderr

    def insert(self, key, path=None, user=None, status=0):
        return self.run_tool("apply", path or self.database, "T", lines=ROW % key, user=user, status=status)

    def keys(self, path=None):
        out = subprocess.run([str(self.tool), "show", str(path or self.database), "T"], check=True, capture_output=True)
        return [json.loads(line)["Key"] for line in out.stdout.decode("utf-8").splitlines()]

    def expect_nothing_beside(self, *names):
        self.assertEqual(sorted(p.name for p in self.data.iterdir()), sorted(["x.mdb", *names]))

    def test_a_symbolic_link_stays_one_and_its_target_is_written(self):
        elsewhere = self.folder / "elsewhere"
        elsewhere.mkdir()
        target = elsewhere / "real.mdb"
        self.database.rename(target)
        self.database.symlink_to(pathlib.Path("..") / "elsewhere" / "real.mdb")
        self.insert("a")
        self.assertTrue(self.database.is_symlink())
        self.assertFalse(target.is_symlink())
        self.assertEqual(self.keys(target), ["a"])
        self.expect_nothing_beside()
        self.assertEqual([p.name for p in elsewhere.iterdir()], ["real.mdb"])

    def test_a_link_that_leads_nowhere_is_a_missing_database(self):
        self.database.unlink()
        self.database.symlink_to("gone.mdb")
        self.assertIn(f"Could not find file '{self.database}'.", self.insert("a", status=1))

    def test_another_name_of_the_file_keeps_the_database_as_it_was(self):
        other = self.folder / "backup.mdb"
        os.link(self.database, other)
        before = other.read_bytes()
        self.insert("a")
        self.assertEqual(self.keys(), ["a"])
        self.assertEqual(other.read_bytes(), before)

    def test_mode_is_kept(self):
        for mode in (0o600, 0o640, 0o664):
            with self.subTest(mode=oct(mode)):
                self.database.chmod(mode)
                self.insert(oct(mode))
                self.assertEqual(stat.S_IMODE(self.database.stat().st_mode), mode)

    @AS_ROOT
    def test_owner_and_group_are_kept(self):
        os.chown(self.database, NOBODY, NOBODY)
        self.database.chmod(0o640)
        self.insert("a")
        status = self.database.stat()
        self.assertEqual((status.st_uid, status.st_gid, stat.S_IMODE(status.st_mode)), (NOBODY, NOBODY, 0o640))

    @AS_ROOT
    def test_a_file_that_may_only_be_read_is_shown_and_not_changed(self):
        self.data.chmod(0o777)
        self.database.chmod(0o444)
        self.run_tool("show", self.database, "T", user=NOBODY)
        self.assertIn(f"cannot open the file '{self.database}'", self.insert("a", user=NOBODY, status=1))
        self.assertEqual(self.keys(), [])
        self.expect_nothing_beside()

    @AS_ROOT
    def test_a_folder_that_may_only_be_read_keeps_the_database_as_it_was(self):
        self.database.chmod(0o666)
        before = self.database.read_bytes()
        self.assertIn(f"cannot be written beside '{self.database}'", self.insert("a", user=NOBODY, status=1))
        self.assertEqual(self.database.read_bytes(), before)
        self.expect_nothing_beside()
        self.run_tool("show", self.database, "T", user=NOBODY)

    @AS_ROOT
    def test_a_file_that_may_not_be_read_is_neither_shown_nor_changed(self):
        self.data.chmod(0o777)
        self.database.chmod(0o600)
        for arguments in (("show", self.database, "T"), ("list", self.database)):
            self.assertNotEqual(self.run_tool(*arguments, user=NOBODY, status=1), "")
        self.insert("a", user=NOBODY, status=1)
        self.assertEqual(self.keys(), [])

    @AS_ROOT
    def test_somebody_elses_file_that_may_be_written_stays_readable_for_its_owner(self):
        self.data.chmod(0o777)
        self.database.chmod(0o666)
        self.insert("a", user=NOBODY)
        self.assertEqual(stat.S_IMODE(self.database.stat().st_mode), 0o666)
        self.assertEqual(self.keys(), ["a"])

    def test_blanks_and_letters_of_all_kinds_in_names(self):
        folder = self.folder / "my caf\u00e9 \U0001f697"
        folder.mkdir()
        path = folder / "d\u00e4ta base.mdb"
        self.database.rename(path)
        self.insert("a", path)
        self.assertEqual(self.keys(path), ["a"])
        self.assertEqual(len(list(folder.iterdir())), 1)

    def test_a_writer_that_stopped_half_way_is_reported_and_nothing_written(self):
        for word in (b"\x00\x00", b"\x01\x00"):
            with self.subTest(word=word):
                content = bytearray(self.database.read_bytes())
                content[0xE02:0xE04] = word
                self.database.write_bytes(content)
                self.assertIn("a program stopped while writing to it or met damage (commit word 1); repair the file",
                              self.insert("a", status=1))
                self.assertEqual(self.database.read_bytes(), bytes(content))
                self.assertEqual(self.keys(), [])


    def test_writers_at_once_lose_no_insert_that_they_called_done(self):
        def insert_many(writer):
            return [key for key in (f"{writer}-{i}" for i in range(150)) if self.was_inserted(key)]

        with concurrent.futures.ThreadPoolExecutor(4) as writers:
            done = [key for keys in writers.map(insert_many, range(4)) for key in keys]
        self.assertGreater(len(done), 0)
        self.assertEqual(sorted(self.keys()), sorted(done))

    def was_inserted(self, key):
        done = subprocess.run([str(self.tool), "apply", str(self.database), "T"], input=ROW % key, text=True,
                              capture_output=True)
        if done.returncode != 0:
            self.assertIn("in use", done.stderr)
        return done.returncode == 0


if __name__ == "__main__":
    unittest.main()
