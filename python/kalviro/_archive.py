"""The gray-value archive that `kalviro convert -o NAME.tiff --counts` writes:
one uint16 page a frame, each page carrying its frame's 512-byte block in a
private tag. It reads as the raw sequence it came from, its size taken from
the file, a page at a time and in any order. Read with tifffile (Debian's
python3-tifffile), imported on first use."""

from __future__ import annotations

import logging
import os
from typing import Optional

import numpy as np

BLOCK_TAG = 65432
_BLOCK_SIZE = 512


class DamagedArchive(ValueError, OSError):
    """An archive cut short or not readable as a TIFF: not an archive
    (ValueError) and a file that cannot be read (OSError)."""


def is_archive(path) -> bool:
    """True for a file that starts as a TIFF does (either byte order, classic
    or BigTIFF)."""
    try:
        with open(path, "rb") as f:
            head = f.read(4)
    except (OSError, TypeError):
        return False
    return head in (b"II*\0", b"II+\0", b"MM\0*", b"MM\0+")


class _Complaints(logging.Handler):
    """What tifffile logs while it lists the pages (a page past the end of a
    file cut short): here that fails the file, as the command fails it."""

    def __init__(self):
        super().__init__(logging.WARNING)
        self.messages = []

    def emit(self, record):
        self.messages.append(record.getMessage())


def _is_gray16(page) -> bool:
    dtype = page.dtype
    return dtype is not None and dtype.kind == "u" and dtype.itemsize == 2 and page.samplesperpixel == 1


class CountsArchive:
    """A gray-value archive read by frame, as Recording reads a raw file:
    width, height, frames, block(k), first_gray(k), rows(k, y0, y1).

    At first opening the whole file is checked (every page a width x height
    uint16 page with its 512-byte block, every page's data inside the file):
    ValueError for a file that is not such an archive or not of the given
    size, DamagedArchive (a ValueError and an OSError) for one cut short.
    Opened again with the frames it had (a pickled copy in another process),
    it checks only that they are still there, and each read checks its page.
    """

    def __init__(self, path, width=None, height=None, frames: Optional[int] = None):
        try:
            import tifffile
        except ImportError as error:
            raise ImportError(
                f"reading a --counts archive needs tifffile (Debian: python3-tifffile): {error}"
            ) from error
        self.path = os.fspath(path)
        self._page, self._image = None, None
        complaints = _Complaints()
        logger = logging.getLogger("tifffile")
        logger.addHandler(complaints)
        try:
            try:
                pages = self._file().pages
                count = len(pages)
                first = pages[0] if count else None
            except Exception as error:  # tifffile's own errors, and what it lets through
                raise DamagedArchive(f"{self.path}: not a readable gray-value archive: {error}") from None
            if frames is not None:
                if count < frames:
                    raise OSError(
                        f"{self.path}: the archive is shorter than when it was opened ({count} frames, not {frames})"
                    )
                self.width, self.height, self.frames = first.imagewidth, first.imagelength, frames
                return
            self._check(pages, complaints, width, height)
            self.frames = count
        except BaseException:
            self.close()
            raise
        finally:
            logger.removeHandler(complaints)

    def _check(self, pages, complaints, width, height):
        pages = list(pages)
        end = os.path.getsize(self.path)
        if complaints.messages or any(
            o + n > end for page in pages for o, n in zip(page.dataoffsets, page.databytecounts)
        ):
            detail = f" ({complaints.messages[0]})" if complaints.messages else ""
            raise DamagedArchive(f"{self.path}: is truncated or damaged{detail}")
        if not pages:
            raise ValueError(f"{self.path}: the archive holds no frame")
        self.width, self.height = pages[0].imagewidth, pages[0].imagelength
        if (width is not None and width != self.width) or (height is not None and height != self.height):
            raise ValueError(f"{self.path}: frames of {self.width} x {self.height}, not {width} x {height}")
        for k, page in enumerate(pages):
            self._block(k, page)
            if (page.imagewidth, page.imagelength) != (self.width, self.height) or not _is_gray16(page):
                raise ValueError(
                    f"{self.path}: page {k} is not a {self.width} x {self.height} page of 16-bit gray values"
                )

    def _file(self):
        tif = self.__dict__.get("_tif")
        if tif is None:
            import tifffile

            tif = self._tif = tifffile.TiffFile(self.path)
        return tif

    def __getstate__(self):
        return {k: v for k, v in self.__dict__.items() if k not in ("_tif", "_page", "_image")}

    def __setstate__(self, state):
        self.__dict__.update(state, _page=None, _image=None)

    def close(self):
        tif = self.__dict__.pop("_tif", None)
        if tif is not None:
            tif.close()

    def __del__(self):
        self.close()

    def _block(self, k: int, page) -> bytearray:
        tag = page.tags.get(BLOCK_TAG)
        block = None if tag is None else np.asarray(tag.value, dtype=np.uint8).reshape(-1)
        if block is None or block.size != _BLOCK_SIZE:
            raise ValueError(
                f"{self.path}: page {k} has no 512-byte block: not a gray-value archive of kalviro "
                "(kalviro convert -o NAME.tiff --counts writes one)"
            )
        return bytearray(block.tobytes())

    def _read(self, k: int, what: str):
        try:
            page = self._file().pages[k]
            if what == "block":
                return self._block(k, page)
            if self._page != k:
                image = page.asarray()
                if image.shape != (self.height, self.width) or not _is_gray16(page):
                    raise ValueError(f"{self.path}: page {k} is {image.shape} {image.dtype}, not the first page's")
                self._page, self._image = k, image.astype(np.uint16, copy=False)
            return self._image
        except ValueError:
            raise
        except Exception as error:
            raise OSError(f"{self.path}: frame {k} cannot be read: {error}") from error

    def block(self, k: int) -> bytearray:
        return self._read(k, "block")

    def first_gray(self, k: int) -> int:
        return int(self._read(k, "image")[0, 0])

    def rows(self, k: int, y0: int = 0, y1: Optional[int] = None) -> np.ndarray:
        """Rows y0..y1 of frame k's image, a new (y1 - y0, width) uint16 array."""
        return np.array(self._read(k, "image")[y0 : self.height if y1 is None else y1], np.uint16)
