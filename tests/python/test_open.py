"""kalviro.open: a recording as a lazily read xarray Dataset whose
temperatures are the bits of a camera converting the file in order, and of
the per-pixel entry, however they are indexed or chunked."""

import re

import numpy as np
import pytest

xr = pytest.importorskip("xarray")

import kalviro  # noqa: E402
from recordings import H, W, bits, per_pixel, sequential, write_recording  # noqa: E402

CALTYPES = [21, 22, 121]

INDEXES = {
    "all": (slice(None),) * 3,
    "spot over time": (slice(None), 2, 5),
    "frames 5 to 9": (slice(5, 9),),
    "every third frame reversed": (slice(None, None, -3), slice(None, None, -2), 3),
    "one frame": (7,),
    "rows": (slice(3, 11, 2), slice(1, 4)),
    "nothing": (slice(4, 4),),
}


@pytest.mark.parametrize("caltype", CALTYPES)
@pytest.mark.parametrize("chunks", [None, {"frame": 5}, {"frame": 1}, {"frame": 5, "y": 2}], ids=str)
def test_temperatures_are_the_sequential_bits_however_indexed(tmp_path, caltype, chunks):
    path = write_recording(tmp_path / "rec.raw", caltype)
    want = sequential(path, caltype, 0.9)
    ds = kalviro.open(path, caltype, W, H, emissivity=0.9, chunks=chunks)
    assert ds.temperature.dtype == np.float32 and ds.temperature.dims == ("frame", "y", "x")
    assert (ds.temperature.chunks is None) == (chunks is None)
    for name, index in INDEXES.items():
        got = bits(ds.temperature[index].values)
        assert got.shape == want[index].shape and np.array_equal(got, want[index]), name


@pytest.mark.parametrize("caltype", CALTYPES)
def test_temperatures_are_the_per_pixel_entry(tmp_path, caltype):
    path = write_recording(tmp_path / "rec.raw", caltype, frames=5)
    want = per_pixel(path, caltype)
    for chunks in (None, {"frame": 2}):
        assert np.array_equal(bits(kalviro.open(path, caltype, W, H, chunks=chunks).temperature.values), want)


def test_gray_fields_coordinates_and_attributes(tmp_path):
    path = write_recording(tmp_path / "rec.raw", 121, frames=6)
    ds = kalviro.open(path, 121, W, H, emissivity=0.8)
    frames = list(kalviro.read_frames(path, W, H))
    assert ds.gray.dtype == np.uint16 and np.array_equal(ds.gray.values, np.stack([im for im, _ in frames]))
    assert np.array_equal(ds.gray[::-2, 1, 2:5].values, np.stack([im for im, _ in frames])[::-2, 1, 2:5])
    assert list(ds.frame.values) == list(range(6))
    for k, (_, block) in enumerate(frames):
        fields = kalviro.block_fields(block, 121)
        assert ds.upTime.values[k] == fields["upTime"]
        for name, value in fields.items():
            if name == "upTime":
                continue
            got = ds[name].values[k]
            want = np.frombuffer(value, np.uint8) if isinstance(value, bytes) else np.asarray(value)
            assert np.array_equal(got, want.astype(got.dtype)), name
            assert ds[name].attrs.get("units", "") == kalviro.FIELD_UNITS[name], name
    assert ds.temperature.attrs["units"] == "degC" and ds.upTime.attrs["units"] == "seconds"
    assert ds.attrs["CalType"] == 121 and ds.attrs["emissivity"] == 0.8
    assert ds.attrs["library_version"] == kalviro.version() and ds.attrs["kalviro_version"] == kalviro.__version__
    assert "windowTransLong" in ds and "envTemp" not in ds  # the long layout's names


def test_the_file_is_read_lazily(tmp_path):
    path = write_recording(tmp_path / "rec.raw", 21, frames=4)
    ds = kalviro.open(path, 21, W, H)
    # Changing frame 3's pixels after opening shows in what is read later.
    data = bytearray(path.read_bytes())
    data[3 * (2 * W * H + 512) + 2] ^= 0x01
    path.write_bytes(bytes(data))
    assert ds.gray.values[3, 0, 1] == int.from_bytes(data[3 * (2 * W * H + 512) + 2 :][:2], "little")


def test_an_empty_recording_opens(tmp_path):
    path = tmp_path / "empty.raw"
    path.write_bytes(b"")
    ds = kalviro.open(path, 21, W, H, chunks={"frame": 4})
    assert ds.temperature.shape == (0, H, W) and ds.temperature.values.size == 0


def test_xarray_engine(tmp_path):
    from kalviro._xarray import KalviroBackend

    path = write_recording(tmp_path / "rec.raw", 21, frames=3)
    ds = xr.open_dataset(path, engine=KalviroBackend, caltype=21, width=W, height=H)
    assert np.array_equal(bits(ds.temperature.values), sequential(path, 21))


def _archive(tmp_path, raw):
    """The command's --counts archive of a raw recording."""
    import os
    import subprocess

    cli = os.environ.get("KALVIRO_CLI")
    if not cli:
        pytest.skip("KALVIRO_CLI names no kalviro command (CTest sets it when the command is built)")
    pytest.importorskip("tifffile")
    out = tmp_path / "counts.tiff"
    subprocess.run([cli, "convert", str(raw), "--size", f"{W}x{H}", "--caltype", "121", "--counts", "-q",
                    "-o", str(out)], check=True, capture_output=True, timeout=60)
    return out


def test_a_counts_archive_opens_as_its_raw_recording(tmp_path):
    raw = write_recording(tmp_path / "rec.raw", 121, frames=9)
    archive = _archive(tmp_path, raw)
    want = kalviro.open(raw, 121, W, H, emissivity=0.9)
    for chunks in (None, {"frame": 4}):
        got = kalviro.open(archive, 121, emissivity=0.9, chunks=chunks)
        assert np.array_equal(bits(got.temperature.values), sequential(raw, 121, 0.9))
        assert np.array_equal(bits(got.temperature[::-2, 3:5, 1].values), sequential(raw, 121, 0.9)[::-2, 3:5, 1])
        assert np.array_equal(got.gray.values, want.gray.values)
        assert np.array_equal(got.tempCH1.values, want.tempCH1.values)
    s = kalviro.scan(archive, 121, emissivity=0.9, every=3)
    assert np.array_equal(bits(s.convert(4, 9)), sequential(raw, 121, 0.9)[4:9])


ARCHIVE_ERRORS = [
    ("size differs", dict(width=W + 1), ValueError, f"frames of {W} x {H}, not {W + 1} x None"),
    ("raw without size", dict(raw=True, width=None), TypeError, "give width and height"),
    ("truncated", dict(cut=300), OSError, "counts.tiff"),
]


@pytest.mark.parametrize("kwargs, error, expected", [e[1:] for e in ARCHIVE_ERRORS], ids=[e[0] for e in ARCHIVE_ERRORS])
def test_archive_refusals(tmp_path, kwargs, error, expected):
    raw = write_recording(tmp_path / "rec.raw", 121, frames=3)
    archive = _archive(tmp_path, raw)
    if "cut" in kwargs:
        archive.write_bytes(archive.read_bytes()[: kwargs["cut"]])
    path = raw if kwargs.get("raw") else archive
    with pytest.raises(error, match=re.escape(expected)):
        kalviro.open(path, 121, kwargs.get("width"), None).temperature.values


@pytest.mark.parametrize("cpus", [None, "first"], ids=["the process's mask", "one cpu"])
def test_unchunked_conversions_run_on_the_cores_the_process_may_use(cpus):
    # Read in a child whose affinity mask is set before it imports kalviro.
    import os
    import subprocess
    import sys

    mask = sorted(os.sched_getaffinity(0))
    want = mask[:1] if cpus == "first" else mask
    code = f"import os; os.sched_setaffinity(0, {want!r}); import kalviro; print(kalviro._kalviro._cores())"
    got = subprocess.run([sys.executable, "-c", code], check=True, capture_output=True, text=True).stdout
    assert int(got) == len(want)
