"""Random tables, desktop rows and handheld records, the same for the same seed."""

import datetime
import decimal
import struct

from . import merge, pdbfile
from .world import JET_TYPES, KEYS, SILENT_TABLES

PIECES = ["Oil", "filter", "brake pads", "Séjour", "naïve", "Zürich", "co-op", "O'Brien", "résumé", "ß", "Ærø", "20W-50",
          "tank full", "señor", "x", "A&B", "50% off", "line\r\nbreak", "tab\there", "\"quoted\"", "comma, semicolon;"]


def single(x):
    return struct.unpack("<f", struct.pack("<f", x))[0]


def text(rng, limit, desktop):
    out = " ".join(rng.choice(PIECES) for _ in range(rng.randint(0, 6)))[:limit].strip()
    # Only what the handheld's coding gives back unchanged, and no lone line end where the CSV reader would fold it.
    return out if desktop else out.replace("\r\n", " ").replace("\t", " ")


def value(rng, kind, size, nullable):
    if nullable and rng.random() < 0.15 and kind != "Boolean":
        return None
    if kind == "Text":
        return text(rng, size, False) or None
    if kind == "Memo":
        length = rng.choice([0, 5, 40, 70, 500, 1900, 2100, 5000])
        return (text(rng, 60, False) * (length // 20 + 1))[:length].strip() or None
    if kind == "Boolean":
        return rng.random() < 0.5
    if kind == "Byte":
        return rng.randint(0, 255)
    if kind == "Integer":
        return rng.choice([0, -1, 32767, -32768, rng.randint(-999, 999)])
    if kind == "Long":
        return rng.choice([0, -1, 2**31 - 1, -2**31, rng.randint(-10**6, 10**6)])
    if kind == "Single":
        # Few digits: mdbtools prints six of them.
        return single(rng.choice([0.0, -1.5, 1e10, rng.randint(-799, 799) / 8]))
    if kind == "Double":
        return rng.choice([0.0, -2.25, 1e100, round(rng.uniform(-1e6, 1e6), 3)])
    if kind == "Currency":
        return decimal.Decimal(rng.choice([0, -1, 10**9, rng.randint(-10**8, 10**8)])).scaleb(-4)
    if kind == "DateTime":
        return datetime.datetime(1904, 1, 1) + datetime.timedelta(seconds=rng.randint(0, 4_200_000_000))
    raise ValueError(kind)


def columns(rng, table):
    kinds = list(JET_TYPES)
    result = [(KEYS[table], "Text", 20)]
    for i in range(rng.randint(1, 9)):
        kind = rng.choice(kinds)
        result.append((f"F{i}_{kind.upper()}", kind, rng.choice([10, 40, 80]) if kind == "Text" else 0))
    if rng.random() < 0.3:
        result[0], result[-1] = result[-1], result[0]
    return result


def key_text(rng, number):
    return rng.choice(["K%05d", "k%05d", "Key %d", "É%d", "%d"]) % number


def table_case(rng, table, most=30):
    """(columns, desktop rows, handheld records as the handheld's file reads back)."""
    cols = columns(rng, table)
    at = [n for n, _, _ in cols].index(KEYS[table])
    fields = merge.fields_of(cols)

    def row(key):
        return [key if i == at else value(rng, t, s, True) for i, (_, t, s) in enumerate(cols)]

    keys = [key_text(rng, n) for n in rng.sample(range(10 * most), rng.randint(0, most))]
    unique = {k.casefold(): k for k in keys}
    keys = list(unique.values())
    desktop = [row(k) for k in keys if rng.random() < 0.8]
    records = []
    for k in keys:
        if rng.random() < 0.8:
            flags = rng.choice([0, 0, pdbfile.MODIFIED, pdbfile.MODIFIED, pdbfile.DELETED,
                                pdbfile.DELETED | pdbfile.MODIFIED]) | rng.choice([0, 0, 0, 5, 0x10])
            key = k.swapcase() if rng.random() < 0.2 else k
            records.append(pdbfile.Record(row(key), flags, rng.choice([0, rng.randint(1, 0xFFFFFF)])))
    rng.shuffle(records)
    if records:
        data = pdbfile.build(table, fields, records, datetime.date(2024, 5, 17))
        records = [pdbfile.Record(b.values, a.attributes, a.unique_id)
                   for a, b in zip(records, pdbfile.parse(data)[2])]
    return cols, desktop, records


def world_case(rng, most=30):
    return {t: table_case(rng, t, most) for t in SILENT_TABLES}
