"""Random changes of random tables through `mvtool apply`, against a plain model of the rows; read back by mvtool, by
mdbtools and by the structure checker."""

import collections
import json
import os
import pathlib
import random
import resource
import subprocess
import tempfile
import time
import unittest

from . import jetreaders
from .jetcases import Changes, Values, random_table
from .jetmodel import Column, Index, Table
from .jetreaders import dump_difference, dumped, export_difference, exported, must, mvtool, shown, structure_findings
from .world import BIN

CASES = int(os.environ.get("MV_CASES", "12"))
SEED = int(os.environ.get("MV_SEED", "20240517"))


def lines_of(changes):
    return "".join(json.dumps(c, ensure_ascii=False) + "\n" for c in changes)


class EngineCase(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.path = self.folder / "x.db"

    def create(self, tables):
        schema = self.folder / "schema.json"
        schema.write_text(json.dumps({"tables": [t.design() for t in tables]}, ensure_ascii=False), encoding="utf-8")
        must(mvtool("create", self.path, schema))

    def apply(self, table, changes, error=None):
        """Makes the changes, the last of which must fail with `error` when there is one: at first nothing, then all but
        the last, must have happened."""
        text = lines_of(changes)
        if error is None:
            counts = collections.Counter(c["op"] for c in changes)
            said = must(mvtool("apply", self.path, table.name, text=text))
            self.assertEqual(said, f"{counts['insert']} inserted, {counts['update']} updated, {counts['delete']} deleted\n")
            return
        before = self.path.read_bytes()
        for keep in ([], ["--keep"]):
            result = mvtool("apply", self.path, table.name, *keep, text=text)
            self.assertEqual(result.returncode, 1, changes[-1])
            said = result.stderr.decode("utf-8")
            self.assertTrue(said.startswith(f"mvtool: line {len(changes)}: "), said)
            self.assertIn(error, said)
            if not keep:
                self.assertEqual(self.path.read_bytes(), before)

    def check(self, table):
        """The table holds what its model says, for every reader; the model then knows the order."""
        rows = shown(self.path, table.name)
        self.assertEqual(collections.Counter(map(table.exact_row, rows)),
                         collections.Counter(map(table.exact_row, table.rows)))
        table.take_order(rows)
        header, cells = exported(self.path, table.name)
        self.assertEqual(header, [c.name for c in table.columns])
        self.assertEqual(export_difference(table.columns, rows, cells), "")
        if jetreaders.checker():
            self.assertEqual(dump_difference(table.columns, rows, dumped(self.path, table.name)), "")


class RandomTables(EngineCase):
    def run_case(self, seed):
        rng = random.Random(seed)
        tables = [random_table(rng, f"Table {i}") for i in range(rng.randint(1, 3))]
        self.create(tables)
        changers = [Changes(rng, t) for t in tables]
        for _ in range(rng.randint(4, 10)):
            changer = rng.choice(changers)
            others = {t.name: shown(self.path, t.name) for t in tables if t is not changer.table}
            for _ in range(rng.randint(1, 4)):
                weights = rng.choice([(1, 1, 1), (6, 2, 1), (20, 1, 0), (1, 6, 1), (1, 2, 9)])
                self.apply(changer.table, *changer.batch(rng.choice([5, 40, 150, 300]), weights))
                # The order is that of the file again only when it was read.
                changer.table.take_order(shown(self.path, changer.table.name))
            self.check(changer.table)
            for name, rows in others.items():
                self.assertEqual(shown(self.path, name), rows)
            self.assertEqual(structure_findings(self.path), "")


def add_case(number):
    def test(self):
        with self.subTest(seed=SEED + number):
            self.run_case(SEED + number)
    setattr(RandomTables, f"test_case{number:05d}", test)


for case_number in range(CASES):
    add_case(case_number)


class DeepTrees(EngineCase):
    """Keys so long that few stand on a page, and many of them: trees of three levels and more."""

    def test_long_keys(self):
        rng = random.Random(SEED)
        table = Table("Deep", [Column("Key", "Text", 240), Column("Day", "Text", 100), Column("N", "Long")],
                      [Index("PrimaryKey", [("Key", False)], primary=True, unique=True, required=True),
                       Index("Down", [("Day", True), ("N", False)], ignore_nulls=True)])
        self.create([table])
        values = {c.name: Values(rng, c, True, False) for c in table.columns}
        # Random keys, then ascending ones, then descending ones.
        spread = [values["Key"].text(240) for _ in range(1500)]
        rising = [f"{i:06}" + "m" * 230 for i in range(1500)]
        falling = [f"{9999 - i:06}" + "z" * 230 for i in range(1000)]
        for keys in (spread, rising, falling):
            rows = [{"Key": k, "Day": values["Day"].draw(), "N": values["N"].draw()}
                    for k in dict.fromkeys(keys) if not table.keys[0].get((k.lower().rstrip(" "),))]
            for row in rows:
                table.insert(row)
            self.apply(table, [{"op": "insert", "row": row} for row in rows])
            self.check(table)
            self.assertEqual(structure_findings(self.path), "")
        changer = Changes(rng, table)
        by_key = lambda row: {"Key": row[0].upper()}
        for share in (0.3, 0.6, 0.9):
            changes = []
            for row in rng.sample(table.rows, int(len(table.rows) * share)):
                changes.append({"op": "delete", "where": by_key(row)} if rng.random() < 0.7 else
                               {"op": "update", "where": by_key(row), "set": {"Day": values["Day"].draw()}})
            gone = {c["where"]["Key"] for c in changes if c["op"] == "delete"}
            days = {c["where"]["Key"]: c["set"]["Day"] for c in changes if c["op"] == "update"}
            for position, row in enumerate(table.rows):
                if row[0].upper() in days:
                    table.update(position, {"Day": days[row[0].upper()]})
            for position in reversed(range(len(table.rows))):
                if table.rows[position][0].upper() in gone:
                    table.delete(position)
            self.apply(table, changes)
            self.check(table)
            self.assertEqual(structure_findings(self.path), "")
            self.apply(table, *changer.batch(50, (5, 3, 1)))
            self.check(table)


class OpenPipes(EngineCase):
    """Lines from a program that keeps the pipe open and says nothing more."""

    def setUp(self):
        super().setUp()
        self.create([Table("T", [Column("N", "Long"), Column("M", "Memo")],
                           [Index("PrimaryKey", [("N", False)], primary=True, unique=True, required=True)])])

    def ended(self, pieces):
        """What `mvtool apply --keep` ends with and says while the pipe is still open. The pieces come one after the other."""
        command = [str(BIN / "mvtool"), "apply", str(self.path), "T", "--keep"]
        pipe = subprocess.PIPE
        with subprocess.Popen(command, stdin=pipe, stdout=pipe, stderr=pipe) as process:
            try:
                for piece in pieces:
                    process.stdin.write(piece.encode("utf-8"))
                    process.stdin.flush()
                    time.sleep(0.02)
                status = process.wait(timeout=60)
            finally:
                process.kill()
            return status, process.stdout.read().decode("utf-8"), process.stderr.read().decode("utf-8")

    def test_a_line_that_fails_ends_it(self):
        # Fewer lines than are read at once, and many times as many.
        for good in (0, 3, 20000):
            for bad, why in (("x\n", ", column 1: "), (lines_of([{"op": "delete", "where": {"N": -1}}]), ": no row fits")):
                with self.subTest(good=good, bad=bad):
                    must(mvtool("apply", self.path, "T", text=lines_of([{"op": "insert", "row": {"N": -2}}])))
                    inserts = lines_of({"op": "insert", "row": {"N": n, "M": "some text"}} for n in range(good))
                    status, said, error = self.ended([inserts + bad + lines_of([{"op": "insert", "row": {"N": -1}}])])
                    self.assertEqual((status, said), (1, f"{good} inserted, 0 updated, 0 deleted\n"))
                    self.assertTrue(error.startswith(f"mvtool: line {good + 1}{why}"), error)
                    deletes = [{"op": "delete", "where": {"N": n}} for n in (*range(good), -2)]
                    must(mvtool("apply", self.path, "T", text=lines_of(deletes)))

    def test_each_line_is_done_before_the_next_is_waited_for(self):
        pieces = [lines_of([{"op": "insert", "row": {"N": n}}]) for n in range(10)]
        status, said, error = self.ended([*pieces, pieces[4][:9], pieces[4][9:] + '{"op":"ins'])
        self.assertEqual((status, said), (1, "10 inserted, 0 updated, 0 deleted\n"))
        self.assertTrue(error.startswith("mvtool: line 11: The changes you requested"), error)


class WholeTables(EngineCase):
    def test_every_type_goes_out_and_comes_in_again(self):
        """What show prints of one table, inserted into an empty copy, gives the same rows."""
        rng = random.Random(SEED)
        table = random_table(rng, "Source")
        while len(table.columns) < 10:
            table = random_table(rng, "Source")
        self.create([table])
        self.apply(table, *Changes(rng, table).batch(400, (1, 0, 0)))
        copy = self.folder / "copy.db"
        must(mvtool("template", self.path, copy))
        self.assertEqual(structure_findings(copy), "")
        lines = must(mvtool("show", self.path, table.name))
        text = "".join(f'{{"op":"insert","row":{line}}}\n' for line in lines.split("\n")[:-1])
        must(mvtool("apply", copy, table.name, text=text))
        self.assertEqual(must(mvtool("show", copy, table.name)), lines)
        self.assertEqual(structure_findings(copy), "")

    def test_a_table_larger_than_the_memory_is_exported(self):
        table = Table("Large", [Column("N", "Long"), Column("M", "Memo", compressed=False)], [])
        self.create([table])
        memo = "m" * 1900
        self.apply(table, [{"op": "insert", "row": {"N": i, "M": memo}} for i in range(20000)])
        memory = 48 * 2**20
        self.assertGreater(self.path.stat().st_size, 1.5 * memory)
        limit = lambda: resource.setrlimit(resource.RLIMIT_AS, (memory, memory))
        command = [str(BIN / "mvtool"), "export", str(self.path), str(self.folder / "out")]
        result = subprocess.run(command, capture_output=True, preexec_fn=limit)
        self.assertEqual(result.stderr, b"")
        with open(self.folder / "out" / "Large.csv", encoding="utf-8", newline="") as file:
            self.assertEqual(file.readline(), "N,M\r\n")
            for number, line in enumerate(file):
                self.assertEqual(line, f"{number},{memo}\r\n")
        self.assertEqual(number, 19999)
