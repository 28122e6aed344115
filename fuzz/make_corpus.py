#!/usr/bin/env python3
"""Builds the fuzz target's seed corpus from reference vector files.

One seed for each CalType and tempRange found in the files (plus one for a
range no grid knows): the first block of that kind, the gray value, emissivity
and distance of its per-frame call, an inverse search from the same
sequence, and the gray values of its per-pixel calls as the frame's pixels.
The layout is the one kalviro_fuzz.cpp reads.

    fuzz/make_corpus.py OUT_DIR VECTOR_FILE...
"""
import os
import struct
import sys

# The CalTypes in the order of include/kalviro_caltypes.h: byte 0 of a seed is
# a position in this list.
def caltype_list(header):
    order = []
    with open(header) as f:
        for line in f:
            line = line.strip()
            if line.startswith("X(") and "," in line:
                order.append(int(line[2:line.index(",")]))
    return order


# Flags and image sizes vary from seed to seed so that every guise of the
# per-frame call and odd block addresses are in the corpus from the start.
FLAGS = [0x00, 0x01, 0x02, 0x08, 0x10, 0x04, 0x19, 0x20, 0x21]
OFFERED = [None, 511, (1 << 32) + 1000, (1 << 64) - 1]


def seed(position, n, block, call, t2g, grays):
    gray, e_bits, d_bits = call
    t0, t1, g0, g1, target = t2g or (0, 10000, 0, 10000, 2500)
    image = (n * 37) % 200 | 1
    offered = OFFERED[n % len(OFFERED)]
    if offered is None:
        offered = image + 512
    head = struct.pack("<BBHiII5iQi", position, FLAGS[n % len(FLAGS)], image, gray, e_bits, d_bits,
                       t0, t1, g0, g1, target, offered, 0)
    assert len(head) == 48
    pixels = b"".join(struct.pack("<H", g & 0xFFFF) for g in grays[:32])
    return head + block + pixels


def sequences(path):
    """Yields (calType, frames) with frames = [(block, call, t2g, grays)]."""
    cal, frames = None, []
    with open(path) as f:
        for line in f:
            words = line.split()
            if not words or words[0].startswith("#"):
                continue
            if words[0] == "SEQ":
                if cal is not None:
                    yield cal, frames
                cal, frames = int(words[1]), []
            elif words[0] == "FRAME":
                frames.append([bytes.fromhex(words[1]), None, None, []])
            elif not frames:
                continue
            elif words[0] in ("INIT", "ONCE") and frames[-1][1] is None:
                frames[-1][1] = (int(words[1]), int(words[2], 16), int(words[3], 16))
            elif words[0] == "REAL":
                frames[-1][3].append(int(words[1]))
            elif words[0] == "T2G" and frames[-1][2] is None:
                frames[-1][2] = tuple(int(w) for w in words[1:6])
    if cal is not None:
        yield cal, frames


def main():
    out_dir, files = sys.argv[1], sys.argv[2:]
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    order = caltype_list(os.path.join(root, "include", "kalviro_caltypes.h"))
    chosen = {}
    for path in files:
        for cal, frames in sequences(path):
            for block, call, t2g, grays in frames:
                if call is None:
                    continue
                (rng,) = struct.unpack_from("<i", block, 0x0D0)
                key = (cal, rng if 2 <= rng <= 5 else "x")
                if key not in chosen:
                    chosen[key] = (block, call, t2g, grays)
    os.makedirs(out_dir, exist_ok=True)
    for n, key in enumerate(sorted(chosen, key=str)):
        cal, rng = key
        data = seed(order.index(cal), n, *chosen[key])
        with open(os.path.join(out_dir, "%03d-r%s" % (cal, rng)), "wb") as f:
            f.write(data)
    print("%d seeds for %d CalTypes" % (len(chosen), len({c for c, _ in chosen})))


if __name__ == "__main__":
    main()
