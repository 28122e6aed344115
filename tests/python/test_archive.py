"""The gray-value archive written by the command reads as the raw file it
came from: the same images and blocks, the same temperatures."""

import os
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
