"""A camera is a value: a copy or a pickle taken after frame k converts the
frames after k to the bits of the camera that never left."""

import copy
import pickle

import numpy as np
import pytest

import kalviro
from conftest import blocks_for

H, W = 5, 7


def frames(caltype, count=4, seed=3):
    rng = np.random.default_rng(seed)
    return [(rng.integers(2000, 14000, (H, W)).astype(np.uint16), raw) for raw in blocks_for(caltype, count)]


def bits(a):
    return np.asarray(a, np.float32).view(np.uint32)


TRAVELS = {
    "copy": copy.copy,
    "deepcopy": copy.deepcopy,
    "pickle": lambda c: pickle.loads(pickle.dumps(c)),
    "pickle protocol 2": lambda c: pickle.loads(pickle.dumps(c, protocol=2)),
}


@pytest.mark.parametrize("caltype", [12, 21, 22, 110, 121])
@pytest.mark.parametrize("travel", TRAVELS.values(), ids=TRAVELS.keys())
def test_a_camera_that_travels_continues_bit_for_bit(caltype, travel):
    seq = frames(caltype)
    stay = kalviro.Camera(caltype)
    want = [stay.convert(image, bytearray(raw), 0.9) for image, raw in seq]
    for k in range(len(seq)):
        cam = kalviro.Camera(caltype)
        for image, raw in seq[:k]:
            cam.convert(image, bytearray(raw), 0.9)
        moved = travel(cam)
        assert type(moved) is kalviro.Camera and moved.caltype == caltype and moved is not cam
        got = [moved.convert(image, bytearray(raw), 0.9) for image, raw in seq[k:]]
        for g, w in zip(got, want[k:]):
            assert np.array_equal(bits(g), bits(w))


def test_a_copy_is_independent():
    image, raw = frames(21, 1)[0]
    cam = kalviro.Camera(21)
    fresh = copy.copy(cam)
    cam.convert(image, bytearray(raw))
    assert fresh._state() == kalviro.Camera(21)._state() != cam._state()


def _pickle_with(fmt=kalviro.PICKLE_FORMAT, layout=None, caltype=21, state=None):
    cam = kalviro.Camera(21)
    layout = cam._state_layout() if layout is None else layout
    state = cam._state() if state is None else state
    return pickle.dumps((kalviro._camera_from_state, (fmt, layout, caltype, state)))


class _Reduce:
    def __init__(self, args):
        self.args = args

    def __reduce__(self):
        return (kalviro._camera_from_state, self.args)


BROKEN = [
    ("newer format", (99, None, 21, None), ValueError, "format 99"),
    ("other byte order", (1, "statics r1 big-endian 372", 21, None), ValueError, "big-endian"),
    ("other revision", (1, "statics r0 little-endian 360", 21, None), ValueError, "laid out as"),
    ("short statics", (1, None, 21, b"\0" * 10), ValueError, "512 bytes, got 10"),
    ("statics not bytes", (1, None, 21, "x" * 512), TypeError, ""),
    ("CalType unknown", (1, None, 53, None), ValueError, "53"),
]


@pytest.mark.parametrize("args, error, expected", [b[1:] for b in BROKEN], ids=[b[0] for b in BROKEN])
def test_a_foreign_pickle_fails_with_one_clear_error(args, error, expected):
    fmt, layout, caltype, state = args
    cam = kalviro.Camera(21)
    args = (fmt, cam._state_layout() if layout is None else layout, caltype, cam._state() if state is None else state)
    data = pickle.dumps(_Reduce(args))
    with pytest.raises(error, match=expected):
        pickle.loads(data)


def test_any_statics_load_and_convert_without_harm():
    # Bytes from elsewhere give meaningless temperatures, never a crash.
    rng = np.random.default_rng(11)
    image, raw = frames(121, 1)[0]
    for caltype in (12, 21, 22, 60, 110, 121):
        cam = kalviro.Camera(caltype)
        for _ in range(20):
            cam._load_state(rng.integers(0, 256, 512, dtype=np.uint8).tobytes())
            cam.real(int(image[0, 0]), raw)
            cam.convert(image, bytearray(raw))
