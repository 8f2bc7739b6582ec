"""A plain model of one database table: what rows it must hold after a list of changes, and which changes it refuses.

Values are what `mvtool show` prints, as JSON gives them: None, bool, int, float ("NaN", "Infinity", "-Infinity" as text),
and text for currency, dates, GUIDs, decimals and bytes.
"""

import dataclasses
import struct

NUMBERS = ("Byte", "Integer", "Long")
FLOATS = ("Single", "Double")
TEXTS = ("Text", "Memo")


@dataclasses.dataclass
class Column:
    name: str
    kind: str
    size: int = 0
    autonumber: bool = False
    precision: int = 18
    scale: int = 0
    compressed: bool = True
    filled: bool = False  # texts are filled with blanks to their full length

    def design(self):
        out = {"name": self.name, "type": self.kind}
        if self.kind in ("Text", "Binary"):
            out["size"] = self.size
        if self.kind in TEXTS:
            out["compressed"] = self.compressed
        if self.autonumber:
            out["autonumber"] = True
        if self.kind == "Decimal":
            out.update(precision=self.precision, scale=self.scale)
        return out

    @staticmethod
    def of(design):
        return Column(design["name"], design["type"], design.get("size", 0), design.get("autonumber", False),
                      design.get("precision", 18), design.get("scale", 0), design.get("compressed", True))


@dataclasses.dataclass
class Index:
    name: str
    columns: list  # (name, descending)
    primary: bool = False
    unique: bool = False
    required: bool = False
    ignore_nulls: bool = False

    def design(self):
        columns = [{"name": n, "descending": True} if down else n for n, down in self.columns]
        out = {"name": self.name, "columns": columns}
        for flag, is_set in (("primary", self.primary), ("unique", self.unique), ("required", self.required),
                             ("ignoreNulls", self.ignore_nulls)):
            if is_set:
                out[flag] = True
        return out

    @staticmethod
    def of(design):
        columns = [(c, False) if isinstance(c, str) else (c["name"], c.get("descending", False))
                   for c in design["columns"]]
        primary = design.get("primary", False)
        return Index(design["name"], columns, primary, design.get("unique", primary), design.get("required", primary),
                     design.get("ignoreNulls", False))


def single(number):
    return struct.unpack("<f", struct.pack("<f", number))[0]


def exact(kind, value):
    """A form that is equal for equal values only, bit by bit for floating-point numbers, and can be a key."""
    if kind == "Boolean" or value is None:
        return value
    if kind == "Double":
        return struct.pack("<d", float(value)).hex() if not isinstance(value, str) else value
    if kind == "Single":
        return struct.pack("<f", float(value)).hex() if not isinstance(value, str) else value
    return value


def searched(kind, value):
    """A form that is equal for values that a search takes for equal: case does not count."""
    return value.lower() if isinstance(value, str) and kind in TEXTS + ("Guid",) else exact(kind, value)


def keyed(kind, value):
    """A form that is equal for values of one index key: neither case nor blanks at the end of a text count."""
    return value.lower().rstrip(" ") if isinstance(value, str) and kind in TEXTS else searched(kind, value)


class Refused(Exception):
    """The table must refuse the change, saying this."""


DUPLICATE = "would create duplicate values in the index, primary key, or relationship"
NULL_KEY = "Index or primary key cannot contain a Null value."
TOO_LONG = "The field is too small to accept the amount of data you attempted to add."
NO_SUCH_ROW = "no row fits \"where\""
NO_KEY = "whose place in the sort order is not known"


def units(text):
    return len(text.encode("utf-16-le", "surrogatepass")) // 2


class Table:
    """Rows as lists, in the order in which they are stored as far as it is known: new ones stand at the end."""

    def __init__(self, name, columns, indexes):
        self.name, self.columns, self.indexes = name, columns, indexes
        self.rows = []
        self.last_number = 0
        self.at = {c.name: i for i, c in enumerate(columns)}
        self.keys = [{} for _ in indexes]  # per index: key -> number of rows that have it

    def design(self):
        return {"name": self.name, "columns": [c.design() for c in self.columns],
                "indexes": [i.design() for i in self.indexes]}

    def exact_row(self, row):
        return tuple(exact(c.kind, v) for c, v in zip(self.columns, row))

    def take_order(self, rows):
        """The rows as they were read; the same ones as here, which the caller has made sure of."""
        self.rows = [list(r) for r in rows]

    # ---- indexes

    def key_of(self, index, row):
        return tuple(keyed(self.columns[self.at[n]].kind, row[self.at[n]]) for n, _ in index.columns)

    def check_keys(self, row, old):
        for index, keys in zip(self.indexes, self.keys):
            for name, _ in index.columns:
                value = row[self.at[name]]
                if isinstance(value, str) and self.columns[self.at[name]].kind in TEXTS and units(value) != len(value):
                    raise Refused(NO_KEY)
            key = self.key_of(index, row)
            if old is not None and self.key_of(index, old) == key:
                continue
            if (index.required or index.primary) and None in key:
                raise Refused(NULL_KEY)
            if index.unique and keys.get(key) and any(part is not None for part in key):
                raise Refused(DUPLICATE)

    def count_keys(self, row, difference):
        for index, keys in zip(self.indexes, self.keys):
            key = self.key_of(index, row)
            count = keys.get(key, 0) + difference
            if count:
                keys[key] = count
            else:
                keys.pop(key, None)

    # ---- changes

    def stored(self, column, value):
        if value is None:
            return False if column.kind == "Boolean" else None
        if column.kind == "Text":
            if units(value) > column.size:
                raise Refused(TOO_LONG)
            if column.filled:
                return value + " " * (column.size - units(value))
        if column.kind == "Binary" and len(value) > 2 * column.size:
            raise Refused(TOO_LONG)
        return value

    def note_number(self, column, value):
        if column.autonumber and value is not None:
            self.last_number = max(self.last_number, value)

    def insert(self, values):
        """values: by column name."""
        row = []
        for column in self.columns:
            value = self.stored(column, values.get(column.name))
            if column.autonumber and value is None:
                value = self.last_number + 1
            row.append(value)
        self.check_keys(row, None)
        self.add(row)

    def add(self, row):
        self.count_keys(row, 1)
        for column, value in zip(self.columns, row):
            self.note_number(column, value)
        self.rows.append(row)

    def update(self, position, values):
        old = self.rows[position]
        row = list(old)
        for name, value in values.items():
            row[self.at[name]] = self.stored(self.columns[self.at[name]], value)
        self.check_keys(row, old)
        self.count_keys(old, -1)
        self.count_keys(row, 1)
        for name in values:
            self.note_number(self.columns[self.at[name]], row[self.at[name]])
        self.rows[position] = row

    def delete(self, position):
        self.count_keys(self.rows[position], -1)
        del self.rows[position]

    def make(self, change):
        """A change as `mvtool apply` reads it."""
        if change["op"] == "insert":
            self.insert(change["row"])
        elif change["op"] == "update":
            self.update(self.matches(change["where"])[0], change["set"])
        else:
            self.delete(self.matches(change["where"])[0])

    def copy(self):
        other = Table(self.name, self.columns, self.indexes)
        other.rows = [list(row) for row in self.rows]
        other.last_number = self.last_number
        other.keys = [dict(keys) for keys in self.keys]
        return other

    # ---- searching

    def matches(self, where):
        """Positions of the rows that fit, in order."""
        wanted = [(self.at[n], self.columns[self.at[n]].kind) for n in where]
        values = [searched(kind, self.stored_alike(n, where[n])) for n, (_, kind) in zip(where, wanted)]
        return [i for i, row in enumerate(self.rows)
                if all(searched(kind, row[at]) == value for (at, kind), value in zip(wanted, values))]

    def stored_alike(self, name, value):
        """A value to search for is taken as the column would store it."""
        column = self.columns[self.at[name]]
        if column.filled and isinstance(value, str):
            return value + " " * (column.size - units(value))
        return value
