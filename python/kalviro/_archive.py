"""The gray-value archive that `kalviro convert -o NAME.tiff --counts` writes:
one uint16 page a frame, each page carrying its frame's 512-byte block in a
private tag. It reads as the raw sequence it came from, its size taken from
the file. Read with tifffile (Debian's python3-tifffile), imported on first
use."""

from __future__ import annotations

import logging
import os
from typing import Iterator, Optional, Tuple

BLOCK_TAG = 65432
_BLOCK_SIZE = 512


def is_archive(path) -> bool:
    """True for a file that starts as a TIFF does (either byte order, classic
    or BigTIFF)."""
    try:
        with open(path, "rb") as f:
            head = f.read(4)
    except (OSError, TypeError):
        return False
    return head in (b"II*\0", b"II+\0", b"MM\0*", b"MM\0+")


def read_archive(path, width: Optional[int], height: Optional[int]) -> Iterator[Tuple["object", bytearray]]:
    """Every page's image (height x width uint16) and a bytearray copy of its
    block, checked before the first is given: ValueError for a file that is
    not such an archive, or whose frames are not width x height."""
    import numpy as np
    import tifffile

    name = os.fspath(path)
    # tifffile logs what it skips (a page past the end of a file cut short):
    # here that fails the file, as the command fails it.
    complaints = _Complaints()
    logger = logging.getLogger("tifffile")
    logger.addHandler(complaints)
    try:
        tiff = tifffile.TiffFile(name)
    except (tifffile.TiffFileError, ValueError) as e:
        logger.removeHandler(complaints)
        raise ValueError(f"{name}: cannot be read as a TIFF ({e})") from None
    try:
        pages = list(tiff.pages)
        end = os.path.getsize(name)
        if complaints.messages or any(
            o + n > end for page in pages for o, n in zip(page.dataoffsets, page.databytecounts)
        ):
            detail = f" ({complaints.messages[0]})" if complaints.messages else ""
            raise ValueError(f"{name}: is truncated or damaged{detail}")
        if not pages:
            raise ValueError(f"{name}: holds no page")
        first = pages[0]
        size = (first.imagewidth, first.imagelength)
        if (width is not None and width != size[0]) or (height is not None and height != size[1]):
            raise ValueError(f"{name}: holds {size[0]} x {size[1]} frames, not the given {width} x {height}")
        for i, page in enumerate(pages):
            tag = page.tags.get(BLOCK_TAG)
            block = None if tag is None else np.asarray(tag.value, dtype=np.uint8).reshape(-1)
            if block is None or block.size != _BLOCK_SIZE:
                raise ValueError(
                    f"{name}: page {i} has no 512-byte block: not a gray-value archive of kalviro "
                    "(kalviro convert -o NAME.tiff --counts writes one)"
                )
            shape = (page.imagewidth, page.imagelength, page.samplesperpixel)
            if shape != (*size, 1) or page.dtype != np.uint16:
                raise ValueError(f"{name}: page {i} is not a {size[0]} x {size[1]} page of 16-bit gray values")
    except BaseException:
        tiff.close()
        raise
    finally:
        logger.removeHandler(complaints)
    return _pages(tiff, pages)


class _Complaints(logging.Handler):
    def __init__(self):
        super().__init__(logging.WARNING)
        self.messages = []

    def emit(self, record):
        self.messages.append(record.getMessage())


def _pages(tiff, pages) -> Iterator[Tuple["object", bytearray]]:
    import numpy as np

    with tiff:
        for page in pages:
            block = np.asarray(page.tags[BLOCK_TAG].value, dtype=np.uint8).reshape(-1)
            yield page.asarray(), bytearray(block.tobytes())
