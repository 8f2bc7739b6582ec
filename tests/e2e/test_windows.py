"""The Windows edition, under Wine, with a handheld behind rapi.dll: it must leave on both sides and in the log what the
Linux edition leaves with a folder handheld of the same content."""

import os
import random
import re
import shutil
import tempfile
import unittest

from . import cases, merge
from .test_faults import lock_held_elsewhere
from .jetreaders import structure_findings
from .network import NetworkWorld, OwnNetwork, PlayedHandheld
from .test_sync import lay_out, with_empty_template, without_dates
from .windows import LIBRARY, PROGRAM, WindowsListener, WindowsWorld, windows_path, wine_is_idle
from .world import SILENT_TABLES, World

SEED = int(os.environ.get("MV_SEED", "20240517"))
CAN_RUN = PROGRAM.exists() and LIBRARY.exists() and shutil.which("wine")


def log_without_clock(world, *folders):
    """The log with the times and the world's folder masked."""
    text = world.log_text()
    for folder in folders:
        text = text.replace(str(folder).encode("cp1252", "replace").decode("cp1252"), "FOLDER")
    text = re.sub(r"(Began|ended|terminated at|Errors): [^\r]*", r"\1: TIME", text)
    return re.sub(r"presyncbackup\.\d{8}-\d{6}", "presyncbackup.TIME", text)


def blocks(log):
    """The log cut before the first line of every table."""
    return re.split(r"(?=   Retrieving table \[)", log)


@unittest.skipUnless(CAN_RUN, "the Windows build or Wine is not there")
class WindowsEdition(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.linux = World(os.path.join(folder.name, "linux"))
        self.case = cases.world_case(random.Random(SEED + 5000), 30)
        lay_out(self.linux, self.case)
        with_empty_template(self.linux, self.case)
        # Everything lies below a name that no code page holds: program, library, database, log and work folders.
        self.windows = WindowsWorld(os.path.join(folder.name, "windows \u00e9 \u0416 \U0001f697"), self.linux)

    def test_listener_that_is_interrupted_brings_its_run_to_an_end(self):
        for event in ("c", "break", "close", "logoff", "shutdown"):
            with self.subTest(event=event), tempfile.TemporaryDirectory() as folder:
                network = NetworkWorld(folder, "A")
                network.handheld = self.windows.handheld
                self.windows.write_settings(handheld={k: str(v) for k, v in network.handheld_settings.items()})
                with WindowsListener(network.folder, event) as listener:
                    listener.wait_for("no handheld has called", patience=60)
                    with network.simulator():
                        listener.wait_for("synchronising", patience=60)
                        self.assertEqual(listener.interrupt(), 0, listener.text())
                    self.assertTrue(listener.text().endswith("the run is done\nended\n"), listener.text())
                self.assertEqual(listener.left_behind(), ["listener.lock"])
                self.linux.sync(0)
                for t in SILENT_TABLES:
                    self.assertEqual(without_dates(self.windows.read_table(t)), without_dates(self.linux.read_table(t)), t)

    def test_locked_handheld_that_vanishes_without_a_word_loses_its_place(self):
        # What is left of Wine in the background would make its sockets in the network of all.
        wine_is_idle()
        try:
            with OwnNetwork() as own, tempfile.TemporaryDirectory() as folder:
                self.check_that_another_gets_the_place_of_a_vanished_one(own, NetworkWorld(folder, "A"))
                wine_is_idle()
        except OwnNetwork.CannotMake as reason:
            self.skipTest(f"no network of its own for this test: {reason}")

    def check_that_another_gets_the_place_of_a_vanished_one(self, own, network):
        self.windows.write_settings(handheld={k: str(v) for k, v in network.handheld_settings.items()})
        with WindowsListener(network.folder, "c", "--run", "none") as listener:
            listener.wait_for("no handheld has called", patience=60)
            with PlayedHandheld(network.control):
                listener.wait_for("at 127.0.0.2: locked with a password")
                own.cut()
                # Wine has one error for a machine out of reach and for a peer that breaks the connection.
                listener.wait_for("the handheld at 127.0.0.2 has gone", patience=60)
                own.connect()
                with PlayedHandheld(network.control, "127.0.0.3"):
                    listener.wait_for("at 127.0.0.3: locked with a password")
            self.assertEqual(listener.interrupt(), 0, listener.text())

    def test_synchronize_with_a_handheld_on_the_network_leaves_what_the_linux_edition_leaves(self):
        for family, version in (("A", 1), ("B", 2)):
            with self.subTest(family=family), tempfile.TemporaryDirectory() as folder:
                network = NetworkWorld(folder, family)
                network.handheld = self.windows.handheld
                settings = {k: str(v) for k, v in network.handheld_settings.items()}
                self.windows.write_settings(handheld=settings)
                with network.simulator("--version", version):
                    self.assertEqual(self.windows.sync(0), 0, self.windows.log_text())
                self.assertEqual(self.linux.sync(0), 0)
                for t in SILENT_TABLES:
                    self.assertEqual(without_dates(self.windows.read_table(t)), without_dates(self.linux.read_table(t)), t)
                self.assertEqual(self.windows.calls(), [], "the library is not asked")

    def logs(self):
        return (log_without_clock(self.linux, self.linux.folder),
                log_without_clock(self.windows, windows_path(self.windows.folder)))

    def rows(self, world):
        return {t: world.rows(t, cols) for t, (cols, _, _) in self.case.items()}

    def handheld(self, world):
        return {str(p.relative_to(world.handheld)): without_dates(p.read_bytes())
                for p in world.handheld.rglob("*") if p.is_file()}

    def assert_same_end(self):
        linux_log, windows_log = self.logs()
        self.assertEqual(windows_log, linux_log)
        self.assertEqual(self.rows(self.windows), self.rows(self.linux))
        self.assertEqual(self.handheld(self.windows), self.handheld(self.linux))
        self.assertEqual(structure_findings(self.windows.database), "")

    def assert_connections_are_ended(self):
        """Each start has its end; on the way nothing was left open."""
        calls = self.windows.calls()
        starts = [c for c in calls if c.startswith("CeRapiInitEx ")]
        ends = [c for c in calls if c.startswith("CeRapiUninit ")]
        self.assertEqual(len(ends), len(starts))
        self.assertEqual(set(ends), {"CeRapiUninit -> 0, files left open: 0, finds left open: 0"})

    def run_mode(self, mode):
        before = self.handheld(self.linux), self.rows(self.linux)
        self.assertEqual(self.linux.sync(mode), 0, self.linux.log_text())
        self.assertEqual(self.windows.sync(mode), 0, self.windows.log_text())
        self.assertNotEqual((self.handheld(self.linux), self.rows(self.linux)), before)
        self.assert_same_end()
        self.assert_connections_are_ended()
        tables = [c.split("\\")[-1].split(" ")[:2] for c in self.windows.calls() if c.startswith("CeCreateFile ")]
        self.assertEqual(tables, [[f"{t}.pdb", access] for t in SILENT_TABLES for access in ("80000000", "40000000")])

    def test_synchronize(self):
        self.run_mode(merge.SYNCHRONIZE)

    def test_overwrite_pda(self):
        self.run_mode(merge.OVERWRITE_PDA)

    def test_overwrite_pc(self):
        before = self.windows.database.read_bytes()
        self.run_mode(merge.OVERWRITE_PC)
        backup, = self.windows.folder.glob("Motorva.db.presyncbackup.*")
        self.assertEqual(backup.read_bytes(), before)

    def test_a_table_that_the_handheld_holds_open_is_skipped(self):
        with lock_held_elsewhere(self.linux.tables / "brnd_Fuel.pdb", "fcntl.flock(f, fcntl.LOCK_EX)"):
            self.assertEqual(self.linux.sync(0), 1)
        # The third table's file is the fifth to be opened: two that come and two that go back are before it.
        self.assertEqual(self.windows.sync(0, script="fail CeCreateFile 5"), 1)
        self.assertIn(">> Unable to retrieve table [brnd_Fuel] from device. Function returned code: 1 - "
                      "Not Avail/In-Use\r\n", self.windows.log_text())
        self.assert_same_end()

    def test_a_table_that_cannot_be_created_on_the_handheld_fails_and_the_others_go_on(self):
        (self.linux.tables / "brnd_Fuel.pdb.writing").mkdir()
        self.assertEqual(self.linux.sync(0), 1)
        self.assertEqual(self.windows.sync(0, script="fail CeCreateFile 6"), 1)
        self.assertRegex(self.windows.log_text(), r"brnd_Fuel.*code: 7")
        self.assert_same_end()

    def test_a_cut_table_file_stops_the_run(self):
        for world in (self.linux, self.windows):
            (world.tables / "brnd_Fuel.pdb").write_bytes(b"\0" * 40)
            self.assertEqual(world.sync(0), 2, world.log_text())
        self.assertIn("Error: 9 has occurred.", self.windows.log_text())
        self.assert_same_end()

    def test_an_empty_table_file_stops_the_run(self):
        for world in (self.linux, self.windows):
            (world.tables / "brnd_Fuel.pdb").write_bytes(b"")
            self.assertEqual(world.sync(0), 2, world.log_text())
        self.assertIn("   Retrieving table [brnd_Fuel] from device\r\n"
                      "Error: 9 has occurred. Description: Subscript out of range\r\n", self.windows.log_text())
        self.assert_same_end()
        self.assert_connections_are_ended()

    def test_names_on_the_handheld_outside_every_code_page(self):
        for world in (self.linux, self.windows):
            folder = world.handheld / "M\u00f6bel \u0416 \U0001f697"
            world.tables.rename(folder)
            world.tables = folder
            world.write_settings(PDADBPath=f"\\{folder.name}")
        self.run_mode(merge.SYNCHRONIZE)

    def test_a_library_with_the_functions_that_copying_takes_is_enough(self):
        shutil.copy(LIBRARY.parent / "copying" / LIBRARY.name, self.windows.program_folder)
        self.run_mode(merge.SYNCHRONIZE)

    def test_a_silent_run_keeps_the_boxes_of_the_system_away(self):
        """Error mode: no box about a drive without a disk (1), a crash (2), a file that is not found (8000)."""
        self.assertEqual(self.windows.sync(0, script="tell-error-mode"), 0)
        modes = {c for c in self.windows.calls() if c.startswith("error mode ")}
        self.assertEqual(modes, {"error mode 8003"})

    def test_no_handheld_is_status_3_whatever_keeps_it_away(self):
        self.linux.handheld.rename(self.linux.folder / "elsewhere")
        self.assertEqual(self.linux.sync(0), 3)
        self.assertEqual(self.windows.sync(0, script="result-late 80004005"), 3)
        self.assertEqual(*self.logs())
        (self.windows.program_folder / "rapi.dll").unlink()
        self.windows.log.unlink()
        self.assertEqual(self.windows.sync(0), 3)
        self.assertEqual(*self.logs())

    def test_refused_writes_fail_the_table_and_its_result_on_the_desktop_mends_it(self):
        """A folder handheld never leaves half a table; a device cuts the old one when the new one begins."""
        self.assertEqual(self.linux.sync(0), 0)
        writes = self.writes_before("brnd_Fuel")
        self.assertEqual(self.windows.sync(0, script=f"fail CeWriteFile {writes + 1}"), 1)
        linux_log, windows_log = self.logs()
        self.assertRegex(windows_log, r"brnd_Fuel.*code: 5")
        self.assertEqual(self.other_blocks(windows_log.replace("of 13 tables ended", "N").replace(" 10 N", " 11 N")),
                         self.other_blocks(linux_log.replace("of 13 tables ended", "N")))
        self.assertEqual(self.rows(self.windows), self.rows(self.linux))
        self.assertEqual(self.windows.read_table("brnd_Fuel"), b"")
        shutil.copy(self.windows.dest / "brnd_Fuel.pdb", self.windows.tables)
        self.assertEqual(self.handheld(self.windows), self.handheld(self.linux))

    def writes_before(self, table):
        """How many writes the tables before `table` take, from the sizes of what the Linux edition sent."""
        def writes(size):
            return -(-size // (round(size / 20) or size))
        names = SILENT_TABLES[:SILENT_TABLES.index(table)]
        return sum(writes(len(self.linux.read_table(t))) for t in names)

    def other_blocks(self, log):
        return [b for b in blocks(log) if "[brnd_Fuel]" not in b]

    def test_a_handheld_that_vanishes_in_mid_run_fails_the_tables_that_are_left(self):
        before = self.rows(self.windows), self.handheld(self.windows)
        self.assertEqual(self.linux.sync(0), 0)
        third = SILENT_TABLES.index("brnd_Fuel")
        # The third table can still be opened.
        self.assertEqual(self.windows.sync(0, script="vanish CeGetFileSize 3"), 1)
        linux_log, windows_log = self.logs()
        self.assertEqual(blocks(windows_log)[:third + 1], blocks(linux_log)[:third + 1])
        for table, block in zip(SILENT_TABLES[third:], blocks(windows_log)[third + 1:]):
            self.assertTrue(block.startswith(
                f"   Retrieving table [{table}] from device\r\n>> Unable to retrieve table [{table}] from device. "
                "Function returned code: 6 - Not Avail/In-Use\r\n"), block)
        self.assertIn(f"Silent Synchronization of {third} of 13 tables ended: ", windows_log)
        done = self.rows(self.linux), self.handheld(self.linux)
        for i, table in enumerate(SILENT_TABLES):
            rows, files = done if i < third else before
            name = f"Program Files/Motorva/{table}.pdb"
            self.assertEqual(self.rows(self.windows)[table], rows[table])
            self.assertEqual(self.handheld(self.windows)[name], files[name])
