"""Random worlds through silent runs in all three modes, against the model, byte by byte."""

import datetime
import os
import random
import tempfile
import unittest

from . import cases, merge, pdbfile
from .jetreaders import structure_findings
from .world import BIN, SILENT_TABLES, World

CASES = int(os.environ.get("MV_CASES", "12"))
SEED = int(os.environ.get("MV_SEED", "20240517"))


# A table that no run touches. With it a database has the size from which commits keep a spare file.
BALLAST = {"Ballast": ([("KY_RECID", "Text", 20), ("TX_TEXT", "Text", 250)], [[f"b{n}", "x" * 250] for n in range(4000)])}


def lay_out(world, case, beside=None):
    """`beside`: further tables of the database."""
    world.create_database({t: (cols, rows) for t, (cols, rows, _) in case.items()} | (beside or {}))
    for t, (cols, _, records) in case.items():
        world.write_table(t, merge.fields_of(cols), records)


def with_empty_template(world, case):
    """Overwrite PC takes its template from the program's folder, so the program runs from a copy of its own."""
    folder = world.folder / "program"
    folder.mkdir()
    (folder / "MVPPCSync").write_bytes((BIN / "MVPPCSync").read_bytes())
    (folder / "MVPPCSync").chmod(0o755)
    world.create_database({t: (cols, []) for t, (cols, _, _) in case.items()}, folder / "_20")
    world.program_folder = folder
    return folder / "_20"


def comparable(columns, rows):
    """Rows for comparison where empty text and null, and floats by their shortest form, are the same."""
    def cell(kind, v):
        if kind in ("Text", "Memo"):
            return (v or "").replace("\r\n", "\n")
        if kind == "Single" and v is not None:
            return float("%.6g" % v)
        if kind == "Double" and v is not None:
            return float("%.12g" % v)
        return v
    return [[cell(t, v) for (_, t, _), v in zip(columns, row)] for row in rows]


def without_dates(data):
    return data[:36] + b"\0" * 8 + data[44:]


class RandomWorlds(unittest.TestCase):
    def run_mode(self, mode, seed):
        rng = random.Random(seed)
        case = cases.world_case(rng, rng.choice([3, 30, 30, 120]))
        with tempfile.TemporaryDirectory() as folder:
            world = World(folder)
            lay_out(world, case)
            before = {t: world.foreign_rows(t, cols) for t, (cols, _, _) in case.items()}
            template = None
            if mode == merge.OVERWRITE_PC:
                template = with_empty_template(world, case)
            status = world.sync(mode)
            self.assertEqual(status, 0, world.log_text())
            for t, (cols, rows, records) in case.items():
                self.assertEqual(comparable(cols, before[t]), comparable(cols, rows))
                start = [] if template else rows
                desktop, output = merge.merged(mode, cases.KEYS[t], cols, start, records)
                self.assertEqual(comparable(cols, world.rows(t, cols)), comparable(cols, desktop), t)
                self.assertEqual(comparable(cols, world.foreign_rows(t, cols)), comparable(cols, desktop), t)
                want = pdbfile.build(t, merge.fields_of(cols), output, datetime.date.today())
                self.assertEqual(without_dates(world.read_table(t)), without_dates(want), t)
                self.assertEqual((world.dest / f"{t}.pdb").read_bytes(), world.read_table(t))
            self.assertEqual(structure_findings(world.database), "")
            self.assertIn("Silent Synchronization of 11 of 13 tables ended: ", world.log_text())


def add_case(mode, number):
    def test(self):
        seed = SEED + 1000 * mode + number
        with self.subTest(mode=mode, seed=seed):
            self.run_mode(mode, seed)
    setattr(RandomWorlds, f"test_mode{mode}_case{number:04d}", test)


for case_mode in (merge.SYNCHRONIZE, merge.OVERWRITE_PDA, merge.OVERWRITE_PC):
    for case_number in range(CASES):
        add_case(case_mode, case_number)


class RunningTwice(unittest.TestCase):
    def test_a_second_synchronize_changes_nothing_but_the_clock(self):
        case = cases.world_case(random.Random(SEED))
        with tempfile.TemporaryDirectory() as folder:
            world = World(folder)
            lay_out(world, case)
            self.assertEqual(world.sync(0), 0)
            first = {t: without_dates(world.read_table(t)) for t in SILENT_TABLES}
            content = world.database.read_bytes()
            self.assertEqual(world.sync(0), 0)
            self.assertEqual({t: without_dates(world.read_table(t)) for t in SILENT_TABLES}, first)
            self.assertEqual(world.database.read_bytes(), content)
