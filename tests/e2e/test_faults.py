"""Bad input and bad luck: a clear line in the log, an exit status that says so, and nothing lost."""

import contextlib
import datetime
import os
import pathlib
import random
import shutil
import struct
import subprocess
import tempfile
import threading
import time
import unittest

from . import cases, merge, pdbfile
from .jetreaders import structure_findings
from .test_sync import comparable, lay_out
from .world import BIN, SILENT_TABLES, World

SEED = int(os.environ.get("MV_SEED", "20240517"))


@contextlib.contextmanager
def lock_held_elsewhere(path, call):
    """Another process holds a lock on the file; `call` takes it on the open file `f`."""
    code = f"import fcntl, sys; f = open(sys.argv[1], 'r+b'); {call}; print('held', flush=True); sys.stdin.read()"
    with subprocess.Popen(["python3", "-c", code, str(path)], stdin=subprocess.PIPE, stdout=subprocess.PIPE) as holder:
        holder.stdout.readline()
        yield
        holder.stdin.close()


class Faults(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.world = World(folder.name)
        self.case = cases.world_case(random.Random(SEED + 77), 20)
        lay_out(self.world, self.case)

    def assert_log_ends(self, *lines):
        log = self.world.log_text()
        for line in lines:
            self.assertIn(line, log)
        return log

    def desktop(self, tables=SILENT_TABLES):
        return {t: comparable(self.case[t][0], self.world.foreign_rows(t, self.case[t][0])) for t in tables}

    def handheld(self):
        return {t: self.world.read_table(t) for t in SILENT_TABLES}

    def expect_stop(self, *lines, untouched=True):
        """Runs a Synchronize that an error stops; neither side may have changed."""
        desktop, handheld = self.world.database.read_bytes() if self.world.database.exists() else None, self.handheld()
        self.assertEqual(self.world.sync(0), 2, self.world.log_text())
        log = self.assert_log_ends("Synchronization Stopped Due to Errors: ", *lines)
        self.assertTrue(log.endswith("\r\n\r\n"))
        self.assertNotIn("LastSync", (self.world.folder / "config" / "Motorva32.ini").read_text())
        if untouched:
            self.assertEqual(self.handheld(), handheld)
            if desktop is not None:
                self.assertEqual(self.world.database.read_bytes(), desktop)

    def test_a_table_that_the_handheld_lacks_is_skipped_and_the_others_go_on(self):
        (self.world.tables / "brnd_Fuel.pdb").unlink()
        self.assertEqual(self.world.sync(0), 1)
        self.assert_log_ends(">> Unable to retrieve table [brnd_Fuel] from device. Function returned code: 1 - "
                             "Not Avail/In-Use\r\n", "Silent Synchronization of 10 of 13 tables ended: ")

    def test_names_on_the_handheld_match_without_regard_to_case(self):
        (self.world.tables / "brnd_Fuel.pdb").rename(self.world.tables / "BRND_FUEL.PDB")
        self.assertEqual(self.world.sync(0), 0, self.world.log_text())
        self.assertEqual(sorted(p.name for p in self.world.tables.iterdir() if "fuel" in p.name.lower()),
                         ["BRND_FUEL.PDB"])

    def test_an_empty_table_file_stops_the_run(self):
        (self.world.tables / "brnd_Customer.pdb").write_bytes(b"")
        self.expect_stop("Error: 9 has occurred. Description: Subscript out of range\r\n")

    def test_cut_table_files_stop_the_run_and_change_nothing(self):
        path = self.world.tables / "brnd_Customer.pdb"
        columns = self.case["brnd_Customer"][0]
        records = [pdbfile.Record([f"K{i}" if n == "TX_NAME" else None for n, _, _ in columns], pdbfile.MODIFIED)
                   for i in range(5)]
        whole = pdbfile.build("brnd_Customer", merge.fields_of(columns), records, datetime.date.today())
        first_record = struct.unpack_from(">I", whole, 78)[0]
        for length in (1, 40, 77, 78, 90, 117, first_record - 30, first_record + 1):
            with self.subTest(length=length):
                path.write_bytes(whole[:length])
                self.expect_stop("Error: 9 has occurred. Description: Subscript out of range\r\n")

    def test_random_bytes_for_a_table_never_crash_the_program_or_harm_the_database(self):
        rng = random.Random(SEED)
        path = self.world.tables / "brnd_Customer.pdb"
        whole = path.read_bytes()
        for i in range(25):
            data = bytearray(whole)
            for _ in range(rng.randint(1, 12)):
                data[rng.randrange(len(data))] = rng.randrange(256)
            path.write_bytes(bytes(data))
            self.assertIn(self.world.sync(0), (0, 2), f"round {i}: {self.world.log_text()}")
            self.assertEqual(structure_findings(self.world.database), "")
            self.desktop()

    def test_a_missing_desktop_table_stops_the_run_at_it_and_keeps_the_tables_before(self):
        case = {t: v for t, v in self.case.items() if t != "brnd_Fuel"}
        self.world.create_database({t: (cols, rows) for t, (cols, rows, _) in case.items()})
        self.assertEqual(self.world.sync(0), 2)
        log = self.assert_log_ends(
            "Error: -2147217865 has occurred. Description: The Microsoft Jet database engine cannot find the input table "
            "or query 'brnd_Fuel'. Make sure it exists and that its name is spelled correctly.\r\n")
        self.assertIn(">> SUCCESSFUL [brnd_FieldValues] Table Synchronized\r\n", log)
        self.assertNotIn("brnd_Maintenance", log)
        cols, rows, records = self.case["brnd_Customer"]
        self.assertEqual(self.desktop(["brnd_Customer"])["brnd_Customer"],
                         comparable(cols, merge.merged(0, "TX_NAME", cols, rows, records)[0]))

    def test_a_missing_database_stops_the_run(self):
        self.world.database.unlink()
        self.expect_stop("Error: -2147467259 has occurred. Description: Could not find file '")
        self.assertFalse(self.world.database.exists())

    def test_a_foreign_file_for_a_database_stops_the_run(self):
        for content in (b"", b"x", b"This is no database." * 1000, self.world.database.read_bytes()[:-100]):
            with self.subTest(length=len(content)):
                self.world.database.write_bytes(content)
                self.expect_stop("Error: -2147467259 has occurred. Description: Unrecognized database format '")

    def test_a_database_in_use_stops_the_run(self):
        for call in ("fcntl.flock(f, fcntl.LOCK_EX)", "fcntl.lockf(f, fcntl.LOCK_EX)",
                     "fcntl.flock(f, fcntl.LOCK_SH)", "fcntl.lockf(f, fcntl.LOCK_EX, 1, 100)"):
            with self.subTest(call=call), lock_held_elsewhere(self.world.database, call):
                self.expect_stop("Error: -2147467259 has occurred. Description: Could not use '",
                                 "'; file already in use.\r\n")

    def test_a_locked_lock_file_means_in_use_and_a_stale_one_does_not(self):
        lock_file = self.world.folder / "Motorva.ldb"
        lock_file.write_bytes(b"\0" * 64)
        with lock_held_elsewhere(lock_file, "fcntl.lockf(f, fcntl.LOCK_EX, 1, 0x10000001)"):
            self.expect_stop("'; file already in use.\r\n")
        self.assertEqual(self.world.sync(0), 0, self.world.log_text())

    def test_overwrite_pc_with_the_database_in_use_stops_in_the_backup(self):
        handheld = self.handheld()
        before = self.world.database.read_bytes()
        with lock_held_elsewhere(self.world.database, "fcntl.lockf(f, fcntl.LOCK_EX)"):
            self.assertEqual(self.world.sync(2), 2)
        self.assert_log_ends(f"Unable to overwite [{self.world.folder}\\Motorva.db] database. Database in use.\r\n")
        self.assertEqual((self.world.database.read_bytes(), self.handheld()), (before, handheld))

    def test_overwrite_pc_without_a_template_stops_before_any_table(self):
        folder = self.world.folder / "program"
        folder.mkdir()
        shutil.copy(BIN / "MVPPCSync", folder)
        self.world.program_folder = folder
        before = self.world.database.read_bytes()
        self.assertEqual(self.world.sync(2), 2)
        self.assert_log_ends("Error: 53 has occurred. Description: File not found\r\n")
        self.assertEqual(self.world.database.read_bytes(), before)

    def test_the_backup_holds_the_database_as_it_was(self):
        before = self.world.database.read_bytes()
        self.world.sync(2)
        backups = list(self.world.folder.glob("Motorva.db.presyncbackup.*"))
        self.assertEqual(len(backups), 1)
        self.assertRegex(backups[0].name, r"^Motorva\.db\.presyncbackup\.\d{8}-\d{6}$")
        self.assertEqual(backups[0].read_bytes(), before)
        self.assert_log_ends(f"   Backup Desktop Database to: {self.world.folder}\\{backups[0].name}\r\n")

    def test_an_unwritable_log_means_that_nothing_is_synchronised(self):
        self.world.write_settings(SyncLogPath=str(self.world.folder))
        before = self.world.database.read_bytes(), self.handheld()
        self.assertEqual(self.world.sync(0), 2)
        self.assertEqual((self.world.database.read_bytes(), self.handheld()), before)

    def test_no_log_is_touched_when_logging_is_off(self):
        self.world.write_settings(SyncLog="0")
        self.assertEqual(self.world.sync(0), 0)
        self.assertFalse(self.world.log.exists())

    def test_a_missing_handheld_is_status_3_and_three_lines(self):
        self.world.handheld.rename(self.world.folder / "elsewhere")
        self.assertEqual(self.world.sync(0), 3)
        lines = self.world.log_text().split("\r\n")
        self.assertTrue(lines[0].startswith("Silent Synchronization was attempted and terminated at: "))
        self.assertEqual(lines[1:], ["** Unable to initialize RAPI connection with PDA.", "-" * 60, ""])

    def test_a_handheld_that_vanishes_in_mid_run_fails_the_tables_that_are_left(self):
        def vanish():
            deadline = time.monotonic() + 60
            while "SUCCESSFUL [brnd_Customer]" not in self.world.log_text() and time.monotonic() < deadline:
                time.sleep(0.0005)
            self.world.handheld.rename(self.world.folder / "elsewhere")
        watcher = threading.Thread(target=vanish)
        watcher.start()
        status = self.world.sync(0)
        watcher.join()
        self.assertIn(status, (0, 1))
        if status == 1:
            self.assertIn("Function returned code: 6 - Not Avail/In-Use", self.world.log_text())
        self.assertEqual(structure_findings(self.world.database), "")

    def test_an_unknown_field_type_never_crashes_or_harms(self):
        columns, _, _ = self.case["brnd_Customer"]
        data = bytearray(pdbfile.build("brnd_Customer", merge.fields_of(columns), [], datetime.date.today()))
        for kind in (0, 10, 99, 65535):
            with self.subTest(kind=kind):
                struct.pack_into(">H", data, 78 + 302, kind)
                (self.world.tables / "brnd_Customer.pdb").write_bytes(bytes(data))
                self.assertIn(self.world.sync(0), (0, 2), self.world.log_text())
                self.assertEqual(structure_findings(self.world.database), "")

    def test_a_key_with_a_quote_stops_the_run_with_the_recordsets_error(self):
        columns = [("TX_NAME", "Text", 50), ("TX_CITY", "Text", 40)]
        tables = {t: (cols, rows) for t, (cols, rows, _) in self.case.items()}
        tables["brnd_Customer"] = (columns, [["O'Brien", "Cork"]])
        self.world.create_database(tables)
        self.world.write_table("brnd_Customer", merge.fields_of(columns), [pdbfile.Record(["Smith", "Ayr"])])
        self.expect_stop("Error: 3001 has occurred. Description: Arguments are of the wrong type, are out of acceptable "
                         "range, or are in conflict with one another.\r\n")

    def test_a_text_too_long_for_the_desktop_keeps_the_rows_changed_before_it(self):
        columns = [("TX_NAME", "Text", 50), ("TX_CITY", "Text", 5)]
        tables = {t: (cols, rows) for t, (cols, rows, _) in self.case.items()}
        tables["brnd_Customer"] = (columns, [["A", "a"], ["B", "b"], ["C", "c"]])
        self.world.create_database(tables)
        self.case["brnd_Customer"] = (columns, [], [])
        self.world.write_table("brnd_Customer", merge.fields_of(columns),
                               [pdbfile.Record([k, v], pdbfile.MODIFIED)
                                for k, v in (("A", "short"), ("B", "far too long"), ("C", "never"))])
        handheld = self.handheld()
        self.assertEqual(self.world.sync(0), 2)
        self.assert_log_ends("Error: -2147217887 has occurred. Description: ")
        self.assertEqual(self.desktop(["brnd_Customer"])["brnd_Customer"], [["A", "short"], ["B", "b"], ["C", "c"]])
        self.assertEqual(self.handheld(), handheld)
        self.assertEqual(structure_findings(self.world.database), "")


@unittest.skipUnless(os.geteuid() == 0, "the full-disk tests mount a small tmpfs and need root")
class FullDisk(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=24m", "tmpfs", str(self.folder)],
                                 capture_output=True)
        if mounted.returncode:
            self.folder.rmdir()
            self.skipTest("tmpfs cannot be mounted here")
        self.addCleanup(lambda: (subprocess.run(["umount", str(self.folder)], check=True), self.folder.rmdir()))

    def test_a_disk_that_fills_up_is_reported_and_both_sides_hold_what_they_held(self):
        (self.folder / "world").mkdir()
        world = World(self.folder / "world")
        case = cases.world_case(random.Random(SEED + 5), 60)
        lay_out(world, case)
        before = {t: comparable(cols, world.foreign_rows(t, cols)) for t, (cols, _, _) in case.items()}
        handheld = {t: world.read_table(t) for t in SILENT_TABLES}
        for left in (0, 4096, 16384, world.database.stat().st_size // 2):
            with self.subTest(left=left):
                world.log.write_bytes(b" " * 8192)
                filler = self.folder / "filler"
                room = os.statvfs(self.folder)
                filler.write_bytes(b"x" * max(0, room.f_bavail * room.f_frsize - left - 4096))
                try:
                    status = world.sync(0)
                finally:
                    filler.unlink()
                self.assertEqual(status, 2, world.log_text())
                if left:
                    self.assertIn("Error: 61 has occurred. Description: Disk full", world.log_text())
                self.assertEqual(structure_findings(world.database), "")
                for t, (cols, rows, records) in case.items():
                    now = comparable(cols, world.foreign_rows(t, cols))
                    after = comparable(cols, merge.merged(0, cases.KEYS[t], cols, rows, records)[0])
                    self.assertIn(now, (before[t], after))
                    if now != after:
                        self.assertEqual(world.read_table(t), handheld[t], f"{t}: sent back before the desktop was safe")
        self.assertEqual(world.sync(0), 0, world.log_text())
