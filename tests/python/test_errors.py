"""Wrong arguments end in a TypeError or ValueError naming what was
expected, before anything is converted or written."""

import os
import re
import subprocess
import sys

import numpy as np
import pytest

import kalviro
from conftest import blocks_for

H, W = 6, 8
IMAGE = np.arange(H * W, dtype=np.uint16).reshape(H, W) + 1000


CASES = [
    ("image float32", lambda c, b: c.convert(IMAGE.astype(np.float32), b), TypeError, "uint16"),
    ("image big-endian", lambda c, b: c.convert(IMAGE.astype(">u2"), b), TypeError, "native byte order"),
    ("image list", lambda c, b: c.convert(IMAGE.tolist(), b), TypeError, "numpy array"),
    ("image 1-D", lambda c, b: c.convert(IMAGE.ravel(), b), ValueError, "2-D"),
    ("block short", lambda c, b: c.convert(IMAGE, bytearray(511)), ValueError, "512 bytes"),
    ("block read-only", lambda c, b: c.convert(IMAGE, bytes(b)), TypeError, "writable"),
    ("block uint16", lambda c, b: c.convert(IMAGE, np.zeros(256, np.uint16)), TypeError, "unsigned bytes"),
    ("block strided", lambda c, b: c.convert(IMAGE, np.zeros(1024, np.uint8)[::2]), ValueError, "contiguous"),
    ("block 2-D", lambda c, b: c.convert(IMAGE, np.zeros((2, 256), np.uint8)), ValueError, "one dimension"),
    ("block none", lambda c, b: c.real(1000, None), TypeError, "512 unsigned bytes"),
    ("out float64", lambda c, b: c.convert(IMAGE, b, out=np.empty((H, W))), TypeError, "float32"),
    ("out shape", lambda c, b: c.convert(IMAGE, b, out=np.empty((W, H), np.float32)), ValueError, "(6, 8)"),
    (
        "out strided",
        lambda c, b: c.convert(IMAGE, b, out=np.empty((H, 2 * W), np.float32)[:, ::2]),
        ValueError,
        "C-contiguous",
    ),
    (
        "out read-only",
        lambda c, b: c.convert(IMAGE, b, out=np.frombuffer(bytes(H * W * 4), np.float32).reshape(H, W)),
        ValueError,
        "writable",
    ),
    (
        "out over block",
        lambda c, b: c.convert(IMAGE[:3, :4], b, out=np.frombuffer(b, np.float32)[:12].reshape(3, 4)),
        ValueError,
        "apart from",
    ),
    ("temp not finite", lambda c, b: c.temp2gray(b, float("nan"), 0, 150, 0, 16383), ValueError, "finite"),
    ("frame size", lambda c, b: kalviro.split_frame(bytes(100), W, H), ValueError, "608 bytes"),
    ("frame negative", lambda c, b: kalviro.split_frame(bytes(512), -1, H), ValueError, "1 or more"),
    ("frame empty", lambda c, b: kalviro.split_frame(bytes(512), 0, 0), ValueError, "1 or more"),
    ("frames of no pixel", lambda c, b: kalviro.read_frames(__file__, 0, 0), ValueError, "1 or more"),
    ("frames of no row", lambda c, b: kalviro.read_frames(__file__, 5, 0), ValueError, "1 or more"),
    ("frames of a folder", lambda c, b: kalviro.read_frames(os.path.dirname(__file__), W, H), ValueError, "regular"),
    ("emissivity 95", lambda c, b: c.convert(IMAGE, b, 95), ValueError, "emissivity 95"),
    ("emissivity 0", lambda c, b: c.init(1000, b, 0.0), ValueError, "above 0 and at most 1"),
    ("emissivity negative", lambda c, b: c.once(1000, b, -0.5), ValueError, "emissivity -0.5"),
    ("emissivity nan", lambda c, b: c.real(1000, b, float("nan")), ValueError, "emissivity nan"),
    ("emissivity inf", lambda c, b: c.temp2gray(b, 30, 0, 150, 0, 16383, float("inf")), ValueError, "emissivity"),
    ("emissivity above 1", lambda c, b: c.convert(IMAGE, b, 1.0001), ValueError, "emissivity"),
    (
        "emissivity in a sequence",
        lambda c, b: list(kalviro.Camera(21).convert_sequence([(IMAGE, b)], emissivity=2)),
        ValueError,
        "emissivity 2",
    ),
    ("CalType unknown", lambda c, b: kalviro.Camera(53), ValueError, "53"),
    ("field CalType", lambda c, b: kalviro.block_fields(b, 53), ValueError, "53"),
]


@pytest.mark.parametrize("call, error, expected", [c[1:] for c in CASES], ids=[c[0] for c in CASES])
def test_bad_argument_is_named_and_nothing_is_written(call, error, expected):
    cam = kalviro.Camera(21)
    raw = blocks_for(21)[0]
    block = bytearray(raw)
    with pytest.raises(error, match=re.escape(expected)):
        call(cam, block)
    assert block == raw


def test_sequence_file_of_broken_frames(tmp_path):
    path = tmp_path / "seq.raw"
    frame = W * H * 2 + 512
    path.write_bytes(bytes(2 * frame + 7))
    with pytest.raises(ValueError, match=f"not a whole number of {W} x {H} frames of {frame} bytes"):
        kalviro.read_frames(path, W, H)


def _shrink_after_opening(path, frame):
    os.truncate(path, frame + 100)


def test_a_file_that_shrinks_while_read_raises(tmp_path):
    # Once this killed the interpreter with SIGBUS (the file was mapped).
    path = tmp_path / "seq.raw"
    frame = W * H * 2 + 512
    path.write_bytes(bytes(3 * frame))
    frames = kalviro.read_frames(path, W, H)
    next(frames)
    _shrink_after_opening(path, frame)
    with pytest.raises(OSError, match="shorter than when it was opened"):
        next(frames)
    path.write_bytes(bytes(3 * frame))
    s = kalviro.scan(path, 21, W, H)
    _shrink_after_opening(path, frame)
    with pytest.raises(OSError, match="shorter than when it was opened"):
        s.convert()


def test_import_without_numpy_names_numpy_and_the_interpreter():
    code = "import sys; sys.modules['numpy'] = None; import kalviro"
    run = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, timeout=60)
    assert run.returncode == 1
    last = run.stderr.strip().splitlines()[-1]
    assert last.startswith("ImportError: kalviro needs NumPy") and sys.executable in last, run.stderr
