"""Dask: chunks of a recording computed by worker processes give the serial
bits, and many recordings convert to Zarr and netCDF that reopen with the
same bits; a run that fails leaves none of its outputs."""

import os

import numpy as np
import pytest

xr = pytest.importorskip("xarray")
pytest.importorskip("dask")
distributed = pytest.importorskip("distributed")

import kalviro  # noqa: E402
from recordings import H, W, bits, per_pixel, sequential, write_recording  # noqa: E402


@pytest.fixture(scope="module")
def client():
    with distributed.LocalCluster(
        n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None, silence_logs=40
    ) as cluster, distributed.Client(cluster) as c:
        yield c


def test_worker_processes_give_the_serial_bits(tmp_path, client):
    path = write_recording(tmp_path / "rec.raw", 22, frames=11)
    ds = kalviro.open(path, 22, W, H, emissivity=0.9, chunks={"frame": 3})
    want = sequential(path, 22, 0.9)
    assert np.array_equal(bits(ds.temperature.compute().values), want)
    assert np.array_equal(per_pixel(path, 22, 0.9), want)
    mean = ds.temperature.mean(dim=("y", "x")).compute().values
    serial = kalviro.open(path, 22, W, H, emissivity=0.9).temperature.mean(dim=("y", "x")).values
    assert np.array_equal(mean.view(np.uint32), serial.view(np.uint32))


@pytest.mark.parametrize("to, reopen", [("zarr", xr.open_zarr), ("netcdf", xr.open_dataset)])
def test_files_convert_and_reopen_with_the_same_bits(tmp_path, client, to, reopen):
    paths = [write_recording(tmp_path / f"rec{s}.raw", 21, frames=7, seed=s) for s in (1, 2, 3)]
    out = tmp_path / "out"
    out.mkdir()
    written = kalviro.convert_files(paths, 21, W, H, to=to, out_dir=out, chunks=3, client=client)
    assert sorted(os.listdir(out)) == sorted(os.path.basename(w) for w in written)
    for path, target in zip(paths, written):
        with reopen(target) as ds:
            assert np.array_equal(bits(ds.temperature.values), sequential(path, 21))
            assert np.array_equal(ds.gray.values, kalviro.open(path, 21, W, H).gray.values)
            assert ds.temperature.attrs["units"] == "degC" and ds.attrs["CalType"] == 21


def test_files_convert_without_a_client(tmp_path):
    path = write_recording(tmp_path / "rec.raw", 121, frames=5)
    (target,) = kalviro.convert_files([path], 121, W, H, to="netcdf", chunks=2)
    assert target == str(tmp_path / "rec.nc")
    with xr.open_dataset(target) as ds:
        assert np.array_equal(bits(ds.temperature.values), sequential(path, 121))


def _refusals(tmp_path):
    a = write_recording(tmp_path / "a.raw", 21, frames=2)
    sub = tmp_path / "sub"
    sub.mkdir()
    b = write_recording(sub / "a.raw", 21, frames=2)
    bad = tmp_path / "bad.raw"
    bad.write_bytes(b"\0" * 100)
    (tmp_path / "taken.zarr").mkdir()
    taken = write_recording(tmp_path / "taken.raw", 21, frames=2)
    fifo = tmp_path / "fifo.nc"
    os.mkfifo(fifo)
    fifo_raw = write_recording(tmp_path / "fifo.raw", 21, frames=2)
    return [
        ("one output twice", [a, b], dict(out_dir=tmp_path), ValueError, "would both be written"),
        ("output exists", [a, taken], {}, FileExistsError, "overwrite=True"),
        ("not an output", [fifo_raw], dict(to="netcdf", overwrite=True), FileExistsError, "is not a netcdf"),
        ("no such folder", [a], dict(out_dir=tmp_path / "none"), FileNotFoundError, "no such directory"),
        ("no such recording", [tmp_path / "none.raw"], {}, FileNotFoundError, "none.raw"),
        ("format", [a], dict(to="hdf"), ValueError, "'zarr' or 'netcdf'"),
        ("emissivity", [a], dict(emissivity=0), ValueError, "emissivity 0"),
        ("broken recording", [a, bad], {}, ValueError, "not a whole number"),
    ]


def test_refused_runs_leave_nothing(tmp_path):
    for name, paths, kwargs, error, expected in _refusals(tmp_path):
        before = sorted(p.name for p in tmp_path.rglob("*"))
        with pytest.raises(error, match=expected):
            kalviro.convert_files(paths, 21, W, H, **kwargs)
        assert sorted(p.name for p in tmp_path.rglob("*")) == before, name
