"""The parameter block's fields, from the library's own table: the same names
and units as the command-line tool's `info`."""

import struct

from . import _kalviro

# name, offset, struct format (little-endian), divisor, unit, layouts
TABLE = tuple(_kalviro._block_field_table())

FIELD_UNITS = {name: unit for name, _, _, _, unit, _ in TABLE}


def rows_of(layout: str) -> tuple:
    """The fields of the "base" or "long" layout, in the order of the block."""
    return tuple(row for row in TABLE if row[5] in ("both", layout))


def read_fields(raw: bytes, layout: str) -> dict:
    fields = {}
    for name, offset, fmt, divisor, _, _ in rows_of(layout):
        values = struct.unpack_from(fmt, raw, offset)
        if fmt.endswith("s"):
            fields[name] = values[0]
        elif len(values) > 1:
            fields[name] = list(values)
        else:
            fields[name] = values[0] / divisor if divisor != 1 else values[0]
    return fields
