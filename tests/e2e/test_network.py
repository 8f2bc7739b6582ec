"""Runs with a handheld on the network, which the simulator plays on the loopback interface."""

import contextlib
import datetime
import os
import random
import shutil
import signal
import socket
import subprocess
import tempfile
import time
import unittest

from . import cases, merge, pdbfile
from .network import NetworkWorld, OwnNetwork, PlayedHandheld, Program
from .test_sync import comparable, lay_out, with_empty_template, without_dates
from .world import BIN, SILENT_TABLES

SEED = 20240517


class NetworkRuns(unittest.TestCase):
    @contextlib.contextmanager
    def world(self, family="A", **extra):
        with tempfile.TemporaryDirectory() as folder:
            yield NetworkWorld(folder, family, **extra)

    def check_end(self, world, mode, case, desktop_begins_empty=False):
        """Both sides are what the mode makes of the case."""
        for t, (cols, rows, records) in case.items():
            start = [] if desktop_begins_empty else rows
            desktop, output = merge.merged(mode, cases.KEYS[t], cols, start, records)
            self.assertEqual(comparable(cols, world.rows(t, cols)), comparable(cols, desktop), t)
            want = pdbfile.build(t, merge.fields_of(cols), output, datetime.date.today())
            self.assertEqual(without_dates(world.read_table(t)), without_dates(want), t)
            self.assertEqual((world.dest / f"{t}.pdb").read_bytes(), world.read_table(t))

    def run_mode(self, family, version, mode):
        case = cases.world_case(random.Random(SEED + mode), 60)
        with self.world(family) as world:
            lay_out(world, case)
            if mode == merge.OVERWRITE_PC:
                with_empty_template(world, case)
            with world.simulator("--version", version):
                status, said = world.sync_aloud(mode)
            self.assertEqual(status, 0, said + world.log_text())
            self.check_end(world, mode, case, mode == merge.OVERWRITE_PC)

    def test_family_a_with_version_1_in_all_modes(self):
        for mode in (merge.SYNCHRONIZE, merge.OVERWRITE_PDA, merge.OVERWRITE_PC):
            with self.subTest(mode=mode):
                self.run_mode("A", 1, mode)

    def test_family_b_with_version_2_in_all_modes(self):
        for mode in (merge.SYNCHRONIZE, merge.OVERWRITE_PDA, merge.OVERWRITE_PC):
            with self.subTest(mode=mode):
                self.run_mode("B", 2, mode)

    def test_handheld_with_a_password(self):
        case = cases.world_case(random.Random(SEED), 10)
        for family in ("A", "B"):
            with self.subTest(family=family), self.world(family) as world:
                lay_out(world, case)
                password = world.folder / "password"
                password.write_text("1234\n")
                password.chmod(0o644)
                world.handheld_settings["PasswordFile"] = password
                world.write_settings()
                status, said = world.sync_aloud(0)
                self.assertEqual(status, 2)
                self.assertIn("other users may read", said)
                password.chmod(0o600)
                with world.simulator("--password", "1234") as handheld:
                    self.assertEqual(world.sync(0), 0, world.log_text())
                    self.assertIn("password accepted", handheld.text())
                self.check_end(world, 0, case)

    def test_wrong_password_is_tried_once_and_changes_nothing(self):
        case = cases.world_case(random.Random(SEED), 10)
        with self.world() as world:
            lay_out(world, case)
            before = {t: world.read_table(t) for t in case}
            password = world.folder / "password"
            password.write_text("4321")
            password.chmod(0o600)
            world.handheld_settings["PasswordFile"] = password
            world.write_settings()
            with world.simulator("--password", "1234") as handheld:
                self.assertEqual(world.sync(0), 3)
                self.assertEqual(handheld.text().count("password refused"), 1)
            self.assertEqual({t: world.read_table(t) for t in case}, before)

    def test_port_of_another_program_is_named(self):
        with self.world(Wait=1) as world, contextlib.closing(socket.socket()) as other:
            other.bind(("127.0.0.1", world.control))
            other.listen()
            status, said = world.sync_aloud(0)
            self.assertEqual(status, 3)
            self.assertIn(f"127.0.0.1:{world.control}", said)
            status, said = world.tool("handheld", "info")
            self.assertEqual(status, 1)
            self.assertIn(f"127.0.0.1:{world.control}", said)

    def test_mistyped_setting_stops_the_run(self):
        with self.world(Connection="netwrok") as world:
            status, said = world.sync_aloud(0)
            self.assertEqual(status, 2)
            self.assertIn("the setting Connection of [Handheld]", said)

    def test_cut_upload_leaves_the_result_to_be_sent_and_the_next_run_ends_as_ever(self):
        case = cases.world_case(random.Random(SEED), 60)
        with self.world() as world:
            lay_out(world, case)
            with world.simulator() as handheld:
                self.assertEqual(world.sync(0), 0)
                requests = [line.split(":")[0] for line in handheld.text().splitlines() if line.startswith("Ce")]
        writes = [number for number, call in enumerate(requests, 1) if call == "CeWriteFile"]
        for cut in (writes[0], writes[len(writes) // 2], writes[-1]):
            with self.subTest(cut=cut), self.world() as world:
                lay_out(world, case)
                with world.simulator("--cut", cut):
                    status, said = world.sync_aloud(0)
                self.assertEqual(status, 1, said)
                torn = [t for t in SILENT_TABLES if world.read_table(t) != (world.dest / f"{t}.pdb").read_bytes()]
                self.assertEqual(len(torn), 1, said)
                self.assertIn(torn[0], said)
                with world.simulator():
                    status, said = world.tool("send", torn[0])
                    self.assertEqual(status, 0, said)
                    self.check_end(world, 0, case)
                    self.assertEqual(world.sync(0), 0, world.log_text())
                for t, (cols, rows, records) in case.items():
                    desktop, _ = merge.merged(0, cases.KEYS[t], cols, rows, records)
                    self.assertEqual(comparable(cols, world.rows(t, cols)), comparable(cols, desktop), t)


class Listening(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.world = NetworkWorld(folder.name)
        self.case = cases.world_case(random.Random(SEED), 30)
        lay_out(self.world, self.case)

    def test_listener_runs_each_time_a_handheld_comes_and_ends_cleanly(self):
        with self.world.listener() as listener:
            listener.wait_for("no handheld has called")
            with self.world.simulator() as handheld:
                listener.wait_for("the run is done")
                first = {t: without_dates(self.world.read_table(t)) for t in self.case}
                handheld.interrupt()
            listener.wait_for("has gone")
            with self.world.simulator():
                listener.wait_for("the run is done", times=2)
            self.assertIn("PocketPC (Windows CE 4.20) at 127.0.0.2", listener.text())
            self.assertEqual({t: without_dates(self.world.read_table(t)) for t in self.case}, first)
            for t, (cols, rows, records) in self.case.items():
                desktop, _ = merge.merged(0, cases.KEYS[t], cols, rows, records)
                self.assertEqual(comparable(cols, self.world.rows(t, cols)), comparable(cols, desktop), t)
            self.assertEqual(listener.interrupt(), 0)
            self.assertTrue(listener.text().endswith("ended\n"), listener.text())

    def test_run_by_hand_reaches_the_handheld_through_the_listener(self):
        with self.world.listener("--run", "none") as listener, self.world.simulator() as handheld:
            listener.wait_for("connected")
            self.assertEqual(self.world.sync(0), 0, self.world.log_text())
            self.assertEqual(handheld.text().count("connected to the desktop"), 1, "it is still the listener's")
            status, said = self.world.tool("handheld", "info")
            self.assertEqual((status, "SimDevice 100" in said), (0, True), said)
            self.assertEqual(self.world.tool("listen")[0], 1, "one listener is enough")
            self.assertEqual(listener.interrupt(), 0)
            # Without the listener the handheld calls the next program itself.
            self.assertEqual(self.world.sync(0), 0, self.world.log_text())

    def test_every_request_to_end_lets_a_run_come_to_its_end(self):
        for request in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(request=request), self.world.listener() as listener:
                with self.world.simulator():
                    listener.wait_for("synchronising")  # a run takes longer than the request needs to come
                    self.assertEqual(listener.interrupt(request), 0)
                self.assertTrue(listener.text().endswith("the run is done\nended\n"), listener.text())
                self.assertEqual(self.left_behind(), ["listener.lock"])
                for t, (cols, rows, records) in self.case.items():
                    desktop, _ = merge.merged(0, cases.KEYS[t], cols, rows, records)
                    self.assertEqual(comparable(cols, self.world.rows(t, cols)), comparable(cols, desktop), t)

    def left_behind(self):
        """What lies in the folder in which programs find a listener; its lock is free when nobody has it."""
        return sorted(path.name for path in (self.world.folder / "runtime" / "mvppcsync").iterdir())

    def test_locked_handheld_that_vanishes_without_a_word_loses_its_place(self):
        try:
            with OwnNetwork() as network:
                self.check_that_another_gets_the_place_of_a_vanished_one(network)
        except OwnNetwork.CannotMake as reason:
            self.skipTest(f"no network of its own for this test: {reason}")

    def check_that_another_gets_the_place_of_a_vanished_one(self, network):
        with self.world.listener("--run", "none") as listener:
            listener.wait_for("listening at")
            with PlayedHandheld(self.world.control):
                listener.wait_for("at 127.0.0.2: locked with a password")
                network.cut()
                began = time.monotonic()
                listener.wait_for("the handheld at 127.0.0.2 has gone: it is out of reach", patience=60)
                self.assertGreater(time.monotonic() - began, 15, "a moment without a link is no end")
                network.connect()
                with PlayedHandheld(self.world.control, "127.0.0.3"):
                    listener.wait_for("at 127.0.0.3: locked with a password")

    def test_listener_that_was_killed_is_in_nobodys_way(self):
        with self.world.listener("--run", "none") as listener:
            listener.wait_for("listening at")
            listener.process.kill()
            listener.process.wait()
        with self.world.simulator():
            self.assertEqual(self.world.sync(0), 0, self.world.log_text())

    def test_runs_do_not_overlap(self):
        lock = self.world.folder / "sync" / "run.lock"
        lock.parent.mkdir(exist_ok=True)
        with self.world.simulator():
            self.assertEqual(self.world.sync(0), 0)
            before = self.world.database.read_bytes()
            with lock.open("r+b") as held:
                self.lock(held)
                status, said = self.world.sync_aloud(0)
            self.assertEqual(status, 2)
            self.assertIn("is going on", said)
            self.assertEqual(self.world.database.read_bytes(), before)
            self.assertEqual(self.world.sync(0), 0)

    @staticmethod
    def lock(file):
        import fcntl
        fcntl.flock(file, fcntl.LOCK_EX)


NOBODY = 65534
CAPABILITY_TOOLS = ("setcap", "setpriv")


@unittest.skipUnless(os.geteuid() == 0 and all(map(shutil.which, CAPABILITY_TOOLS)),
                     "giving a program a right takes root, setcap and setpriv")
class PortBelow1024(unittest.TestCase):
    """What docs/user/handheld.md says about port 990, as a user without rights."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.world = NetworkWorld(folder.name, "B", ControlPortB=990)
        self.program = self.world.folder / "mvtool"
        shutil.copy(BIN / "mvtool", self.program)
        for path in (self.world.folder, *self.world.folder.rglob("*")):
            os.chown(path, NOBODY, NOBODY)

    def listener(self):
        words = ["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups", self.program, "listen", "--run",
                 "none"]
        return Program(words, self.world.folder / "listener.log", self.world.environment())

    def test_program_with_the_capability_listens_there_and_one_without_says_what_to_do(self):
        try:
            # In a network of its own nobody else has the port, and every port below 1024 is kept.
            with OwnNetwork():
                self.check_both()
        except OwnNetwork.CannotMake as reason:
            self.skipTest(f"no network of its own for this test: {reason}")

    def check_both(self):
        with self.listener() as listener:
            listener.wait_for("Windows Mobile 5 or 6 cannot call at TCP 127.0.0.1:990")
            listener.wait_for("cap_net_bind_service")
        if subprocess.run(["setcap", "cap_net_bind_service=+ep", self.program]).returncode != 0:
            self.skipTest("the file system keeps no capabilities")
        with self.listener() as listener:
            listener.wait_for("listening at 127.0.0.1:990")
            self.assertEqual(listener.interrupt(), 0)
            self.assertNotIn("cannot call", listener.text())


class Files(unittest.TestCase):
    def test_files_go_to_and_fro(self):
        for family in ("A", "B"):
            with self.subTest(family=family), tempfile.TemporaryDirectory() as folder:
                world = NetworkWorld(folder, family)
                content = bytes(random.Random(SEED).randbytes(200_001))
                (world.folder / "local").write_bytes(content)
                with world.simulator():
                    self.assertEqual(world.tool("handheld", "put", world.folder / "local", "\\My Documents\\a b.bin")[0], 0)
                    self.assertEqual((world.handheld / "My Documents" / "a b.bin").read_bytes(), content)
                    self.assertEqual(world.tool("handheld", "put", world.folder / "local", "\\MY DOCUMENTS\\A B.BIN")[0], 1)
                    self.assertEqual(world.tool("handheld", "get", "/my documents/a b.bin", world.folder / "back")[0], 0)
                    self.assertEqual((world.folder / "back").read_bytes(), content)
                    status, said = world.tool("handheld", "ls", "--json", "\\My Documents")
                    self.assertIn('"name":"a b.bin","folder":false,"bytes":200001', said)
                    status, said = world.tool("handheld", "backup", world.folder / "kept", "\\My Documents")
                    self.assertEqual((status, (world.folder / "kept" / "a b.bin").read_bytes()), (0, content), said)


if __name__ == "__main__":
    unittest.main()
