"""Rows of a database table as different programs read them, comparable with each other."""

import collections
import csv
import datetime
import io
import json
import os
import subprocess
import sys

from .jetmodel import exact, single
from .world import BIN

csv.field_size_limit(sys.maxsize)

NULL = "<null \x7f>"


def mvtool(*words, text=None):
    return subprocess.run([str(BIN / "mvtool"), *map(str, words)], input=None if text is None else text.encode("utf-8"),
                          capture_output=True)


def must(result):
    if result.returncode != 0:
        raise AssertionError(result.stderr.decode("utf-8", "replace"))
    return result.stdout.decode("utf-8")


def parse(line):
    """A line of JSON; keeps the sign of "-0"."""
    return json.loads(line, parse_int=lambda digits: -0.0 if digits == "-0" else int(digits))


def shown(path, table):
    """Rows by mvtool, as lists in the order of the columns."""
    return [list(parse(line).values()) for line in must(mvtool("show", path, table)).split("\n")[:-1]]


def raw_tables(path):
    """What mvtool shows of each table, the system's too, as text."""
    names = must(mvtool("list", path)).splitlines()
    names += ["MSysObjects", "MSysACEs", "MSysQueries", "MSysRelationships"]
    return {name: must(mvtool("show", path, name)) for name in names}


def designed(path, table):
    return json.loads(must(mvtool("show", "--schema", path, table)))


# ---- the structure checker, which can print rows too


def checker():
    return os.environ.get("JETCHECK")


def dumped(path, table):
    out = subprocess.run(["python3", checker(), "--dump", table, str(path)], check=True, capture_output=True).stdout
    return [list(json.loads(line).values()) for line in out.decode("utf-8").split("\n")[:-1]]


def structure_findings(path, strict=True):
    """What the structure checks find wrong: our own, and the external one when there is one."""
    options = ["--strict"] if strict else []
    result = mvtool("check", path, *options)
    if result.returncode != 0:
        return (result.stdout + result.stderr).decode("utf-8")
    if not checker():
        return ""
    result = subprocess.run(["python3", checker(), *options, "--quiet", str(path)], capture_output=True, text=True)
    return "" if result.returncode == 0 else result.stdout + result.stderr


# ---- mdbtools


def exported(path, table):
    """Cells by mdb-export; None for what it calls null."""
    out = subprocess.run(["mdb-export", "-D", "%Y-%m-%dT%H:%M:%S", "-T", "%Y-%m-%dT%H:%M:%S", "-b", "hex", "-0", NULL,
                          str(path), table], check=True, capture_output=True).stdout.decode("utf-8", "replace")
    rows = list(csv.reader(io.StringIO(out, newline="")))
    return rows[0], [[None if cell == NULL else cell for cell in row] for row in rows[1:]]


NO_DATE = "1900-01-00T00:00:00"
IGNORED = "*"


def exported_cell(kind, value):
    """The cell that mdb-export makes of a value, as canonical_cell gives it."""
    if value is None:
        return IGNORED if kind == "Binary" else None
    if kind in ("Text", "Memo"):
        # Texts end at a zero for it, and are null when empty; characters beyond the first plane are question marks.
        return "".join("??" if ord(c) > 0xFFFF else c for c in value.split("\0")[0]) or None
    if kind == "Boolean":
        return "1" if value else "0"
    if kind == "Ole":
        return value.upper()
    if kind == "Binary":
        return IGNORED  # bytes go through its texts
    if kind == "Guid":
        return value.replace("-", "")
    if kind == "DateTime":
        if not isinstance(value, str):  # outside the calendar
            return NO_DATE
        days = (datetime.datetime.fromisoformat(value) - datetime.datetime(1899, 12, 30)).days
        return value if 0 <= days < 1000000 else NO_DATE
    if kind in ("Single", "Double"):
        if isinstance(value, str):
            return {"Infinity": "inf", "-Infinity": "-inf"}.get(value, "nan")
        return "%.8g" % single(value) if kind == "Single" else "%.16g" % value
    return str(value)


def canonical_cell(kind, cell):
    if kind == "Binary":
        return IGNORED
    if cell is not None and kind == "Guid":
        # It leaves one of the hyphens out.
        return bytes.fromhex(cell).decode("ascii").replace("-", "")
    if cell is not None and kind in ("Single", "Double"):
        return cell.replace("-nan", "nan")
    return cell


def export_difference(columns, rows, cells):
    """Rows that only one of mvtool and mdb-export has; nothing when they agree. Their order does not count: mdbtools
    meets rows that have moved to another page there."""
    kinds = [c.kind for c in columns]
    ours = collections.Counter(tuple(map(exported_cell, kinds, row)) for row in rows)
    theirs = collections.Counter(tuple(map(canonical_cell, kinds, row)) for row in cells)
    if ours == theirs:
        return ""
    return f"only mvtool: {list((ours - theirs).elements())[:2]!r:.600}, only mdb-export: " \
           f"{list((theirs - ours).elements())[:2]!r:.600}"


def dump_difference(columns, rows, cells):
    """The first value that the checker reads in another way; nothing when there is none."""
    if len(rows) != len(cells):
        return f"{len(rows)} rows by mvtool, {len(cells)} by the checker"
    for number, (row, other) in enumerate(zip(rows, cells)):
        for column, value, cell in zip(columns, row, other):
            if not is_dumped_as(column.kind, value, cell):
                return f"row {number}, {column.name}: {value!r:.200} is {cell!r:.200} by the checker"
    return ""


def is_dumped_as(kind, value, cell):
    if kind in ("Single", "Double") and value is not None and cell is not None:
        if isinstance(value, str):  # not a number
            return isinstance(cell, str) and cell == {"Infinity": "inf", "-Infinity": "-inf"}.get(value, "nan")
        return exact(kind, value) == exact(kind, cell)
    return value == cell
