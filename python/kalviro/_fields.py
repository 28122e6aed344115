"""The parameter block's fields: one row each, in the order of the block."""

import struct

# Unit words: degrees and metres are converted from the block's hundredths;
# every other field is given as the block holds it, in the unit named.
DEG = "degrees"
M = "metres"
PCT = "percent"
GRAY = "gray"

# name, offset, struct format (little-endian), unit, divisor (None: as stored)
FIELDS = (
    ("grayCurve", 0x000, "<12f", GRAY, None),
    ("warmDiffLow", 0x030, "<f", DEG, None),
    ("warmDiffHigh", 0x034, "<f", DEG, None),
    ("itRefTemp", 0x03C, "<f", DEG, None),
    ("itSlope", 0x040, "<f", "", None),
    ("shutterQuad", 0x044, "<f", "gray per degree squared", None),
    ("shutterLin", 0x048, "<f", "gray per degree", None),
    ("tempBinGain", 0x04C, "<15f", "factor", None),
    ("grayOffset", 0x088, "<f", GRAY, None),
    ("warmDivisor", 0x090, "<f", "", None),
    ("grayCurveExt", 0x094, "<2f", GRAY, None),
    ("driftGain", 0x09C, "<f", "factor", None),
    ("curveBias", 0x0A4, "<f", "", None),
    ("warmGain", 0x0C8, "<f", "", None),
    ("shutterCH5", 0x0CC, "<f", DEG, None),
    ("tempRange", 0x0D0, "<i", "code", None),
    ("lensType", 0x0D4, "<i", "code", None),
    ("upTime", 0x0D8, "<i", "count", None),
    ("tempCH1", 0x0DC, "<i", DEG, 100),
    ("tempCH3", 0x0E0, "<i", DEG, 100),
    ("tempCH2", 0x0E4, "<i", DEG, 100),
    ("tempCH4", 0x0E8, "<i", DEG, 100),
    ("tempCH5", 0x0EC, "<i", DEG, 100),
    ("distance", 0x0F0, "<i", M, 100),
    ("shutterDrift", 0x0F4, "<i", GRAY, None),
    ("tempGain", 0x0F8, "<i", PCT, None),
    ("atmA", 0x0FC, "<i", "1/100", None),
    ("atmB", 0x100, "<i", "1/1000", None),
    ("humidity", 0x104, "<i", PCT, None),
    ("tempOffset", 0x108, "<i", DEG, 100),
    ("grayBias", 0x10C, "<i", GRAY, None),
    ("paraA", 0x110, "<i", "", None),
    ("paraB", 0x114, "<i", "", None),
    ("grayRef", 0x118, "<i", GRAY, None),
    ("shutterCH2", 0x11C, "<f", DEG, None),
    ("shutterCH3", 0x120, "<f", DEG, None),
    ("driftScale", 0x124, "<i", "1/100", None),
    ("warmShift", 0x128, "<f", GRAY, None),
    ("warmHold", 0x12C, "<i", "flag", None),
    ("windowTrans", 0x130, "<i", PCT, None),
    ("driftGainExt", 0x144, "<i", "1/100", None),
    ("auxGate", 0x148, "<i", "1/100", None),
    ("paraBlob", 0x188, "81s", "", None),
)

# The two words whose meaning depends on the layout of the CalType.
LAYOUT_FIELDS = {
    "base": (
        ("envTemp", 0x134, "<i", DEG, 100),
        ("bodyTemp", 0x138, "<i", DEG, None),  # whole degrees
    ),
    "long": (
        ("windowTransLong", 0x134, "<i", PCT, None),
        ("envTempLong", 0x138, "<i", DEG, 100),
    ),
}

FIELD_UNITS = {row[0]: row[3] for rows in (FIELDS, *LAYOUT_FIELDS.values()) for row in rows}


def read_fields(raw: bytes, layout: str) -> dict:
    rows = sorted(FIELDS + LAYOUT_FIELDS[layout], key=lambda row: row[1])
    fields = {}
    for name, offset, fmt, _, divisor in rows:
        values = struct.unpack_from(fmt, raw, offset)
        if fmt == "81s":
            fields[name] = values[0]
        elif len(values) > 1:
            fields[name] = list(values)
        else:
            fields[name] = values[0] / divisor if divisor else values[0]
    return fields
