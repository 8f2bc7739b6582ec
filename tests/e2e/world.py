"""One sync world: a folder with a handheld, a desktop database and a settings file, and the programs to work on it."""

import csv
import datetime
import decimal
import io
import json
import os
import pathlib
import shutil
import subprocess

from . import pdbfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
BIN = pathlib.Path(os.environ.get("MV_BIN", ROOT / "build" / "linux" / "bin"))

SILENT_TABLES = ["brnd_Customer", "brnd_FieldValues", "brnd_Fuel", "brnd_Maintenance", "brnd_MaintTasks",
                 "brnd_Models", "brnd_Parts", "brnd_Payment", "brnd_SchedMaint", "brnd_Trip", "brnd_Vehicle"]
KEYS = {t: "KY_RECID" for t in SILENT_TABLES}
KEYS.update(brnd_Customer="TX_NAME", brnd_MaintTasks="KY_RECID_TASK", brnd_Parts="KY_RECID_PART",
            brnd_Vehicle="TX_VIN")

JET_TYPES = {"Byte": pdbfile.BYTE, "Integer": pdbfile.INTEGER, "Long": pdbfile.LONG, "Single": pdbfile.SINGLE,
             "Text": pdbfile.TEXT, "Memo": pdbfile.TEXT, "Boolean": pdbfile.BOOLEAN, "DateTime": pdbfile.DATE,
             "Double": pdbfile.DOUBLE, "Currency": pdbfile.CURRENCY}


def to_json(value):
    if isinstance(value, datetime.datetime):
        return value.strftime("%Y-%m-%dT%H:%M:%S")
    if isinstance(value, decimal.Decimal):
        return format(value.quantize(decimal.Decimal("0.0001")), "f")
    return value


def from_json(kind, value):
    if value is None:
        return None
    if kind == "DateTime":
        return datetime.datetime.fromisoformat(value)
    if kind == "Currency":
        return decimal.Decimal(value)
    if kind in ("Single", "Double"):
        return float(value)
    return value


class World:
    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        self.handheld = self.folder / "handheld"
        self.tables = self.handheld / "Program Files" / "Motorva"
        self.tables.mkdir(parents=True)
        self.database = self.folder / "Motorva.db"
        self.log = self.folder / "SyncLog.txt"
        self.source = self.folder / "sync" / "source"
        self.dest = self.folder / "sync" / "dest"
        self.program_folder = BIN
        self.write_settings()

    def write_settings(self, **extra):
        lines = ["[General]", f"DBPath={self.folder}", "[Handheld]", f"Root={self.handheld}", "[PPC_Mobile]"]
        lines += [f"{k}={v}" for k, v in extra.items()]
        (self.folder / "config").mkdir(exist_ok=True)
        (self.folder / "config" / "Motorva32.ini").write_text("\n".join(lines) + "\n", encoding="utf-8")

    def environment(self):
        return dict(os.environ, XDG_CONFIG_HOME=str(self.folder / "config"), LC_ALL="C.UTF-8")

    def sync(self, mode, timeout=120):
        """Runs a silent sync; returns its exit status."""
        return subprocess.run([str(self.program_folder / "MVPPCSync"), f"-Mode{mode}"], env=self.environment(),
                              timeout=timeout, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode

    def log_text(self):
        return self.log.read_bytes().decode("cp1252") if self.log.exists() else ""

    # ---- the desktop side

    def create_database(self, tables, path=None):
        """tables: {name: (columns, rows)}; a column is (name, type, size); the key column is the primary key."""
        schema = {"tables": []}
        for name, (columns, rows) in tables.items():
            design = [dict(name=n, type=t, **({"size": s} if s else {})) for n, t, s in columns]
            index = {"name": "PrimaryKey", "columns": [KEYS.get(name, columns[0][0])], "primary": True}
            json_rows = [{n: to_json(v) for (n, _, _), v in zip(columns, row)} for row in rows]
            schema["tables"].append({"name": name, "columns": design, "indexes": [index], "rows": json_rows})
        file = self.folder / "schema.json"
        file.write_text(json.dumps(schema, ensure_ascii=False), encoding="utf-8")
        subprocess.run([str(BIN / "mvtool"), "create", "--force", str(path or self.database), str(file)], check=True,
                       stdout=subprocess.DEVNULL)

    def rows(self, table, columns):
        """Rows in physical order, through mvtool."""
        out = subprocess.run([str(BIN / "mvtool"), "show", str(self.database), table], check=True,
                             capture_output=True).stdout.decode("utf-8")
        result = []
        for line in out.splitlines():
            row = json.loads(line)
            result.append([from_json(t, row[n]) for n, t, _ in columns])
        return result

    def foreign_rows(self, table, columns, path=None):
        """Rows in physical order, through mdbtools: a reader that shares nothing with the program."""
        out = subprocess.run(["mdb-export", "-D", "%Y-%m-%d %H:%M:%S", "-T", "%Y-%m-%d %H:%M:%S",
                              str(path or self.database), table],
                             check=True, capture_output=True).stdout.decode("utf-8")
        reader = csv.reader(io.StringIO(out, newline=""))
        header = next(reader)
        assert header == [n for n, _, _ in columns], (header, columns)
        return [[read_cell(t, cell) for (_, t, _), cell in zip(columns, row)] for row in reader]

    # ---- the handheld's side

    def write_table(self, table, fields, records, today=datetime.date(2024, 5, 17)):
        (self.tables / f"{table}.pdb").write_bytes(pdbfile.build(table, fields, records, today))

    def read_table(self, table):
        return (self.tables / f"{table}.pdb").read_bytes()

    def remove(self):
        shutil.rmtree(self.folder, ignore_errors=True)


def read_cell(kind, cell):
    """One cell of mdb-export's CSV; null and empty text look the same there."""
    if kind in ("Text", "Memo"):
        return cell or None
    if cell == "":
        return None
    if kind == "Boolean":
        return cell not in ("0", "")
    if kind in ("Byte", "Integer", "Long"):
        return int(cell)
    if kind == "DateTime":
        return datetime.datetime.strptime(cell, "%Y-%m-%d %H:%M:%S")
    if kind == "Currency":
        return decimal.Decimal(cell)
    return float(cell)
