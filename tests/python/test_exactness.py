"""Temperatures from Python are those of the C per-pixel call, bit for bit,
whatever the image's memory looks like."""

import ctypes

import numpy as np
import pytest

import kalviro
from conftest import blocks_for

# Direct members of both layouts and of four and five ranges; ladder members
# of both layouts.
CALTYPES = [21, 20, 54, 12, 81, 130, 111]
EMISSIVITIES = [1.0, 0.95, 0.5, 0.123]


def scene(rng):
    """32 x 48 grays: a sweep of the 14-bit scale, the ends of the 16-bit
    one, and repeats, shuffled."""
    grays = np.concatenate(
        [np.linspace(0, 16383, 1000).astype(np.uint16), [0, 1, 32768, 65535], rng.integers(0, 65536, 532)]
    ).astype(np.uint16)
    rng.shuffle(grays)
    return grays.reshape(32, 48)


def unaligned(image):
    raw = np.zeros(image.size * 2 + 1, np.uint8)[1:]
    view = raw.view(np.uint16).reshape(image.shape)
    view[...] = image
    return view


# Frame by frame: C-ordered, reversed and strided, Fortran-ordered, and
# unaligned into the caller's out.
LAYOUTS = [
    lambda img: img,
    lambda img: img[::-1, ::2],
    np.asfortranarray,
    unaligned,
]


def bits(a):
    return np.asarray(a, np.float32).view(np.uint32)


@pytest.mark.parametrize("caltype", CALTYPES)
def test_frames_match_the_c_per_pixel_call(caltype, clib):
    info = next(c for c in kalviro.caltypes() if c.caltype == caltype)
    rng = np.random.default_rng(caltype)
    cam = kalviro.Camera(caltype)
    for n, (raw, e, layout) in enumerate(zip(blocks_for(caltype), EMISSIVITIES, LAYOUTS)):
        image = layout(scene(rng))
        py_block = bytearray(raw)
        c_block = ctypes.create_string_buffer(raw, len(raw))
        out = np.empty(image.shape, np.float32) if n == 3 else None
        got = cam.convert(image, py_block, emissivity=e, out=out, threads=1 + n % 2)

        clib.KALVIRO_Gray2Temp_Init(caltype, int(image[0, 0]), c_block, e, 0.0)
        want = [clib.KALVIRO_Gray2Temp_Real(caltype, int(g), c_block, e, 0.0) for g in image.flat]

        assert got is out or out is None
        assert np.array_equal(bits(got), bits(want).reshape(image.shape)), f"frame {n}"
        assert bytes(py_block) == c_block.raw, f"frame {n}: block written back differently"
        scalar = [cam.real(int(g), py_block, e) for g in image.flat[:16]]
        assert np.array_equal(bits(scalar), bits(want[:16])), f"frame {n}: Camera.real"
        if info.has_get_it:
            assert cam.get_it(py_block) == clib.KALVIRO_GetIT(caltype, c_block)
        else:
            assert cam.get_it(py_block) is None
