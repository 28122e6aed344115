"""kalviro: raw 16-bit thermal-camera gray values to temperatures.

A frame buffer is the image, height x width little-endian uint16 gray values,
followed by the 512-byte parameter block. Split it with split_frame, or walk
a raw sequence file with read_frames, and convert with a Camera:

    cam = kalviro.Camera(21)
    for image, block in kalviro.read_frames("seq.raw", 640, 512):
        temps = cam.convert(image, block, emissivity=0.95)   # float32 degrees

Every temperature is bit for bit what the library's per-pixel call gives.
numpy is imported on first use, so `import kalviro` works without it.
"""

from __future__ import annotations

import mmap
import operator
import os
from typing import TYPE_CHECKING, Iterable, Iterator, NamedTuple, Optional, Tuple, Union

from . import _archive, _kalviro
from ._fields import FIELD_UNITS, read_fields
from ._kalviro import __version__, version

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
    "FIELD_UNITS",
    "__version__",
    "block_fields",
    "caltypes",
    "read_frames",
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
    width, height = operator.index(width), operator.index(height)
    if width < 0 or height < 0:
        raise ValueError(f"frame size: expected width and height of 0 or more, got {width} x {height}")
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
    """The frames of a raw sequence file, one after another.

    The file is memory-mapped, not read: each image is a read-only view of
    the mapping, and each block a bytearray copy that the per-frame call may
    write into without changing the file. A gray-value archive (a TIFF that
    `kalviro convert --counts` wrote) reads the same, its size taken from
    the file; a raw file needs width and height.
    """
    if _archive.is_archive(path):
        return _archive.read_archive(path, width, height)
    if width is None or height is None:
        raise TypeError(f"read_frames: a raw file ({os.fspath(path)}) needs width and height")
    frame = _image_bytes(width, height) + BLOCK_SIZE
    size = os.path.getsize(path)
    if size % frame:
        raise ValueError(
            f"{os.fspath(path)}: {size} bytes is not a whole number of {width} x {height} frames "
            f"of {frame} bytes"
        )
    return _frames(path, width, height, frame)


def _frames(path, width: int, height: int, frame: int) -> Iterator[Tuple[Image, bytearray]]:
    import numpy as np

    with open(path, "rb") as f:
        if os.fstat(f.fileno()).st_size < frame:
            return
        mapped = mmap.mmap(f.fileno(), 0, access=mmap.ACCESS_READ)
    image_bytes = frame - BLOCK_SIZE
    for start in range(0, len(mapped) - frame + 1, frame):
        image = np.frombuffer(mapped, dtype="<u2", count=width * height, offset=start)
        yield image.reshape(height, width), bytearray(mapped[start + image_bytes : start + frame])


class Camera(_kalviro.Camera):
    __doc__ = _kalviro.Camera.__doc__

    def convert_sequence(
        self,
        frames: Union[str, os.PathLike, Iterable[Tuple[Image, Block]]],
        width: Optional[int] = None,
        height: Optional[int] = None,
        emissivity: float = 1.0,
        distance: float = 0.0,
        threads: int = 1,
    ) -> Iterator[Temperatures]:
        """Converts frames in order, yielding a new float32 array for each.

        frames is the path of a raw sequence file, read with read_frames
        (width and height then needed), or any iterable of (image, block).
        threads > 1 shares each frame among that many threads.
        """
        if isinstance(frames, (str, os.PathLike)):
            if (width is None or height is None) and not _archive.is_archive(frames):
                raise TypeError("convert_sequence: a raw file needs width and height")
            frames = read_frames(frames, width, height)
        return (self.convert(image, block, emissivity, distance, threads=threads) for image, block in frames)
