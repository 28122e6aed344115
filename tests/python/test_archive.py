"""The gray-value archive written by the command reads as the raw file it
came from: the same images and blocks, the same temperatures."""

import os
import pickle
import subprocess

import numpy as np
import pytest

import kalviro

CLI = os.environ.get("KALVIRO_CLI")
pytestmark = pytest.mark.skipif(not CLI, reason="KALVIRO_CLI names the built command")


@pytest.fixture(scope="module")
def files(tmp_path_factory):
    d = tmp_path_factory.mktemp("archive")

    def run(*args):
        subprocess.run([CLI, *args], cwd=d, check=True, capture_output=True)

    # CalType 50 carries state from frame to frame.
    synth = ["synth", "--caltype", "50", "--size", "160x120", "--frames", "3", "--scene", "person"]
    run(*synth, "-o", "rec.raw")
    run("convert", "rec.raw", "--caltype", "50", "-o", "rec.tiff", "--counts", "-q")
    run("convert", "rec.raw", "--caltype", "50", "-o", "temps.tiff", "-q")
    return d


def test_frames_and_temperatures_equal_the_raw_files(files):
    raw = list(kalviro.read_frames(files / "rec.raw", 160, 120))
    archive = list(kalviro.read_frames(files / "rec.tiff"))
    assert len(archive) == len(raw) == 3
    for (image, block), (image_a, block_a) in zip(raw, archive):
        assert image_a.dtype == np.uint16 and image_a.shape == (120, 160)
        assert np.array_equal(image_a, image)
        assert block_a == block
    temps = kalviro.Camera(50).convert_sequence(str(files / "rec.raw"), 160, 120, emissivity=0.93)
    temps_a = kalviro.Camera(50).convert_sequence(str(files / "rec.tiff"), emissivity=0.93)
    for t, t_a in zip(temps, temps_a):
        assert t.tobytes() == t_a.tobytes()


def test_frames_read_in_any_order_equal_those_read_in_order(files, tmp_path):
    from kalviro._recording import open_recording

    ordered = list(kalviro.read_frames(files / "rec.tiff"))
    rec = open_recording(files / "rec.tiff")
    for reader in (rec, pickle.loads(pickle.dumps(rec))):
        for k in (2, 0, 1, 1):
            assert np.array_equal(reader.rows(k), ordered[k][0])
            assert np.array_equal(reader.rows(k, 30, 31), ordered[k][0][30:31])
            assert reader.first_gray(k) == ordered[k][0][0, 0] and reader.block(k) == ordered[k][1]
        reader.close()
    # Cut after opening: a copy opened again with the frames it had fails.
    cut = tmp_path / "cut.tiff"
    data = (files / "rec.tiff").read_bytes()
    cut.write_bytes(data)
    rec = open_recording(cut)
    cut.write_bytes(data[:200])
    with pytest.raises(OSError):
        pickle.loads(pickle.dumps(rec)).rows(2)


@pytest.mark.parametrize(
    "name, width, height, error",
    [
        ("temps.tiff", None, None, ValueError),  # temperatures, no blocks
        ("rec.tiff", 320, 240, ValueError),  # another size than the file's
        ("rec.raw", None, None, TypeError),  # a raw file needs its size
        ("cut.tiff", None, None, ValueError),  # cut short
    ],
)
def test_refused(files, name, width, height, error):
    data = (files / "rec.tiff").read_bytes()
    (files / "cut.tiff").write_bytes(data[: len(data) // 2])
    with pytest.raises(error):
        for _ in kalviro.read_frames(files / name, width, height):
            pass


def _hostile(path, pages):
    """A TIFF of (image, block bytes or None) pages, written by tifffile."""
    import tifffile

    with tifffile.TiffWriter(path) as w:
        for image, block in pages:
            tags = [] if block is None else [(65432, 7, len(block), block, True)]
            w.write(image, extratags=tags, contiguous=False)


_BLOCK = bytes(range(256)) * 2
_GRAY = np.full((12, 16), 8000, np.uint16)


@pytest.mark.parametrize(
    "pages",
    [
        [(_GRAY.astype(np.uint8), _BLOCK)],  # 8-bit pages
        [(_GRAY, _BLOCK), (_GRAY[:6], _BLOCK)],  # a page of another size
        [(_GRAY, _BLOCK[:100])],  # a block of 100 bytes
        [(_GRAY, _BLOCK), (_GRAY, None)],  # a page without its block
        [(np.stack([_GRAY] * 3, axis=-1), _BLOCK)],  # three samples a pixel
    ],
    ids=["8-bit", "sizes differ", "short block", "page without block", "RGB"],
)
def test_hostile_archives_fail_in_the_package_and_the_command(tmp_path, pages):
    _hostile(tmp_path / "bad.tiff", pages)
    with pytest.raises(ValueError):
        list(kalviro.read_frames(tmp_path / "bad.tiff"))
    r = subprocess.run(
        # info reads the first frame only: the whole file is checked first.
        [CLI, "info", "bad.tiff", "--caltype", "21"], cwd=tmp_path, capture_output=True, text=True
    )
    assert r.returncode != 0
    assert r.stderr.count("\n") == 1 and r.stderr.startswith("kalviro: "), r.stderr
    assert sorted(p.name for p in tmp_path.iterdir()) == ["bad.tiff"]
