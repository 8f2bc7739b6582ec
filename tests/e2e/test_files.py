"""Databases and table files out to CSV and JSON and back with mvtool, as users do it who work on them elsewhere."""

import csv
import io
import pathlib
import subprocess
import tempfile
import unittest

from .jetreaders import must, mvtool
from .world import BIN


class FilesCase(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        must(mvtool("demo", self.folder / "demo"))
        self.database = self.folder / "demo" / "Motorva.db"
        self.tables = self.folder / "demo" / "handheld" / "Program Files" / "Motorva"

    def diff(self, *words):
        result = mvtool("diff", *words)
        self.assertEqual(result.stderr, b"")
        return result.returncode, result.stdout.decode("utf-8")

    def copy_of_the_schema(self):
        copy = self.folder / "copy.db"
        schema = self.folder / "schema.json"
        schema.write_text(must(mvtool("schema", self.database)), encoding="utf-8")
        must(mvtool("create", copy, schema))
        return copy

    def test_a_database_goes_out_as_csv_and_comes_back_the_same(self):
        copy = self.copy_of_the_schema()
        must(mvtool("export", self.database, self.folder / "csv"))
        for file in sorted((self.folder / "csv").glob("*.csv")):
            must(mvtool("import", copy, file.stem, "--csv", file))
        self.assertEqual(self.diff(self.database, copy), (0, ""))

    def test_rows_that_another_program_wrote_update_a_table(self):
        rows = list(csv.DictReader(io.StringIO(must(mvtool("show", "--csv", self.database, "brnd_Fuel")), newline="")))
        rows[3]["NM_ODOMETER"] = "77777"
        new = dict(rows[0], KY_RECID="NEW, \"quoted\"")
        edited = self.folder / "edited.csv"
        with open(edited, "w", encoding="utf-8-sig", newline="") as file:
            writer = csv.DictWriter(file, ["NM_ODOMETER", "KY_RECID"], extrasaction="ignore", lineterminator="\n")
            writer.writeheader()
            writer.writerows([rows[3], new])
        before = self.folder / "before.db"
        before.write_bytes(self.database.read_bytes())

        self.assertEqual(must(mvtool("import", self.database, "brnd_Fuel", "--csv", edited, "--update")),
                         "1 inserted, 1 updated, 0 deleted\n")

        status, text = self.diff(before, self.database)
        self.assertEqual(status, 1)
        lines = text.splitlines()
        self.assertRegex(lines[0], rf"^brnd_Fuel {rows[3]['KY_RECID']}: changed: NM_ODOMETER \d+ -> 77777$")
        self.assertTrue(lines[1].startswith('brnd_Fuel NEW, "quoted": added: '), lines[1])
        self.assertEqual(lines[2:], ["brnd_Fuel: +1 ~1 -0"])

    def test_a_table_file_goes_out_as_csv_and_comes_back_the_same(self):
        for original in sorted(self.tables.glob("*.pdb")):
            table, made = self.folder / "table.csv", self.folder / original.name
            table.write_text(must(mvtool("show", "--csv", original)), encoding="utf-8", newline="")
            must(mvtool("make", made, "--csv", table, "--like", original))
            self.assertEqual(self.diff(original, made), (0, ""))

    def test_after_an_overwrite_of_the_handheld_no_table_differs(self):
        status, _ = self.diff(self.database, self.tables / "brnd_Fuel.pdb")
        self.assertEqual(status, 1)
        subprocess.run([str(BIN / "MVPPCSync"), "-Mode1"], env={"XDG_CONFIG_HOME": str(self.folder / "demo" / "config")},
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        for file in sorted(self.tables.glob("*.pdb")):
            if file.stem not in ("brnd_Accessories", "brnd_AccItems"):
                self.assertEqual(self.diff(self.database, file), (0, ""), file.stem)

    def test_a_mistake_in_the_last_row_leaves_the_database_as_it_was(self):
        content = self.database.read_bytes()
        bad = self.folder / "bad.csv"
        bad.write_text("KY_RECID,NM_ODOMETER\nX1,1\nX2,many\n", encoding="utf-8")
        result = mvtool("import", self.database, "brnd_Fuel", "--csv", bad)
        self.assertEqual(result.returncode, 1)
        self.assertIn("bad.csv: line 3, column 4: a number is wanted here", result.stderr.decode("utf-8"))
        self.assertEqual(self.database.read_bytes(), content)
