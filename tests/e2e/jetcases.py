"""Random tables of a database and random changes of their rows, the same for the same seed."""

import datetime
import math

from .jetmodel import NO_SUCH_ROW, TEXTS, TOO_LONG, Column, Index, Refused, Table, single, units

KINDS = ["Boolean", "Byte", "Integer", "Long", "Currency", "Single", "Double", "DateTime", "Binary", "Text", "Text", "Ole",
         "Memo", "Guid", "Decimal"]
LETTERS = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
MARKS = " -'éÉüÜñç.,_"
WILD = ["中", "Ж", "ж", "\u0101", "\u0100", "\t", "\r\n", "\x07", "😀", "\x00", "“", "ß", "\uffff"]
RANGES = {"Byte": (0, 255), "Integer": (-2**15, 2**15 - 1), "Long": (-2**31, 2**31 - 1)}
# Around the lengths at which a long value changes its form.
MEMO_LENGTHS = [0, 1, 2, 3, 31, 32, 33, 60, 65, 300, 1900, 1907, 1908, 1909, 2100, 3800, 3820, 4080, 5000, 9000]
OLE_LENGTHS = [0, 1, 63, 64, 65, 300, 1000, 3815, 3816, 3817, 4072, 4076, 5000, 8144, 9000]


class Values:
    """Draws values for one column."""

    def __init__(self, rng, column, indexed, narrow):
        self.rng, self.column, self.indexed, self.narrow = rng, column, indexed, narrow
        self.given = False  # always a value, and not null
        self.filled = False  # no empty text

    def draw(self):
        if not self.given and self.column.kind != "Boolean" and self.rng.random() < 0.12:
            return None
        value = getattr(self, "draw_" + self.column.kind.lower())()
        return "x" if self.filled and value == "" else value

    def number(self, limit):
        return self.rng.randint(0, 9) if self.narrow else self.rng.randint(-limit, limit)

    def draw_boolean(self):
        return self.rng.random() < 0.5

    def draw_whole(self):
        low, high = RANGES[self.column.kind]
        if self.column.autonumber:
            return self.rng.randint(-50, 5000)
        if self.narrow:
            return self.rng.randint(0, 5)
        return self.rng.choice([low, high, 0, self.rng.randint(low, high), self.rng.randint(low, high)])

    draw_byte = draw_integer = draw_long = draw_whole

    def draw_currency(self):
        count = self.rng.choice([0, -1, 2**63 - 1, -2**63, self.number(10**9)] if not self.narrow else [self.number(9)])
        sign, count = "-" if count < 0 else "", abs(count)
        return f"{sign}{count // 10000}.{count % 10000:04}"

    def not_a_number(self):
        """Which an index refuses."""
        return 1.5 if self.indexed else "NaN"

    def draw_single(self):
        return self.rng.choice([0.0, -0.0, self.not_a_number(), "Infinity", "-Infinity", single(1e-40), single(3e38),
                                single(self.rng.uniform(-1e5, 1e5)), float(self.number(9))])

    def draw_double(self):
        return self.rng.choice([0.0, -0.0, self.not_a_number(), "Infinity", "-Infinity", 5e-324, 1.7e308, math.pi,
                                self.rng.uniform(-1e9, 1e9), float(self.number(9))])

    def draw_datetime(self):
        if self.narrow:
            return f"2024-05-{self.rng.randint(1, 9):02}T00:00:00"
        start = datetime.datetime(self.rng.choice([100, 1800, 1899, 1900, 1990, 2024, 4000, 9999]), 1, 1)
        time = start + datetime.timedelta(seconds=self.rng.randint(0, 365 * 86400 - 1))
        return time.isoformat()

    def draw_bytes(self, count):
        return self.rng.randbytes(count).hex()

    def draw_binary(self):
        return self.draw_bytes(self.rng.randint(0, min(self.column.size, 2 if self.narrow else 510)))

    def draw_ole(self):
        return self.draw_bytes(self.rng.choice(OLE_LENGTHS))

    def draw_guid(self):
        digits = self.draw_bytes(16).upper() if not self.narrow else "0" * 31 + str(self.rng.randint(0, 9))
        return "{" + "-".join((digits[:8], digits[8:12], digits[12:16], digits[16:20], digits[20:])) + "}"

    def draw_decimal(self):
        digits = self.rng.randint(1, self.column.precision)
        count = self.rng.randrange(10 ** (1 if self.narrow else digits))
        text = str(count).rjust(self.column.scale + 1, "0")
        cut = len(text) - self.column.scale
        text = text[:cut] + ("." + text[cut:] if self.column.scale else "")
        return "-" + text if count and self.rng.random() < 0.5 else text

    def text(self, length):
        """Marks stand near the beginning only: they make index keys longer, which have a limit."""
        if length == 0:
            return ""
        rng = self.rng
        head = "".join(rng.choice(MARKS if rng.random() < 0.15 else LETTERS) for _ in range(min(length, 20)))
        if not self.indexed and rng.random() < 0.3:
            head = "".join(rng.choice(WILD) if rng.random() < 0.3 else c for c in head)
        body = rng.choice(LETTERS) * 7 + "".join(rng.choices(LETTERS, k=min(max(length - 27, 0), 200)))
        text = head + body * ((length - len(head)) // len(body) + 1)
        if not self.indexed and rng.random() < 0.1:
            text = text[:length // 2] + rng.choice(WILD) + text[length // 2:]
        return self.cut(text, length)

    @staticmethod
    def cut(text, length):
        """At most so many UTF-16 units, without half a character at the end."""
        while units(text) > length:
            text = text[:length] if len(text) > length else text[:-1]
        return text

    def draw_text(self):
        if self.narrow:
            return self.rng.choice(["", "a", "A", "b", "b ", "é", "É", "c-d", "cd"])[:self.column.size]
        return self.text(self.rng.choice([self.column.size, self.rng.randint(0, self.column.size)]))

    def draw_memo(self):
        if self.narrow:
            return self.rng.choice(["", "a", "A", "b", "B "])
        return self.text(self.rng.randint(0, 100) if self.indexed else self.rng.choice(MEMO_LENGTHS))


def random_columns(rng):
    columns, room = [], 3400  # bytes of a row, so that no row is too large
    for i in range(rng.randint(1, 14)):
        kind = rng.choice(KINDS)
        column = Column(f"C{i} {kind}", kind, compressed=rng.random() < 0.7)
        if kind == "Text":
            column.size = rng.choice([1, 5, 20, 20, 50, 255])
        if kind == "Binary":
            column.size = rng.choice([1, 8, 9, 100, 510])
        if kind == "Decimal":
            column.precision = rng.randint(1, 28)
            column.scale = rng.randint(0, column.precision)
        room -= {"Text": 2 * column.size + 2, "Binary": column.size + 2, "Memo": 80, "Ole": 80}.get(kind, 17)
        if room < 0:
            break
        columns.append(column)
    if rng.random() < 0.4:
        columns.insert(rng.randint(0, len(columns)), Column("Number", "Long", autonumber=True))
    return columns


def key_length(column):
    """About the most bytes of one column's part of an index key, for the texts drawn here."""
    return {"Text": min(column.size, 255) + 90, "Memo": 190, "Binary": 2 + column.size // 8 * 9 + 9}.get(column.kind, 20)


def random_indexes(rng, columns):
    fit = [c for c in columns if c.kind != "Ole" and key_length(c) < 480]
    indexes = []
    for i in range(rng.randint(0, 4) if fit else 0):
        chosen, length = [], 0
        for column in rng.sample(fit, min(len(fit), rng.choice([1, 1, 1, 2, 2, 3, 5]))):
            if length + key_length(column) < 480:
                length += key_length(column)
                chosen.append((column.name, column.kind != "Decimal" and rng.random() < 0.4))
        index = Index(f"I{i}", chosen, unique=rng.random() < 0.4, required=rng.random() < 0.2,
                      ignore_nulls=rng.random() < 0.3)
        if i == 0 and rng.random() < 0.6:
            index = Index("PrimaryKey", chosen, primary=True, unique=True, required=True)
        indexes.append(index)
    return indexes


def random_table(rng, name):
    columns = random_columns(rng)
    return Table(name, columns, random_indexes(rng, columns))


class Changes:
    """Draws changes of a table, makes them in its model and tells them as lines for `mvtool apply`."""

    def __init__(self, rng, table, leaving_out=0.1):
        """`leaving_out`: how often a new row leaves a column out; the model takes that for null."""
        self.rng, self.table, self.leaving_out = rng, table, leaving_out
        unique = {n for i in table.indexes if i.unique for n, _ in i.columns}
        indexed = {n for i in table.indexes for n, _ in i.columns}
        self.values = {c.name: Values(rng, c, c.name in indexed, c.name not in unique and rng.random() < 0.4)
                       for c in table.columns}
        self.order_known = True  # until a row is added: the model does not know its place

    def batch(self, count, weights):
        """(changes, error): changes to make in order; when `error` is set the table must refuse the last one with it."""
        self.order_known = True
        changes = []
        for _ in range(count):
            change, error = self.change(self.rng.choices(["insert", "update", "delete"], weights)[0])
            if change:
                changes.append(change)
            if error:
                return changes, error
        return changes, None

    def change(self, op):
        rng, table = self.rng, self.table
        if rng.random() < 0.01:
            return self.wrong()
        if op == "insert" or not table.rows:
            row = {n: v.draw() for n, v in self.values.items() if v.given or rng.random() >= self.leaving_out}
            error = self.attempt(lambda: table.insert(row))
            self.order_known = self.order_known and error is not None
            return self.told({"op": "insert", "row": row}, error)
        position, where = self.target(rng.randrange(len(table.rows)))
        if position is None:
            return None, None
        if op == "delete":
            table.delete(position)
            return {"op": "delete", "where": where}, None
        some = rng.sample(table.columns, rng.randint(0, min(4, len(table.columns))))
        values = {c.name: self.values[c.name].draw() for c in some}
        error = self.attempt(lambda: table.update(position, values))
        return self.told({"op": "update", "where": where, "set": values}, error)

    def told(self, change, error):
        """Most changes that are refused are left out, else batches would be short."""
        if error and self.rng.random() < 0.8:
            return None, None
        return change, error

    @staticmethod
    def attempt(action):
        try:
            action()
        except Refused as refused:
            return str(refused)
        return None

    def wrong(self):
        """A change that must fail whatever the table holds."""
        rng, table = self.rng, self.table
        texts = [c for c in table.columns if c.kind == "Text"]
        if texts and rng.random() < 0.5:
            return {"op": "insert", "row": {rng.choice(texts).name: "x" * 256}}, TOO_LONG
        where = {n: v.draw() for n, v in self.values.items()}
        if table.matches(where):
            return None, None
        return {"op": "delete", "where": where}, NO_SUCH_ROW

    def target(self, position):
        """A row and a condition that fits it before any other; nothing when there is none."""
        rng, table = self.rng, self.table
        row = table.rows[position]
        unique = [i for i in table.indexes if i.unique]
        if unique and rng.random() < 0.7:
            names = [n for n, _ in rng.choice(unique).columns]
        elif rng.random() < 0.5:
            names = [c.name for c in rng.sample(table.columns, rng.randint(1, min(3, len(table.columns))))]
        else:
            names = [c.name for c in table.columns]
        where = {n: self.respelt(table.columns[table.at[n]], row[table.at[n]]) for n in names}
        found = table.matches(where)
        if len(found) == 1 or self.order_known:
            return found[0], where
        if len({table.exact_row(table.rows[i]) for i in found}) == 1:
            return found[0], where  # as good as each other
        return None, None

    def respelt(self, column, value):
        """The same value for a search."""
        if not isinstance(value, str) or self.rng.random() < 0.5:
            return value
        if column.kind == "Guid":
            return value.lower()
        # Only letters that are one character in either case.
        return "".join(c.upper() if c.isascii() or c in "éüñç" else c for c in value) if column.kind in TEXTS else value
