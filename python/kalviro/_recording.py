"""Raw sequence files read by position, and the scan that lets any frame of
one convert without converting those before it.

Files are read with pread, never memory-mapped: a file that shrinks while it
is read raises OSError instead of killing the interpreter with SIGBUS.
"""

from __future__ import annotations

import dataclasses
import math
import os
import stat
import struct
import sys
from typing import Optional, Tuple

import numpy as np

from . import _kalviro
from ._archive import CountsArchive, is_archive

BLOCK_SIZE = 512
# How often a scan keeps the camera's state unless told: a chunk of frames
# starts from the nearest kept state and replays at most this many per-frame
# calls (microseconds each) to reach its first frame.
DEFAULT_EVERY = 64


def check_emissivity(emissivity) -> float:
    """The emissivity as the library takes it (float32), or ValueError."""
    e = struct.unpack("f", struct.pack("f", float(emissivity)))[0] if math.isfinite(float(emissivity)) else emissivity
    if not (math.isfinite(e) and 0.0 < e <= 1.0):
        raise ValueError(f"bad emissivity {emissivity}: expected a number above 0 and at most 1")
    return float(emissivity)


def frame_size(width, height) -> Tuple[int, int]:
    """width, height as ints of 1 or more, or TypeError/ValueError."""
    import operator

    width, height = operator.index(width), operator.index(height)
    if width < 1 or height < 1:
        raise ValueError(f"frame size: expected width and height of 1 or more, got {width} x {height}")
    return width, height


class Recording:
    """A raw sequence file: frames of height x width little-endian uint16
    gray values, each followed by its 512-byte block. The number of frames
    is the file's at opening; reads are positioned and checked."""

    def __init__(self, path, width, height, frames: Optional[int] = None):
        self.path = os.fspath(path)
        self.width, self.height = frame_size(width, height)
        self.image_bytes = 2 * self.width * self.height
        self.frame_bytes = self.image_bytes + BLOCK_SIZE
        st = os.stat(self.path)
        if not stat.S_ISREG(st.st_mode):  # a FIFO or device: no size to take frames from
            raise ValueError(f"{self.path}: not a regular file")
        size = st.st_size
        if frames is not None:  # read again: the frames it had
            self.frames = frames
            if size < frames * self.frame_bytes:
                raise OSError(
                    f"{self.path}: the file is shorter than when it was opened ({frames} frames of "
                    f"{self.frame_bytes} bytes, now {size} bytes)"
                )
            return
        if size % self.frame_bytes:
            raise ValueError(
                f"{self.path}: {size} bytes is not a whole number of {self.width} x {self.height} frames "
                f"of {self.frame_bytes} bytes"
            )
        self.frames = size // self.frame_bytes

    def __getstate__(self):
        return {k: v for k, v in self.__dict__.items() if k != "_fd"}

    def _read(self, offset: int, count: int, what: str, into=None):
        """count bytes at offset, as bytes or into a writable buffer."""
        fd = self.__dict__.get("_fd")
        if fd is None:
            fd = self._fd = os.open(self.path, os.O_RDONLY | getattr(os, "O_CLOEXEC", 0))
        if into is None:
            data = os.pread(fd, count, offset)
            got = len(data)
        else:
            data, got, view = into, 0, memoryview(into).cast("B")
            while got < count:  # a regular file reads whole unless it ends
                n = os.preadv(fd, [view[got:]], offset + got)
                if n == 0:
                    break
                got += n
        if got != count:
            raise OSError(
                f"{self.path}: the file is shorter than when it was opened ({self.frames} frames of "
                f"{self.frame_bytes} bytes): {what} cannot be read"
            )
        return data

    def close(self):
        fd = self.__dict__.pop("_fd", None)
        if fd is not None:
            os.close(fd)

    def __del__(self):
        self.close()

    def block(self, k: int) -> bytearray:
        return bytearray(self._read(k * self.frame_bytes + self.image_bytes, BLOCK_SIZE, f"frame {k}'s block"))

    def first_gray(self, k: int) -> int:
        return int.from_bytes(self._read(k * self.frame_bytes, 2, f"frame {k}"), "little")

    def rows(self, k: int, y0: int = 0, y1: Optional[int] = None) -> np.ndarray:
        """Rows y0..y1 of frame k's image, a new (y1 - y0, width) uint16 array."""
        y1 = self.height if y1 is None else y1
        row = 2 * self.width
        image = np.empty((y1 - y0, self.width), np.uint16)
        if image.size:
            self._read(k * self.frame_bytes + y0 * row, (y1 - y0) * row, f"frame {k}", image)
        if sys.byteorder == "big":
            image.byteswap(inplace=True)  # the file's values are little-endian
        return image


def open_recording(path, width=None, height=None, frames: Optional[int] = None):
    """A raw sequence file (width and height needed) or a --counts archive."""
    if not stat.S_ISREG(os.stat(path).st_mode):  # a FIFO would block the reads, a device never end
        raise ValueError(f"{os.fspath(path)}: not a regular file")
    if is_archive(path):
        return CountsArchive(path, width, height, frames)
    if width is None or height is None:
        raise TypeError(f"{os.fspath(path)}: a raw sequence holds no frame size: give width and height")
    return Recording(path, width, height, frames)


@dataclasses.dataclass(frozen=True)
class Scan:
    """The camera's state before every `every`-th frame of a recording, from
    the per-frame calls alone (each needs a frame's block and first gray
    value). Any frames then convert from the nearest kept state, bit for bit
    as the whole recording converted in order would give them.

    states[i] is the camera's state before frame i * every; blocks holds
    every frame's block as the file has it (frames x 512 uint8), or None.
    """

    path: str
    caltype: int
    width: int
    height: int
    emissivity: float
    distance: float
    every: int
    frames: int
    states: Tuple[bytes, ...]
    blocks: Optional[np.ndarray] = dataclasses.field(default=None, repr=False, compare=False)

    def _recording(self):
        return open_recording(self.path, self.width, self.height, self.frames)

    def camera(self, frame: int, recording: Optional[Recording] = None):
        """A Camera ready to convert frame `frame` (0 <= frame <= frames)."""
        from . import Camera

        if not 0 <= frame <= self.frames:
            raise IndexError(f"frame {frame}: the recording has frames 0 to {self.frames - 1}")
        rec = recording or self._recording()
        cam = Camera(self.caltype)
        start = frame // self.every * self.every
        cam._load_state(self.states[frame // self.every])
        for k in range(start, frame):
            cam.init(rec.first_gray(k), rec.block(k), self.emissivity, self.distance)
        return cam

    def convert(self, start: int = 0, stop: Optional[int] = None, step: int = 1, rows=None, threads: int = 1):
        """Frames start, start + step, ... below stop converted, as a new
        (frames, height, width) float32 array of degrees Celsius; rows, a
        slice of y, converts and reads only those rows."""
        return self.convert_frames(range(*slice(start, stop, step).indices(self.frames)), rows, threads)

    def convert_frames(self, frames, rows=None, threads: int = 1):
        """The frames listed, ascending, as convert gives them."""
        frames = [int(k) for k in frames]
        if any(b <= a for a, b in zip(frames, frames[1:])) or (frames and not 0 <= frames[0] <= frames[-1] < self.frames):
            raise IndexError(f"frames: expected ascending frames of 0 to {self.frames - 1}")
        y0, y1, ystep = (rows or slice(None)).indices(self.height)
        if ystep != 1:
            raise ValueError("rows: expected a slice with step 1")
        y1 = max(y0, y1)
        out = np.empty((len(frames), y1 - y0, self.width), np.float32)
        if len(frames) == 0 or y1 == y0:
            return out
        rec = self._recording()
        try:
            cam, at = None, None
            for i, k in enumerate(frames):
                if cam is None or k // self.every > at // self.every:
                    cam, at = self.camera(k, rec), k
                for j in range(at, k):  # frames skipped by the step
                    cam.init(rec.first_gray(j), rec.block(j), self.emissivity, self.distance)
                block = rec.block(k)
                if y0 == 0 and y1 == self.height:
                    cam.convert(rec.rows(k), block, self.emissivity, self.distance, out=out[i], threads=threads)
                else:
                    cam._convert_part(
                        rec.first_gray(k), rec.rows(k, y0, y1), block, self.emissivity, self.distance, out[i], threads
                    )
                at = k + 1
        finally:
            rec.close()
        return out


def scan(path, caltype: int, width: Optional[int] = None, height: Optional[int] = None, emissivity=None, distance=None, every: int = DEFAULT_EVERY,
         keep_blocks: bool = True) -> Scan:
    """Runs the per-frame calls of a raw sequence file over its blocks only
    (512 bytes and one gray value a frame, microseconds each) and returns a
    Scan holding the camera's state before every `every`-th frame; any
    chunk of frames then converts on its own, bit for bit as a sequential
    run (Camera.convert_sequence) would give it.

    path is a raw sequence file or a gray-value archive written by
    `kalviro convert --counts` (a TIFF, read with tifffile). width and
    height are the frames' size in pixels (an archive knows it), emissivity a fraction
    above 0 and at most 1 (DEFAULT_EMISSIVITY when None), distance in metres
    (the block's field decides; 0 when None). Raises ValueError for a bad
    argument or a file that is not a whole number of frames, OSError for a
    file that cannot be read or shrinks meanwhile.
    """
    import operator

    from . import Camera

    emissivity = check_emissivity(_kalviro.DEFAULT_EMISSIVITY if emissivity is None else emissivity)
    distance = 0.0 if distance is None else float(distance)
    every = operator.index(every)
    if every < 1:
        raise ValueError(f"every: expected 1 or more frames between kept states, got {every}")
    cam = Camera(caltype)
    rec = open_recording(path, width, height)
    try:
        blocks = np.empty((rec.frames, BLOCK_SIZE), np.uint8) if keep_blocks else None
        states = []
        for k in range(rec.frames):
            if k % every == 0:
                states.append(cam._state())
            block = rec.block(k)
            if blocks is not None:
                blocks[k] = np.frombuffer(block, np.uint8)
            cam.init(rec.first_gray(k), block, emissivity, distance)
        if rec.frames % every == 0:
            states.append(cam._state())  # the state after the last frame
    finally:
        rec.close()
    return Scan(rec.path, cam.caltype, rec.width, rec.height, emissivity, distance, every, rec.frames,
                tuple(states), blocks)
