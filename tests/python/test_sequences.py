"""Raw sequence files: frames come back in order, converted as frame by
frame through one camera, and the file stays as it was."""

import numpy as np

import kalviro
from conftest import blocks_for

H, W = 6, 8


def test_a_sequence_file_converts_in_order(tmp_path):
    rng = np.random.default_rng(7)
    frames = [(rng.integers(0, 16384, (H, W)).astype(np.uint16), raw) for raw in blocks_for(21, 3)]
    path = tmp_path / "seq.raw"
    path.write_bytes(b"".join(image.astype("<u2").tobytes() + raw for image, raw in frames))
    before = path.read_bytes()

    read = list(kalviro.read_frames(path, W, H))
    assert len(read) == len(frames)
    for (image, block), (want_image, want_block) in zip(read, frames):
        assert np.array_equal(image, want_image) and block == want_block

    one = kalviro.Camera(21)
    want = [one.convert(image, bytearray(raw), 0.9) for image, raw in frames]
    from_file = list(kalviro.Camera(21).convert_sequence(path, W, H, emissivity=0.9))
    split = (kalviro.split_frame(bytearray(image.tobytes() + raw), W, H) for image, raw in frames)
    from_buffers = list(kalviro.Camera(21).convert_sequence(split, emissivity=0.9))
    for got in (from_file, from_buffers):
        assert len(got) == len(want)
        assert all(np.array_equal(g.view(np.uint32), w.view(np.uint32)) for g, w in zip(got, want))
    assert path.read_bytes() == before

    path.write_bytes(b"")
    assert list(kalviro.read_frames(path, W, H)) == []
