"""The page docs/user/limits.md: what its table says of a value on the PC is what a run does with it."""

import json
import os
import pathlib
import subprocess
import tempfile
import unittest

from .world import BIN

TABLE = "brnd_Fuel"
COMES_BACK = "does not give back as it is"
BEYOND = "a date, a number or the count of rows is beyond what the handheld takes"


class Limits(unittest.TestCase):
    """A row of the demonstration that is edited on the PC, and an Overwrite PDA."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name, "world")
        self.environment = dict(os.environ, LC_ALL="C.UTF-8", XDG_CONFIG_HOME=str(self.folder / "config"))
        self.tool("demo", self.folder)
        self.database = self.folder / "Motorva.db"
        self.file = self.folder / "handheld" / "Program Files" / "Motorva" / f"{TABLE}.pdb"
        self.key = self.rows(self.database, TABLE)[0]["KY_RECID"]

    def tool(self, *words, text=None):
        return subprocess.run([str(BIN / "mvtool"), *map(str, words)], check=True, text=True, input=text,
                              capture_output=True, env=self.environment).stdout

    def rows(self, *words):
        return [json.loads(line) for line in self.tool("show", *words).splitlines()]

    def run_with(self, **values):
        """Status, standard error, and the edited record of the handheld; None when the file did not change."""
        change = {"op": "update", "where": {"KY_RECID": self.key}, "set": values}
        self.tool("apply", self.database, TABLE, text=json.dumps(change) + "\n")
        before = self.file.read_bytes()
        done = subprocess.run([str(BIN / "MVPPCSync"), "-Mode1"], env=self.environment, capture_output=True, text=True)
        if self.file.read_bytes() == before:
            return done.returncode, done.stderr, None
        key = values.get("KY_RECID", self.key)
        record, = (row for row in self.rows(self.file) if row["KY_RECID"] == key)
        return done.returncode, done.stderr, record

    def check_kept(self, **values):
        status, told, record = self.run_with(**values)
        self.assertEqual((status, told), (0, ""))
        self.assertEqual({name: record[name] for name in values}, values)

    def check_changed(self, after, **values):
        """Warns and goes on; `after` is what comes back."""
        status, told, record = self.run_with(**values)
        self.assertEqual(status, 0)
        self.assertIn(f"Warning: {TABLE}: 1 rows hold ", told)
        self.assertIn(COMES_BACK, told)
        self.assertIn(self.key, told)
        name, = values
        self.assertEqual(record[name], after)
        # What the handheld gives back is agreed on: it is told once.
        self.assertEqual(self.run_with(**values)[1], "")

    def check_stopped(self, **values):
        status, told, record = self.run_with(**values)
        self.assertEqual((status, record), (2, None))
        self.assertIn(BEYOND, told)
        self.assertIn(f"stopped at table {TABLE}: Error 6: Overflow", told)

    def test_letters_and_the_euro_sign_are_kept(self):
        self.check_kept(TX_STATION="Größe, Étoile, 12 €")

    def test_other_signs_come_back_as_two_characters(self):
        self.check_changed("20 Â°C", TX_STATION="20 °C")

    def test_characters_outside_the_code_page_come_back_as_question_marks(self):
        self.check_changed("?", TX_STATION="Ω")

    def test_the_last_date_is_kept(self):
        self.check_kept(DT_FILL="2040-02-06T06:28:15")

    def test_the_first_date_is_kept(self):
        self.check_kept(DT_FILL="1904-01-01T00:00:00")

    def test_a_date_before_1904_comes_back_as_a_later_one(self):
        self.check_changed("2036-02-07T06:28:16", DT_FILL="1900-01-01T00:00:00")

    def test_a_date_after_the_last_one_stops_the_run(self):
        self.check_stopped(DT_FILL="2040-02-06T06:28:16")

    def test_a_date_far_before_1904_stops_the_run(self):
        self.check_stopped(DT_FILL="1835-01-01T00:00:00")

    def test_a_text_that_is_too_long_stops_the_run(self):
        key = self.rows(self.database, "brnd_Vehicle")[0]["TX_VIN"]
        change = {"op": "update", "where": {"TX_VIN": key}, "set": {"TX_NOTES": "x" * 32768}}
        self.tool("apply", self.database, "brnd_Vehicle", text=json.dumps(change) + "\n")
        file = self.file.with_name("brnd_Vehicle.pdb")
        before = file.read_bytes()
        for mode in ("-Mode0", "-Mode1"):
            with self.subTest(mode=mode):
                done = subprocess.run([str(BIN / "MVPPCSync"), mode], env=self.environment, capture_output=True, text=True)
                self.assertEqual(done.returncode, 2)
                self.assertIn(f'brnd_Vehicle, row "{key}": TX_NOTES is longer than the 32767 bytes', done.stderr)
                self.assertIn("stopped at table brnd_Vehicle: Error 6: Overflow", done.stderr)
                self.assertEqual(file.read_bytes(), before)

    def test_a_column_that_the_handheld_lacks_comes_to_it_with_a_warning(self):
        schema = json.loads(self.tool("schema", self.database))
        for table in schema["tables"]:
            table["rows"] = self.rows(self.database, table["name"])
            if table["name"] == TABLE:
                table["columns"].append({"name": "NM_EXTRA", "type": "Long"})
                for number, row in enumerate(table["rows"]):
                    row["NM_EXTRA"] = number
        (self.folder / "wide.json").write_text(json.dumps(schema))
        self.tool("create", self.database, self.folder / "wide.json", "--force")
        extra = {row["KY_RECID"]: row["NM_EXTRA"] for row in self.rows(self.database, TABLE)}
        done = subprocess.run([str(BIN / "MVPPCSync"), "-Mode1"], env=self.environment, capture_output=True, text=True)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn('column 10 is "NM_EXTRA" on the PC and missing on the handheld', done.stderr)
        self.assertEqual({row["KY_RECID"]: row["NM_EXTRA"] for row in self.rows(self.file)}, extra)
        self.assertEqual({row["KY_RECID"]: row["NM_EXTRA"] for row in self.rows(self.database, TABLE)}, extra)

    def test_a_null_is_the_zero_of_its_type_there_and_stays_a_null_here(self):
        status, told, record = self.run_with(TX_STATION=None, DT_FILL=None)
        self.assertEqual((status, told), (0, ""))
        self.assertEqual((record["TX_STATION"], record["DT_FILL"]), ("", "1904-01-01T00:00:00"))
        row, = (row for row in self.rows(self.database, TABLE) if row["KY_RECID"] == self.key)
        self.assertEqual((row["TX_STATION"], row["DT_FILL"]), (None, None))

    def test_a_quote_in_a_key_stops_a_synchronize(self):
        self.run_with(KY_RECID="O'Neil")
        done = subprocess.run([str(BIN / "MVPPCSync"), "-Mode0"], env=self.environment, capture_output=True, text=True)
        self.assertEqual(done.returncode, 2)
        self.assertIn("row \"O'Neil\": the key on the PC holds a quote", done.stderr)
