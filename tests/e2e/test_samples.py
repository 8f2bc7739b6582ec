"""Real database files: every table reads as other programs read it, and on copies, after hundreds of changes, it holds
what a plain model of its rows says. JET_SAMPLES names the folder; without it the tests are skipped."""

import collections
import json
import os
import pathlib
import random
import re
import shutil
import tempfile
import unittest

from . import jetreaders
from .jetcases import Changes
from .jetmodel import DUPLICATE, Column, Index, Table
from .jetreaders import (designed, dump_difference, dumped, export_difference, exported, must, mvtool, raw_tables, shown,
                         structure_findings)
from .test_engine import SEED, lines_of

SAMPLES = os.environ.get("JET_SAMPLES")

# Rules of real tables that the model does not know.
OTHER_RULES = (DUPLICATE, "because the Required property for this field is set to True", "cannot be a zero-length string",
               "Record is too large", "is longer than 510 bytes", "is sorted by order",
               "because a related record is required in table", "includes related records")
NOT_SUPPORTED = "mvtool: line 1: Not supported: table "


def sample_files():
    return sorted(p for p in pathlib.Path(SAMPLES).iterdir() if p.suffix in (".mdb", ".accdb"))


def model_of(path, name):
    """The table as it is in the file."""
    design = designed(path, name)
    table = Table(name, [Column.of(c) for c in design["columns"]], [Index.of(i) for i in design["indexes"]])
    rows = shown(path, name)
    for row in rows:
        table.add(row)
    return table


def related_tables(path, name):
    """Tables that enforced relations connect with this one, over others too: changes may go on to them. Itself among
    them."""
    unenforced = 2
    connected = {name}
    relations = [json.loads(line) for line in must(mvtool("show", path, "MSysRelationships")).splitlines()]
    for _ in relations:
        for relation in relations:
            ends = {relation["szObject"], relation["szReferencedObject"]}
            if not relation["grbit"] & unenforced and ends & connected:
                connected |= ends
    return connected


def note_filled_columns(path, table):
    """Tries which texts the table fills with blanks, on a copy."""
    scratch = path.with_suffix(".scratch")
    for at, column in enumerate(table.columns):
        if column.kind == "Text" and table.rows:
            shutil.copy(path, scratch)
            where = {c.name: v for c, v in zip(table.columns, table.rows[0])}
            change = {"op": "update", "where": where, "set": {column.name: ""}}
            mvtool("apply", scratch, table.name, text=lines_of([change]))
            column.filled = any(row[at] == " " * column.size for row in shown(scratch, table.name))


@unittest.skipUnless(SAMPLES, "real database files (JET_SAMPLES is not set)")
class Samples(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def each_database(self):
        """Paths of copies of the files that the engine reads; the others must be refused with a reason."""
        count = 0
        for sample in sample_files():
            path = self.folder / sample.name
            shutil.copy(sample, path)
            path.chmod(0o644)
            result = mvtool("list", path)
            if result.returncode == 0:
                count += 1
                yield path
                continue
            self.assertEqual(result.returncode, 1, sample.name)
            self.assertRegex(result.stderr.decode("utf-8"), r"^mvtool: (Unrecognized database format|Not supported|Not a valid)")
        self.assertGreater(count, 0)

    def check_readers(self, path, table, rows):
        header, cells = exported(path, table.name)
        self.assertEqual(header, [c.name for c in table.columns])
        self.assertEqual(export_difference(table.columns, rows, cells), "")
        if jetreaders.checker():
            self.assertEqual(dump_difference(table.columns, rows, dumped(path, table.name)), "")

    def test_every_table_reads_as_other_programs_read_it(self):
        for path in self.each_database():
            for name in must(mvtool("list", path)).splitlines():
                with self.subTest(file=path.name, table=name):
                    table = model_of(path, name)
                    self.check_readers(path, table, table.rows)

    def test_templates_are_sound_and_have_the_same_tables(self):
        for path in self.each_database():
            with self.subTest(file=path.name):
                template = self.folder / (path.name + ".template")
                must(mvtool("template", path, template))
                self.assertEqual(must(mvtool("list", template)), must(mvtool("list", path)))
                self.assertEqual(structure_findings(template), "")
                for name in must(mvtool("list", path)).splitlines():
                    self.assertEqual(designed(template, name), designed(path, name))
                    self.assertEqual(exported(template, name), (exported(path, name)[0], []))

    def test_changed_tables_hold_what_they_should_and_no_other_table_changes(self):
        made = collections.Counter()
        for path in self.each_database():
            strictly = structure_findings(path) == ""
            for name in must(mvtool("list", path)).splitlines():
                with self.subTest(file=path.name, table=name, seed=SEED):
                    if self.is_refused(path, name):
                        made["refused tables"] += 1
                        continue
                    related = related_tables(path, name)
                    others = {n: rows for n, rows in raw_tables(path).items() if n not in related}
                    made["changes"] += self.change(path, name, random.Random(f"{SEED} {path.name} {name}"))
                    now = {n: rows for n, rows in raw_tables(path).items() if n not in related}
                    self.assertEqual(now, others)
                    self.assertEqual(structure_findings(path, strictly), "")
        self.assertGreater(made["changes"], 1000)

    def is_refused(self, path, name):
        """Whether the engine refuses to change the table; it must say why and leave the file alone."""
        before = path.read_bytes()
        result = mvtool("apply", path, name, text='{"op":"insert","row":{}}\n{"op":"no such thing"}')
        said = result.stderr.decode("utf-8")
        self.assertEqual(result.returncode, 1)
        self.assertEqual(path.read_bytes(), before)
        return said.startswith(NOT_SUPPORTED)

    def change(self, path, name, rng):
        """Makes random changes; returns how many."""
        table = model_of(path, name)
        note_filled_columns(path, table)
        values = None
        done = 0
        for weights in ((6, 2, 1), (1, 1, 1), (1, 6, 1), (4, 1, 4), (1, 2, 6), (3, 1, 1)):
            for _ in range(12):
                changer = Changes(rng, table, leaving_out=0)  # the model knows no default values
                values = changer.values = values or changer.values
                table, kept = self.make_some(path, table, changer, weights)
                done += kept
            rows = shown(path, name)
            self.check_readers(path, table, rows)
        return done

    def make_some(self, path, table, changer, weights):
        """Makes changes up to the first that is refused; returns the table and how many were made."""
        for column in table.columns:
            if column.autonumber:
                changer.values[column.name].given = True  # the last number given is not known
        start = table.copy()
        changes, error = changer.batch(10, weights)
        result = mvtool("apply", path, table.name, "--keep", text=lines_of(changes))
        kept = len(changes)
        if result.returncode != 0:
            said = result.stderr.decode("utf-8")
            kept = int(re.match(r"mvtool: line (\d+): ", said)[1]) - 1
            is_expected = error is not None and kept == len(changes) - 1 and error in said
            self.assertTrue(is_expected or any(rule in said for rule in OTHER_RULES), said)
            self.learn(changer, said)
            table = start
            for change in changes[:kept]:
                table.make(change)
        else:
            self.assertIsNone(error, changes[-1:])
        rows = shown(path, table.name)
        self.assertEqual(collections.Counter(map(table.exact_row, rows)),
                         collections.Counter(map(table.exact_row, table.rows)))
        table.take_order(rows)
        return table, kept

    @staticmethod
    def learn(changer, said):
        """Rules of columns stand where only the engine reads them; what it refuses tells them."""
        for name, values in changer.values.items():
            values.given = values.given or f".{name}' cannot contain a Null value" in said
            values.filled = values.filled or f".{name}' cannot be a zero-length string" in said
