"""Test material: realistic blocks from the reference vectors, and the C
entries of the shared library to compare with."""

import ctypes
import functools
import os
import pathlib

import pytest

import kalviro

SOURCE_DIR = pathlib.Path(__file__).resolve().parents[2]
VECTOR_DIR = pathlib.Path(os.environ.get("KALVIRO_VECTOR_DIR", SOURCE_DIR / "tests" / "vectors"))


@functools.lru_cache(maxsize=None)
def _vector_blocks() -> dict:
    """The blocks of the first sequence of each CalType in the vectors."""
    blocks, seen, current = {}, set(), None
    for path in sorted(VECTOR_DIR.glob("*.txt")):
        for line in path.read_text().splitlines():
            if line.startswith("SEQ "):
                current = int(line.split()[1])
                current = None if current in seen else current
                if current is not None:
                    seen.add(current)
            elif line.startswith("FRAME ") and current is not None:
                blocks.setdefault(current, []).append(bytes.fromhex(line.split()[1]))
    return blocks


def blocks_for(caltype: int, count: int = 4) -> list:
    """Blocks written for this CalType, else for one of the same layout."""
    layout = {c.caltype: c.layout for c in kalviro.caltypes()}
    blocks = _vector_blocks()
    source = caltype if caltype in blocks else next(c for c in blocks if layout[c] == layout[caltype])
    return blocks[source][:count]


@pytest.fixture(scope="session")
def clib():
    path = os.environ.get("KALVIRO_LIBRARY")
    if not path:
        pytest.skip("KALVIRO_LIBRARY names no shared library (CTest sets it)")
    lib = ctypes.CDLL(path)
    for name in ("KALVIRO_Gray2Temp_Init", "KALVIRO_Gray2Temp_Real"):
        fn = getattr(lib, name)
        fn.argtypes = [ctypes.c_int32, ctypes.c_int32, ctypes.c_char_p, ctypes.c_float, ctypes.c_float]
        fn.restype = ctypes.c_float
    lib.KALVIRO_GetIT.argtypes = [ctypes.c_int32, ctypes.c_char_p]
    lib.KALVIRO_GetIT.restype = ctypes.c_double
    return lib
