"""Databases with encoded pages: runs and tools end as over the plain one, and the database stays encoded."""

import os
import pathlib
import random
import shutil
import signal
import stat
import subprocess
import tempfile
import time
import unittest

from . import merge
from .history import new_world
from .jetreaders import structure_findings
from .test_sync import SEED, comparable, without_dates
from .world import BIN, SILENT_TABLES

KEY = "A1B2C3D4"
KILLS = int(os.environ.get("MV_KILLS", "12"))
PAGE = 4096
KEY_BYTES = slice(0x3E, 0x42)


def coded(command, path, *words):
    subprocess.run([str(BIN / "mvtool"), command, str(path), *words], check=True, stdout=subprocess.DEVNULL)


class Encoded(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def pair(self, seed):
        """Two worlds of the same files, but that the second one's database is encoded."""
        plain, case = new_world(self.folder / f"plain{seed}", random.Random(seed), 30)
        encoded, _ = new_world(self.folder / f"encoded{seed}", random.Random(seed), 30)
        for file in ("Motorva.db", "program/_20"):
            shutil.copy(plain.folder / file, encoded.folder / file)
        coded("encode", encoded.database, "--key", KEY)
        return plain, encoded, case

    def plain_bytes(self, path):
        copy = self.folder / "copy.db"
        shutil.copy(path, copy)
        coded("decode", copy)
        return copy.read_bytes()

    def assert_encoded(self, path):
        """Every page but the first is another one when it is decoded."""
        stored, plain = path.read_bytes(), self.plain_bytes(path)
        self.assertNotEqual(stored[KEY_BYTES], plain[KEY_BYTES])
        for at in range(PAGE, len(plain), PAGE):
            self.assertNotEqual(stored[at:at + PAGE], plain[at:at + PAGE])

    def assert_same_end(self, plain, encoded, case):
        self.assertEqual(self.plain_bytes(encoded.database), plain.database.read_bytes())
        self.assertEqual(structure_findings(encoded.database), "")
        for table in SILENT_TABLES:
            columns = case[table][0]
            self.assertEqual(without_dates(encoded.read_table(table)), without_dates(plain.read_table(table)))
            self.assertEqual(encoded.rows(table, columns), plain.rows(table, columns))
            self.assertEqual(comparable(columns, encoded.foreign_rows(table, columns)),
                             comparable(columns, plain.rows(table, columns)))

    def test_runs_over_an_encoded_database_end_as_over_the_plain_one(self):
        for mode in (merge.SYNCHRONIZE, merge.OVERWRITE_PDA):
            for seed in (SEED + mode, SEED + 10 + mode):
                with self.subTest(mode=mode, seed=seed):
                    plain, encoded, case = self.pair(seed)
                    for _ in range(2):
                        self.assertEqual((plain.sync(mode), encoded.sync(mode)), (0, 0), encoded.log_text())
                        self.assert_same_end(plain, encoded, case)
                        self.assert_encoded(encoded.database)

    def test_overwrite_pc_leaves_what_the_template_is_and_an_encoded_backup(self):
        for template_is_encoded in (False, True):
            with self.subTest(template_is_encoded=template_is_encoded):
                plain, encoded, case = self.pair(SEED + 20 + template_is_encoded)
                before = encoded.database.read_bytes()
                if template_is_encoded:
                    coded("encode", encoded.program_folder / "_20")
                self.assertEqual((plain.sync(merge.OVERWRITE_PC), encoded.sync(merge.OVERWRITE_PC)), (0, 0),
                                 encoded.log_text())
                self.assert_same_end(plain, encoded, case)
                self.assertEqual(encoded.database.read_bytes() != plain.database.read_bytes(), template_is_encoded)
                if template_is_encoded:
                    self.assert_encoded(encoded.database)
                backups = list(encoded.folder.glob("Motorva.db.presyncbackup.*"))
                self.assertEqual([b.read_bytes() for b in backups], [before])

    def test_previews_and_reports_are_those_of_the_plain_one(self):
        for mode in (merge.SYNCHRONIZE, merge.OVERWRITE_PDA, merge.OVERWRITE_PC):
            with self.subTest(mode=mode):
                plain, encoded, _ = self.pair(SEED + 30 + mode)
                before = encoded.database.read_bytes()
                said = [w.mvtool("preview", "--mode", str(mode)).stdout for w in (plain, encoded)]
                self.assertEqual(said[1], said[0])
                self.assertNotEqual(said[0], "")
                self.assertEqual(encoded.database.read_bytes(), before)
                self.assertEqual((plain.sync(mode), encoded.sync(mode)), (0, 0))
                self.assertEqual(encoded.mvtool("changes").stdout, plain.mvtool("changes").stdout)

    def test_restore_brings_the_file_back_as_it_was_encoded(self):
        _, encoded, _ = self.pair(SEED + 40)
        before = encoded.database.read_bytes(), encoded.handheld_files()
        self.assertEqual(encoded.sync(merge.SYNCHRONIZE), 0)
        self.assertNotEqual(encoded.database.read_bytes(), before[0])
        coded("decode", encoded.database)
        done = encoded.mvtool("restore", "last")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual((encoded.database.read_bytes(), encoded.handheld_files()), before)

    def test_mode_and_links_stay(self):
        plain, _, _ = self.pair(SEED + 50)
        plain.database.chmod(0o600)
        link = plain.folder / "link.db"
        link.symlink_to(plain.database)
        before = plain.database.read_bytes()
        coded("encode", link)
        self.assertTrue(link.is_symlink())
        self.assertEqual(stat.S_IMODE(plain.database.stat().st_mode), 0o600)
        self.assert_encoded(plain.database)
        coded("decode", link)
        self.assertEqual(plain.database.read_bytes(), before)

    def test_a_kill_leaves_the_old_file_or_the_new_one(self):
        plain, encoded, _ = self.pair(SEED + 60)
        files = {plain.database.read_bytes(), encoded.database.read_bytes()}
        rng = random.Random(SEED)
        for _ in range(KILLS):
            command = ["encode", str(plain.database), "--key", KEY]
            if plain.database.read_bytes() == encoded.database.read_bytes():
                command = ["decode", str(plain.database)]
            process = subprocess.Popen([str(BIN / "mvtool"), *command], stdout=subprocess.DEVNULL)
            time.sleep(rng.random() * 0.02)
            process.send_signal(signal.SIGKILL)
            process.wait()
            self.assertIn(plain.database.read_bytes(), files)
        coded("encode", plain.database, "--key", "00000001")
        self.assertIn(self.plain_bytes(plain.database), files)
        self.assertEqual(list(plain.folder.glob("*.writing")), [])
