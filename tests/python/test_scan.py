"""kalviro.scan: the camera's state before every K-th frame from the blocks
alone; any chunk then converts on its own to the sequential bits."""

import os

import numpy as np
import pytest

import kalviro
from recordings import H, W, bits, sequential, write_recording


@pytest.mark.parametrize("caltype", [12, 21, 22, 60, 110, 121])
@pytest.mark.parametrize("every", [1, 3, 5, 64])
def test_scanned_chunks_convert_to_the_sequential_bits(tmp_path, caltype, every):
    path = write_recording(tmp_path / "rec.raw", caltype, frames=13)
    want = sequential(path, caltype, 0.85)
    s = kalviro.scan(path, caltype, W, H, emissivity=0.85, every=every)
    assert s.frames == 13 and len(s.states) == 13 // every + 1
    for start, stop, step in [(0, 13, 1), (4, 9, 1), (12, 13, 1), (1, 13, 4), (6, 6, 1)]:
        assert np.array_equal(bits(s.convert(start, stop, step)), want[start:stop:step]), (start, stop, step)
    assert np.array_equal(bits(s.convert(2, 7, rows=slice(1, 4))), want[2:7, 1:4])
    # A camera taken from the scan continues as the sequential one.
    cam = s.camera(7)
    rest = [cam.convert(image, block, 0.85) for image, block in list(kalviro.read_frames(path, W, H))[7:]]
    assert np.array_equal(bits(np.stack(rest)), want[7:])


def test_a_scan_travels(tmp_path):
    import pickle

    path = write_recording(tmp_path / "rec.raw", 22, frames=9)
    s = pickle.loads(pickle.dumps(kalviro.scan(path, 22, W, H, every=2)))
    assert np.array_equal(bits(s.convert(3, 9)), sequential(path, 22)[3:9])


SCAN_ERRORS = [
    ("every 0", dict(every=0), ValueError, "every"),
    ("emissivity", dict(emissivity=95), ValueError, "emissivity 95"),
    ("width 0", dict(width=0), ValueError, "1 or more"),
    ("CalType", dict(caltype=53), ValueError, "53"),
    ("size", dict(width=W + 1), ValueError, "not a whole number"),
    ("missing", dict(path="nowhere.raw"), FileNotFoundError, "nowhere.raw"),
    ("folder", dict(path="."), ValueError, "not a regular file"),
    ("fifo", dict(path="fifo"), ValueError, "not a regular file"),
]


@pytest.mark.parametrize("kwargs, error, expected", [e[1:] for e in SCAN_ERRORS], ids=[e[0] for e in SCAN_ERRORS])
def test_scan_refuses(tmp_path, kwargs, error, expected):
    args = dict(path=write_recording(tmp_path / "rec.raw", 21, frames=2), caltype=21, width=W, height=H)
    args.update(kwargs)
    if args["path"] == "fifo":
        os.mkfifo(tmp_path / "fifo")
        args["path"] = tmp_path / "fifo"
    with pytest.raises(error, match=expected):
        kalviro.scan(**args)
