"""kalviro: raw 16-bit thermal-camera gray values to temperatures.

A frame buffer is the image, height x width little-endian uint16 gray values,
followed by the 512-byte parameter block. Split it with split_frame, or walk
a raw sequence file with read_frames, and convert with a Camera:

    cam = kalviro.Camera(21)
    for image, block in kalviro.read_frames("seq.raw", 640, 512):
        temps = cam.convert(image, block, emissivity=0.95)   # float32 degrees

Every temperature is bit for bit what the library's per-pixel call gives.
kalviro.open gives a recording as an xarray Dataset (optional: xarray, and
Dask for chunks); kalviro.scan lets any chunk of frames convert on its own;
kalviro.convert_files writes recordings to Zarr or netCDF on Dask.
"""

from __future__ import annotations

import os
import sys
from typing import TYPE_CHECKING, Iterable, Iterator, NamedTuple, Optional, Tuple, Union

try:
    import numpy as _numpy  # noqa: F401
except ImportError as _error:
    raise ImportError(
        f"kalviro needs NumPy, which this interpreter ({sys.executable}, Python "
        f"{sys.version.split()[0]}) cannot import: install it for this interpreter "
        f"(Debian: apt-get install python3-numpy; else: {os.path.basename(sys.executable)} -m pip install numpy)"
    ) from _error

from . import _kalviro
from ._fields import FIELD_UNITS, read_fields
from ._recording import Recording, Scan, check_emissivity, frame_size, scan
from ._recording import open_recording as _open_recording
from ._kalviro import DEFAULT_EMISSIVITY, __version__, version

if TYPE_CHECKING:
    import numpy as np
    import numpy.typing as npt

    Image = npt.NDArray[np.uint16]
    Temperatures = npt.NDArray[np.float32]
    Block = Union[bytes, bytearray, memoryview, npt.NDArray[np.uint8]]

__all__ = [
    "BLOCK_SIZE",
    "CalTypeInfo",
    "Camera",
    "DEFAULT_EMISSIVITY",
    "FIELD_UNITS",
    "__version__",
    "Scan",
    "block_fields",
    "caltypes",
    "convert_files",
    "open",
    "read_frames",
    "scan",
    "split_frame",
    "version",
]

BLOCK_SIZE = 512


class CalTypeInfo(NamedTuple):
    """What a CalType offers."""

    caltype: int
    family: str  # "direct" or "ladder"
    layout: str  # "base" or "long": where the words at 0x134 and 0x138 lie
    has_get_it: bool  # Camera.get_it gives a number, not None
    temp_ranges: Tuple[int, ...]  # the tempRange codes it converts


def caltypes() -> list[CalTypeInfo]:
    """All CalTypes of the library, ascending."""
    return [CalTypeInfo(*row) for row in _kalviro._caltypes()]


def block_fields(block: Block, caltype: Optional[int] = None) -> dict:
    """The block's fields by name.

    Temperatures stored as hundredths of a degree are given in degrees, the
    distance stored as hundredths of a metre in metres, atmA and atmB as the
    amplitude and rate they stand for (hundredths and thousandths), the gains
    stored in hundredths as factors; every other field as the block holds it.
    FIELD_UNITS names the unit of each, as the command-line tool shows them. The words at 0x134
    and 0x138 are envTemp and bodyTemp in the base layout, windowTransLong and
    envTempLong in the long one: the caltype decides, base when it is None.
    """
    layout = "base"
    if caltype is not None:
        info = next((c for c in caltypes() if c.caltype == caltype), None)
        if info is None:
            raise ValueError(f"CalType {caltype} is not a CalType: see kalviro.caltypes()")
        layout = info.layout
    return read_fields(_kalviro._block_bytes(block), layout)


def _image_bytes(width: int, height: int) -> int:
    width, height = frame_size(width, height)
    return 2 * width * height


def split_frame(buffer, width: int, height: int) -> Tuple[Image, npt.NDArray[np.uint8]]:
    """The image (height x width uint16) and the block (512 uint8) of a frame
    buffer, both views of it: the block is writable when the buffer is."""
    import numpy as np

    image_bytes = _image_bytes(width, height)
    data = np.frombuffer(buffer, dtype=np.uint8)
    if data.size != image_bytes + BLOCK_SIZE:
        raise ValueError(
            f"frame buffer: expected {width} x {height} x 2 + {BLOCK_SIZE} = "
            f"{image_bytes + BLOCK_SIZE} bytes, got {data.size}"
        )
    image = data[:image_bytes].view("<u2").reshape(height, width)
    return image, data[image_bytes:]


def read_frames(
    path: Union[str, os.PathLike], width: Optional[int] = None, height: Optional[int] = None
) -> Iterator[Tuple[Image, bytearray]]:
    """The frames of a raw sequence file, one after another, as (image,
    block): the image a new height x width uint16 array, the block a
    bytearray that the per-frame call may write into without changing the
    file. A gray-value archive (a TIFF that `kalviro convert --counts`
    wrote) reads the same, its size taken from the file; a raw file needs
    width and height.

    The frames are those the file holds when this is called, read one at a
    time. Raises ValueError for a width or height below 1 or a file that is
    not a whole number of frames, OSError when the file cannot be read or
    shrinks while it is read.
    """
    return _frames(_open_recording(path, width, height))


def _frames(rec) -> Iterator[Tuple[Image, bytearray]]:
    try:
        for k in range(rec.frames):
            image = rec.rows(k)
            yield image, rec.block(k)
    finally:
        rec.close()


# A pickled camera: (format, layout of the statics, CalType, statics). The
# statics are the library's bytes as they lie in memory, so they load only
# under the same format and layout text (revision, byte order, size).
PICKLE_FORMAT = 1


def _camera_from_state(fmt, layout, caltype, state):
    if fmt != PICKLE_FORMAT:
        raise ValueError(
            f"kalviro.Camera pickle format {fmt!r}: this kalviro ({__version__}) reads format {PICKLE_FORMAT} only"
        )
    here = _kalviro.Camera._state_layout()
    if layout != here:
        raise ValueError(
            f"kalviro.Camera pickled with statics laid out as {layout!r}; this kalviro ({__version__}) "
            f"on this host lays them out as {here!r}"
        )
    cam = Camera(caltype)
    cam._load_state(state)
    return cam


class Camera(_kalviro.Camera):
    __doc__ = _kalviro.Camera.__doc__ + """

A camera is a value: copy.copy, copy.deepcopy and pickle carry its CalType
and all its statics, so a copy converts the next frames to the bits the
original would. A pickle holds a format number and the layout of the
statics (kalviro's revision, the host's byte order, their size); loading it
under another raises ValueError.
"""

    def __reduce__(self):
        return (_camera_from_state, (PICKLE_FORMAT, self._state_layout(), self.caltype, self._state()))

    def __copy__(self):
        return _camera_from_state(PICKLE_FORMAT, self._state_layout(), self.caltype, self._state())

    def __deepcopy__(self, memo):
        return self.__copy__()

    def convert_sequence(
        self,
        frames: Union[str, os.PathLike, Iterable[Tuple[Image, Block]]],
        width: Optional[int] = None,
        height: Optional[int] = None,
        emissivity: float = DEFAULT_EMISSIVITY,
        distance: float = 0.0,
        threads: int = 1,
    ) -> Iterator[Temperatures]:
        """Converts frames in order, yielding a new float32 array for each.

        frames is the path of a raw sequence file, read with read_frames
        (width and height then needed), or any iterable of (image, block).
        threads > 1 shares each frame among that many threads.
        """
        if isinstance(frames, (str, os.PathLike)):
            frames = read_frames(frames, width, height)
        return (self.convert(image, block, emissivity, distance, threads=threads) for image, block in frames)


def open(
    path: Union[str, os.PathLike],
    caltype: int,
    width: Optional[int] = None,
    height: Optional[int] = None,
    emissivity: float = DEFAULT_EMISSIVITY,
    distance: Optional[float] = None,
    chunks=None,
    threads: Optional[int] = None,
):
    """A raw sequence file, or a gray-value archive written by `kalviro
    convert --counts` (a TIFF; needs tifffile), as an xarray.Dataset, read
    lazily (never whole).

    Variables:
      temperature (frame, y, x) float32, degrees Celsius (units "degC"): bit
        for bit Camera(caltype).convert_sequence(path, width, height,
        emissivity, distance);
      gray (frame, y, x) uint16: the raw gray values;
      each field of kalviro.block_fields along frame, in its units
        (attribute "units", FIELD_UNITS), as the file's blocks hold them;
        fields of several values gain a dimension <name>_index.
    Coordinates: frame (0, 1, ...) and upTime (seconds, along frame).
    Attributes: CalType, emissivity, distance, kalviro_version,
    library_version, source.

    width and height are the frames' size in pixels (a raw sequence holds
    none; an archive knows it), emissivity a fraction above 0 and at most 1, distance in metres
    (None: 0; the block's field decides). chunks as for xarray.open_dataset:
    with {"frame": n} temperature and gray are Dask arrays whose tasks each
    convert n frames from a scanned state (kalviro.scan); None gives Dask
    chunks only when Dask is installed and the temperatures would pass 1
    GiB. threads converts each frame on that many threads (None: every core
    without chunks, one per task with them).

    Needs xarray. Raises TypeError or ValueError for a bad argument,
    OSError for a file that cannot be read or shrinks while it is read.
    """
    try:
        from ._xarray import open_recording
    except ImportError as error:
        raise ImportError(f"kalviro.open needs xarray (Debian: python3-xarray; pip: kalviro[xarray]): {error}") from error
    check_emissivity(emissivity)
    return open_recording(path, caltype, width, height, emissivity, distance, chunks, threads)


def convert_files(
    paths: Iterable[Union[str, os.PathLike]],
    caltype: int,
    width: Optional[int] = None,
    height: Optional[int] = None,
    emissivity: float = DEFAULT_EMISSIVITY,
    distance: Optional[float] = None,
    to: str = "zarr",
    out_dir: Union[str, os.PathLike, None] = None,
    chunks: int = 256,
    overwrite: bool = False,
    client=None,
) -> list:
    """Converts many raw recordings in parallel on Dask, each into one Zarr
    store (to="zarr": <stem>.zarr) or netCDF file (to="netcdf": <stem>.nc)
    in out_dir (None: beside each recording), holding the Dataset of
    kalviro.open: reopened with xarray.open_zarr or xarray.open_dataset it
    gives the same bits. Returns the outputs' paths.

    Each recording converts in tasks of `chunks` frames, each from a scanned
    state. client is a dask.distributed Client to run on (None: Dask's
    current scheduler, which is a Client's once one is made). Every output
    is checked before any is written (two recordings onto one output, an
    existing output without overwrite=True, a directory that cannot be
    written), each is written under a temporary name and renamed when whole,
    and on failure none of this call's is left.
    """
    try:
        import dask  # noqa: F401
    except ImportError as error:
        raise ImportError(f"kalviro.convert_files needs Dask (Debian: python3-dask; pip: kalviro[dask]): {error}") from error
    from ._files import convert_files as run

    check_emissivity(emissivity)

    def one(path):
        return open(path, caltype, width, height, emissivity, distance, chunks={"frame": chunks})

    return run(one, paths, to, out_dir, overwrite, client)
