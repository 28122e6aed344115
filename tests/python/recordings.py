"""Small raw recordings written from the vectors' blocks, and the
temperatures a camera converting them in order gives."""

import numpy as np

import kalviro
from conftest import blocks_for

H, W = 6, 8


def write_recording(path, caltype, frames=12, seed=5, height=H, width=W):
    rng = np.random.default_rng(seed)
    blocks = blocks_for(caltype, 4)
    images = [rng.integers(1500, 15000, (height, width)).astype(np.uint16) for _ in range(frames)]
    path.write_bytes(b"".join(im.astype("<u2").tobytes() + blocks[k % len(blocks)] for k, im in enumerate(images)))
    return path


def sequential(path, caltype, emissivity=kalviro.DEFAULT_EMISSIVITY, height=H, width=W):
    """Every frame as one camera converts them in order, as uint32 bits."""
    cam = kalviro.Camera(caltype)
    temps = list(cam.convert_sequence(path, width, height, emissivity=emissivity))
    return np.stack(temps).view(np.uint32) if temps else np.empty((0, height, width), np.uint32)


def per_pixel(path, caltype, emissivity=kalviro.DEFAULT_EMISSIVITY, height=H, width=W):
    """The same through the per-frame and per-pixel entries, pixel by pixel."""
    cam, out = kalviro.Camera(caltype), []
    for image, block in kalviro.read_frames(path, width, height):
        cam.init(int(image[0, 0]), block, emissivity)
        out.append([[cam.real(int(g), block, emissivity) for g in row] for row in image])
    return np.array(out, np.float32).view(np.uint32)


def bits(a):
    return np.asarray(a, np.float32).view(np.uint32)
