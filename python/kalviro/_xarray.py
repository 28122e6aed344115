"""A recording as an xarray Dataset, read lazily: temperatures and gray
values come from the file only when indexed, a frame chunk converting from
the scan's nearest state (with Dask, one task per chunk)."""

from __future__ import annotations

import os
import struct

import numpy as np
import xarray as xr
from xarray.backends import BackendArray, BackendEntrypoint
from xarray.core import indexing

from . import _kalviro
from ._fields import rows_of
from ._recording import Scan, open_recording, scan

# Above this many bytes of temperatures a recording opens as Dask chunks of
# about CHUNK_BYTES each when Dask is installed, unless chunks is given.
DASK_ABOVE = 1 << 30
CHUNK_BYTES = 64 << 20


def _wanted(key, size):
    """One dimension's int, slice or integer array as (the indices wanted, in
    order, as an array; whether the dimension goes)."""
    wanted = np.arange(size)[key]
    return np.atleast_1d(wanted), np.ndim(wanted) == 0


class _FramesArray(BackendArray):
    """(frame, y, x) of a recording, temperatures or gray values, read and
    converted per index; what Dask ships to a worker is this and the scan."""

    def __init__(self, scan: Scan, temperature: bool, threads: int):
        self.scan = scan
        self.temperature = temperature
        self.threads = threads
        self.shape = (scan.frames, scan.height, scan.width)
        self.dtype = np.dtype(np.float32 if temperature else np.uint16)

    def __getitem__(self, key):
        # Outer keys are taken whole: xarray's own split of a slice with a
        # negative step into positive ones is off by one in some releases.
        if isinstance(key, (indexing.BasicIndexer, indexing.OuterIndexer)):
            return self._get(key.tuple)
        return indexing.explicit_indexing_adapter(key, self.shape, indexing.IndexingSupport.OUTER, self._get)

    def _get(self, key):
        fkey, ykey, xkey = key
        frames, drop_frame = _wanted(fkey, self.shape[0])
        rows, drop_row = _wanted(ykey, self.shape[1])
        order = np.unique(frames)
        lo, hi = (int(rows.min()), int(rows.max()) + 1) if rows.size else (0, 0)
        if self.temperature:
            data = self.scan.convert_frames(order, slice(lo, hi), self.threads)
        else:
            data = np.empty((order.size, hi - lo, self.shape[2]), self.dtype)
            if order.size and hi > lo:
                rec = self.scan._recording()
                try:
                    for i, k in enumerate(order):
                        data[i] = rec.rows(int(k), lo, hi)
                finally:
                    rec.close()
        # Index only where the key asks for more than the frames and rows read,
        # in order: each indexing copies the whole result.
        if not np.array_equal(frames, order):
            data = data[np.searchsorted(order, frames)]
        if not np.array_equal(rows, np.arange(lo, hi)):
            data = data[:, rows - lo]
        if not (isinstance(xkey, slice) and xkey == slice(None)):
            data = data[:, :, xkey]
        if drop_row:
            data = data[:, 0]
        return data[0] if drop_frame else data


def _field_variables(scan: Scan, layout: str) -> dict:
    variables = {}
    blocks = scan.blocks
    for name, offset, fmt, divisor, unit, _ in rows_of(layout):
        attrs = {"units": unit} if unit else {}
        if fmt.endswith("s"):
            size = struct.calcsize(fmt)
            variables[name] = xr.Variable(("frame", f"{name}_byte"), blocks[:, offset : offset + size].copy(), attrs)
            continue
        count = struct.calcsize(fmt) // struct.calcsize("<" + fmt[-1])
        raw = np.ascontiguousarray(blocks[:, offset : offset + 4 * count]).view("<" + fmt[-1].lower() + "4")
        values = raw.astype(np.float32 if fmt[-1] == "f" else np.int32)
        if divisor != 1:
            values = values / divisor
        dims = ("frame",) if count == 1 else ("frame", f"{name}_index")
        variables[name] = xr.Variable(dims, values[:, 0] if count == 1 else values, attrs)
    return variables


def dataset_of(scan: Scan, threads: int) -> xr.Dataset:
    from . import caltypes

    layout = next(c.layout for c in caltypes() if c.caltype == scan.caltype)
    light = Scan(**{**scan.__dict__, "blocks": None})
    dims = ("frame", "y", "x")
    temperature = xr.Variable(
        dims,
        indexing.LazilyIndexedArray(_FramesArray(light, True, threads)),
        {"units": "degC", "long_name": "temperature in degrees Celsius"},
    )
    gray = xr.Variable(dims, indexing.LazilyIndexedArray(_FramesArray(light, False, threads)),
                       {"long_name": "raw gray value"})
    variables = {"temperature": temperature, "gray": gray, **_field_variables(scan, layout)}
    up_time = variables["upTime"]
    coords = {"frame": np.arange(scan.frames), "upTime": ("frame", up_time.values, dict(up_time.attrs))}
    del variables["upTime"]
    attrs = {
        "CalType": scan.caltype,
        "emissivity": scan.emissivity,
        "distance": scan.distance,
        "kalviro_version": _kalviro.__version__,
        "library_version": _kalviro.version(),
        "source": os.path.basename(scan.path),
    }
    return xr.Dataset(variables, coords, attrs)


class KalviroBackend(BackendEntrypoint):
    """xarray's engine for raw kalviro recordings:
    xarray.open_dataset(path, engine="kalviro", caltype=21, width=640, height=512)."""

    description = "Raw thermal-camera sequences converted to temperatures by kalviro"
    open_dataset_parameters = ("filename_or_obj", "drop_variables", "caltype", "width", "height", "emissivity",
                               "distance", "every", "threads")

    def open_dataset(self, filename_or_obj, *, drop_variables=None, caltype=None, width=None, height=None,
                     emissivity=None, distance=None, every=None, threads=None):
        if caltype is None:
            raise TypeError("kalviro: a recording needs its caltype")
        s = scan(filename_or_obj, caltype, width, height, emissivity, distance, every or 64)
        ds = dataset_of(s, threads or 1)
        return ds.drop_vars(drop_variables or [], errors="ignore")

    def guess_can_open(self, filename_or_obj):
        return False


def open_recording(path, caltype, width, height, emissivity, distance, chunks, threads):
    if chunks is None:
        try:
            rec = open_recording(path, width, height)
            frame_bytes = 4 * rec.width * rec.height
            big = rec.frames * frame_bytes > DASK_ABOVE
            rec.close()
        except (OSError, ValueError, TypeError):
            big = False  # open_dataset says what is wrong
        if big:
            try:
                import dask.array  # noqa: F401

                chunks = {"frame": max(1, CHUNK_BYTES // frame_bytes)}
            except ImportError:
                pass
    every = 64
    if isinstance(chunks, dict) and isinstance(chunks.get("frame"), int) and chunks["frame"] > 0:
        every = chunks["frame"]  # each chunk starts at a kept state
    if threads is None:
        threads = 1 if chunks is not None else _kalviro._cores()
    return xr.open_dataset(
        os.fspath(path), engine=KalviroBackend, chunks=chunks, caltype=caltype, width=width, height=height,
        emissivity=emissivity, distance=distance, every=every, threads=threads,
    )
