"""What a sync run must do, as a model over plain rows."""

import decimal

from . import pdbfile
from .world import JET_TYPES

SYNCHRONIZE, OVERWRITE_PDA, OVERWRITE_PC = 0, 1, 2


def device_value(kind, value):
    """A desktop value as the handheld holds it: null is the type's zero."""
    if value is not None:
        return value
    return {"Text": "", "Memo": "", "Boolean": False, "Currency": decimal.Decimal(0), "DateTime": None}.get(kind, 0)


def merged(mode, key, columns, desktop, device):
    """(desktop rows after the run, records of the result file). `desktop`: rows in physical order; `device`: Records
    whose values are as the handheld's file reads back. Rows are lists."""
    at = [n for n, _, _ in columns].index(key)
    fold = lambda v: ("" if v is None else v).casefold()
    device = [] if mode == OVERWRITE_PDA else list(device)
    index = {}
    for i, r in enumerate(device):
        index.setdefault(fold(r.values[at]), []).append(i)
    gone = set()
    kept, output = [], []
    for row in desktop:
        found = next((i for i in index.get(fold(row[at]), []) if i not in gone), None)
        if found is None:
            kept.append(row)
            output.append(row)
            continue
        record = device[found]
        if record.attributes & pdbfile.DELETED:
            continue
        if record.attributes & pdbfile.MODIFIED:
            output.append(record.values)
            kept.append(record.values)
        else:
            output.append(row)
            kept.append(row)
        gone.add(found)
    for i, record in enumerate(device):
        if i in gone or record.attributes & pdbfile.DELETED:
            continue
        if record.attributes & pdbfile.MODIFIED or mode == OVERWRITE_PC:
            kept.append(record.values)
            output.append(record.values)
    records = [pdbfile.Record([device_value(t, v) for (_, t, _), v in zip(columns, row)]) for row in output]
    return kept, records


def fields_of(columns):
    return [(n, JET_TYPES[t]) for n, t, _ in columns]
