"""block_fields reads each field where the C header lays it, in the unit it
names."""

import re

import pytest

import kalviro
from kalviro import _fields
from conftest import SOURCE_DIR, blocks_for


def test_offsets_are_the_headers_and_fields_do_not_overlap():
    header = (SOURCE_DIR / "include" / "kalviro.h").read_text()
    checked = {
        name: int(offset, 16)
        for name, offset in re.findall(r"offsetof\(TempFrameInfo, (\w+)\) == (0x[0-9a-f]+)", header)
    }
    table = {name: offset for name, offset, *_ in _fields.TABLE}
    assert {name: table[name] for name in checked} == checked
    for layout in ("base", "long"):
        rows = _fields.rows_of(layout)
        for (name, offset, fmt, *_), following in zip(rows, rows[1:] + (("end", 512),)):
            end = offset + _fields.struct.calcsize(fmt)
            assert end <= following[1], f"{layout}: {name} runs into {following[0]}"


@pytest.mark.parametrize("caltype", [21, 54])
def test_fields_agree_with_the_temp_para_record(caltype):
    raw = blocks_for(caltype)[0]
    fields = kalviro.block_fields(raw, caltype)
    para = kalviro.Camera(caltype).temp_para(raw)
    assert set(fields) <= set(kalviro.FIELD_UNITS)
    for name in ("lensType", "paraA", "paraB", "humidity"):
        assert fields[name] == para[name], name
    assert fields["distance"] == para["distance"] / 100
    if caltype == 54:
        assert fields["envTempLong"] == para["envTemp"] / 100
        assert fields["paraBlob"] == para["paraBlob"]
    else:
        assert fields["envTemp"] == para["envTemp"] / 100
