"""Table files of the handheld, written and read independently of the program under test.

A value is a Python object: None, bool, int, float, decimal.Decimal (currency), datetime.datetime or str.
"""

import dataclasses
import datetime
import decimal
import struct

BYTE, INTEGER, LONG, SINGLE, TEXT, BOOLEAN, DATE, DOUBLE, CURRENCY = range(1, 10)
MODIFIED, DELETED = 0x40, 0x80
EPOCH = datetime.datetime(1904, 1, 1)
HEADER = struct.Struct(">32sHHIIIIII4s4sIIH")


@dataclasses.dataclass
class Record:
    values: list
    attributes: int = 0
    unique_id: int = 0


def ansi(text):
    """Windows-1252 with the five unassigned bytes as control characters, "?" for what is outside."""
    out = bytearray()
    for c in text:
        if ord(c) in (0x81, 0x8D, 0x8F, 0x90, 0x9D):
            out.append(ord(c))
        else:
            out += c.encode("cp1252", "replace")
    return bytes(out)


def from_ansi(byte):
    try:
        return bytes((byte,)).decode("cp1252")
    except UnicodeDecodeError:
        return chr(byte)


def encode_text(text):
    """ANSI codes from 129 up in two bytes, as if they were Unicode numbers; the handheld expects it so."""
    out = bytearray()
    for code in ansi(text):
        out += bytes((code,)) if code < 129 else bytes((0xC0 | code >> 6, 0x80 | code & 0x3F))
    return bytes(out) + b"\0"


def decode_text(data, at):
    """Only lead bytes C3 to C6 and E1 are decoded, all others are ANSI characters of their own."""
    out = []
    while at < len(data):
        b = data[at]
        if b == 0:
            return "".join(out), at + 1
        if b == 0xE1:
            out.append(chr((b & 15) << 12 | (data[at + 1] & 63) << 6 | data[at + 2] & 63))
            at += 3
        elif 0xC3 <= b <= 0xC6:
            out.append(chr((b & 31) << 6 | data[at + 1] & 63))
            at += 2
        else:
            out.append(from_ansi(b))
            at += 1
    return "".join(out), len(data)


def encode_date(value):
    if value is None:
        return 0
    seconds = (value - EPOCH).total_seconds()
    return int(seconds) & 0xFFFFFFFF


def encode_value(kind, value):
    if kind == TEXT:
        return encode_text(value or "")
    if kind == BYTE:
        return struct.pack(">B", value or 0)
    if kind == BOOLEAN:
        return b"\xff" if value else b"\0"
    if kind == INTEGER:
        return struct.pack(">h", value or 0)
    if kind == LONG:
        return struct.pack(">i", value or 0)
    if kind == SINGLE:
        return struct.pack(">f", value or 0)
    if kind == DOUBLE:
        return struct.pack(">d", value or 0)
    if kind == DATE:
        return struct.pack(">I", encode_date(value))
    if kind == CURRENCY:
        return struct.pack(">q", int((value or decimal.Decimal(0)).scaleb(4)))
    raise ValueError(kind)


def decode_value(kind, data, at):
    if kind == TEXT:
        return decode_text(data, at)
    width = {BYTE: 1, BOOLEAN: 1, INTEGER: 2, LONG: 4, SINGLE: 4, DATE: 4, DOUBLE: 8, CURRENCY: 8}[kind]
    raw = data[at:at + width]
    if kind == BOOLEAN:
        return raw[0] != 0, at + 1
    if kind == DATE:
        return EPOCH + datetime.timedelta(seconds=struct.unpack(">I", raw)[0]), at + 4
    if kind == CURRENCY:
        return decimal.Decimal(struct.unpack(">q", raw)[0]).scaleb(-4), at + 8
    code = {BYTE: ">B", INTEGER: ">h", LONG: ">i", SINGLE: ">f", DOUBLE: ">d"}[kind]
    return struct.unpack(code, raw)[0], at + width


def app_info(fields, table_name=""):
    """The definition block of `fields`, a list of (name, type code)."""
    widths = {BYTE: 1, INTEGER: 2, LONG: 4, SINGLE: 4, TEXT: 1, BOOLEAN: 1, DATE: 4, DOUBLE: 8, CURRENCY: 8}
    names = b"".join(ansi(n) + b"\0" for n, _ in fields)
    title = ansi(table_name) + b"\0"
    size = 300 + 6 * len(fields) + len(title) + len(names)
    block = bytearray(size)
    block[276:284] = b"APPFORG2"
    struct.pack_into(">HHHH", block, 288, size - 277, 6 * len(fields) + 24, len(fields),
                     sum(widths[t] for _, t in fields))
    at = 6 * len(fields) + 24
    block[276 + at:276 + at + len(title)] = title
    at += len(title)
    for i, (name, kind) in enumerate(fields):
        struct.pack_into(">HHH", block, 300 + 6 * i, at, kind, 0)
        raw = ansi(name) + b"\0"
        block[276 + at:276 + at + len(raw)] = raw
        at += len(raw)
    return bytes(block)


def day_word(today):
    """The date word of a header as the program writes it: the day of the month of a date counted from 1904."""
    days = (datetime.datetime(today.year, today.month, today.day) - EPOCH).days
    return (datetime.date(1899, 12, 30) + datetime.timedelta(days=days)).day * 86400


def build(name, fields, records, today, raw_tail=b"\0"):
    """The bytes of a whole table file; records with unique ID 0 are numbered on from the highest."""
    highest = max((r.unique_id for r in records), default=0)
    following = highest + 1
    block = app_info(fields)
    bodies = [b"".join(encode_value(t, v) for (_, t), v in zip(fields, r.values)) for r in records]
    data_at = 78 + 8 * len(records) + len(block) + 2
    entries = bytearray()
    for r, body in zip(records, bodies):
        number = r.unique_id
        if not number:
            number, highest, following = following, highest + 1, following + 1
        entries += struct.pack(">I", data_at) + bytes((r.attributes,)) + struct.pack("<I", number)[:3]
        data_at += len(body)
    word = day_word(today)
    header = HEADER.pack(ansi(name), 0, 1, word, word, 0, 0, 78 + 8 * len(records), 0, b"DATA", b"BRND", highest,
                         following, len(records))
    if not records:
        return header + block
    return header + bytes(entries) + block + b"\0\0" + b"".join(bodies) + raw_tail


def parse(data):
    """(name, fields, records) of a table file."""
    head = HEADER.unpack_from(data)
    name, block_at, count = head[0].rstrip(b"\0").decode("cp1252"), head[7], head[13]
    entries = [(struct.unpack_from(">I", data, 78 + 8 * i)[0], data[82 + 8 * i],
                struct.unpack("<I", data[83 + 8 * i:86 + 8 * i] + b"\0")[0]) for i in range(count)]
    block = data[block_at:entries[0][0] if entries else len(data)]
    if block[276:284] != b"APPFORG2":
        raise ValueError("no field definitions")
    n = struct.unpack_from(">H", block, 292)[0]
    fields = []
    for i in range(n):
        at, kind = struct.unpack_from(">HH", block, 300 + 6 * i)
        end = block.index(b"\0", 276 + at)
        fields.append((block[276 + at:end].decode("cp1252"), kind))
    records = []
    for i, (at, attributes, number) in enumerate(entries):
        body = data[at:entries[i + 1][0] if i + 1 < count else len(data)]
        values, pos = [], 0
        for _, kind in fields:
            value, pos = decode_value(kind, body, pos)
            values.append(value)
        records.append(Record(values, attributes, number))
    return name, fields, records
