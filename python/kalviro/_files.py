"""Many recordings converted on Dask, one Zarr store or netCDF file each,
each written under a temporary name and renamed when whole."""

from __future__ import annotations

import os
import shutil
import uuid

SUFFIXES = {"zarr": ".zarr", "netcdf": ".nc"}


def _remove(path):
    if os.path.isdir(path) and not os.path.islink(path):
        shutil.rmtree(path, ignore_errors=True)
    elif os.path.lexists(path):
        os.unlink(path)


def targets_of(paths, to, out_dir, overwrite):
    """The output of each recording, all checked before any is written."""
    if to not in SUFFIXES:
        raise ValueError(f"to: expected 'zarr' or 'netcdf', got {to!r}")
    targets, seen = [], {}
    for p in paths:
        p = os.fspath(p)
        if not os.path.isfile(p):
            raise FileNotFoundError(f"{p}: no such recording")
        stem = os.path.splitext(os.path.basename(p))[0]
        where = os.path.dirname(os.path.abspath(p)) if out_dir is None else os.fspath(out_dir)
        target = os.path.join(where, stem + SUFFIXES[to])
        key = os.path.abspath(target)
        if key in seen:
            raise ValueError(f"{seen[key]} and {p} would both be written to {target}")
        seen[key] = p
        if os.path.lexists(target):
            if not overwrite:
                raise FileExistsError(f"{target} exists: pass overwrite=True to replace it")
            is_store = to == "zarr" and os.path.isdir(target) and not os.path.islink(target)
            if not (is_store or (to == "netcdf" and os.path.isfile(target) and not os.path.islink(target))):
                raise FileExistsError(f"{target} exists and is not a {to} output: it is not replaced")
        if not os.path.isdir(where):
            raise FileNotFoundError(f"{where}: no such directory for {target}")
        if not os.access(where, os.W_OK):
            raise PermissionError(f"{where}: cannot write {target} there")
        targets.append(target)
    return targets


def convert_files(open_one, paths, to, out_dir, overwrite, client):
    import dask

    paths = [os.fspath(p) for p in paths]
    targets = targets_of(paths, to, out_dir, overwrite)
    temps = [os.path.join(os.path.dirname(t), f".{os.path.basename(t)}.{uuid.uuid4().hex[:8]}.part") for t in targets]
    try:
        writes = []
        for p, tmp in zip(paths, temps):
            ds = open_one(p)
            if to == "zarr":
                writes.append(ds.to_zarr(tmp, mode="w-", compute=False))
            else:
                writes.append(ds.to_netcdf(tmp, engine="netcdf4", compute=False))
        if client is not None:
            client.gather(client.compute(writes))
        else:
            dask.compute(*writes)
        for tmp, target in zip(temps, targets):
            if os.path.lexists(target):
                _remove(target)
            os.replace(tmp, target)
    finally:
        for tmp in temps:
            _remove(tmp)
    return targets
