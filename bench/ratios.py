#!/usr/bin/env python3
"""One table of whole-frame ratios per CalType, from kalviro_frame_bench.

Runs the benchmark program for its JSON output (or reads the JSON it wrote
before) and prints, as Markdown, the machine it ran on and for each
CalType and scene:

    b/d  kalviro_convert_frame over a memcpy of the output floats
    c/d  the same on two threads over the memcpy
    a/d  the per-pixel function on every pixel over the memcpy
    a ns the same in ns a pixel; a cpu, in processor ns a pixel (on a busy
         machine the thread's own time)
    b/c  what the second thread gains
    k/d  kalviro_convert_frame on a kept table, the same frame again, over the
         memcpy; k cpu/b cpu, its processor time over b's
and for the first CalType a synthetic recording (1,000 frames of the room
as kalviro synth makes it, the camera warming) through Camera::realFrame
on one table kept from frame to frame, per frame over the memcpy (rec b/d;
rec cpu/d in processor time; rec fresh/d the same frames on a table that
keeps nothing; rec c/d on two threads), and two threads over one with 2 ms between frames, the
frames on one and two threads in turn (paced 2/1; paced med 2/1 of the
medians); and per CalType the whole-frame conversion per gray value of the full scale
(ns) and the per-frame call (us); then which CalTypes miss each goal.

    bench/ratios.py [--binary PROGRAM] [--save FILE] [-- PROGRAM FLAGS...]
    bench/ratios.py --json FILE

PROGRAM defaults to build/rel/bench/kalviro_frame_bench; its flags narrow the
run, e.g. -- --caltypes=21,81 --scenes=room,full --benchmark_min_time=0.1.
With --benchmark_repetitions the medians are used.
"""

import argparse
import collections
import json
import pathlib
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[1]
DEFAULT_BINARY = ROOT / "build" / "rel" / "bench" / "kalviro_frame_bench"
SCENES = ["room", "noisy", "full", "room1280"]
NS_PER_UNIT = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
GRAYS = 65536

Goal = collections.namedtuple("Goal", "title column met avx2_only")
GOALS = [
    Goal("b within 5x d on the room, 640x512", "room b/d", lambda v: v <= 5.0, False),
    Goal("b within 12x d on the full range", "full b/d", lambda v: v <= 12.0, False),
    Goal("c at least 1.7x faster than b on the full range", "full b/c", lambda v: v >= 1.7, False),
    Goal("f under 6 ns per value where AVX2 is present", "f", lambda v: v < 6.0, True),
    Goal("a at most 15 ns a pixel on the room, 640x512", "room a ns", lambda v: v <= 15.0, False),
    Goal("a recording through Camera::realFrame within 4x d a frame", "rec b/d", lambda v: v <= 4.0, False),
    Goal("two threads 2 ms apart at most 1.25x one thread", "paced 2/1", lambda v: v <= 1.25, False),
    Goal("two threads back to back at least 1.6x faster than one", "room b/c", lambda v: v >= 1.6, False),
    # On a busy machine the thread's own time is what the run can show.
    Goal("a at most 15 processor ns a pixel on the room, 640x512", "room a cpu", lambda v: v <= 15.0, False),
]


def run_program(binary, flags, save):
    """The program's JSON; its console table goes to stderr as it runs, a
    few minutes for every CalType."""
    if not pathlib.Path(binary).is_file():
        sys.exit(f"{binary} is not built: cmake -DCMAKE_BUILD_TYPE=Release, then build kalviro_frame_bench")
    with tempfile.TemporaryDirectory() as tmp:
        out = pathlib.Path(save or pathlib.Path(tmp) / "frames.json")
        cmd = [str(binary), f"--benchmark_out={out}", "--benchmark_out_format=json"] + flags
        print("running: " + " ".join(cmd), file=sys.stderr)
        subprocess.run(cmd, check=True, stdout=sys.stderr)
        return json.loads(out.read_text())


def measure_key(run_name):
    """("convert", "21", "room") from "convert/21/room/real_time" (or
    ".../iterations:1/manual_time")."""
    parts = [p for p in run_name.split("/") if ":" not in p and p not in ("real_time", "manual_time")]
    return tuple(parts)


def times(doc):
    """Real time in ns and counters by measure key; medians when repeated."""
    runs = {}
    medians = {}
    for b in doc["benchmarks"]:
        if b.get("error_occurred"):
            continue
        key = measure_key(b["run_name"])
        entry = (b["real_time"] * NS_PER_UNIT[b["time_unit"]], b)
        if b.get("run_type") == "aggregate":
            if b.get("aggregate_name") == "median":
                medians[key] = entry
        else:
            runs.setdefault(key, entry)
    runs.update(medians)
    return runs


def fmt(v):
    if v is None:
        return "-"
    if v < 10:
        return f"{v:.2f}"
    if v < 100:
        return f"{v:.1f}"
    return f"{v:,.0f}"


def gather(runs):
    """Per CalType: {column: value}, columns "scene b/d" ... and "f", "e"."""
    copy_ns = {}
    for key, (ns, b) in runs.items():
        if key[0] == "memcpy":
            copy_ns[int(b["pixels"])] = ns
    kinds = ("convert", "init", "kernel", "per_pixel", "recording")
    caltypes = sorted({int(k[1]) for k in runs if k[0] in kinds})
    rows = {}
    for ct in caltypes:
        row = {}
        for scene in SCENES:
            b = runs.get(("convert", str(ct), scene))
            c = runs.get(("threads2", str(ct), scene))
            k = runs.get(("kept", str(ct), scene))
            a = runs.get(("per_pixel", str(ct), scene))
            d = copy_ns.get(int(b[1]["pixels"])) if b else None
            if b and d:
                row[scene + " b/d"] = b[0] / d
            if c and d:
                row[scene + " c/d"] = c[0] / d
            if k and d:
                row[scene + " k/d"] = k[0] / d
                row[scene + " k cpu/b cpu"] = k[1]["cpu_time"] / b[1]["cpu_time"] if b else None
            if a and d:
                row[scene + " a/d"] = a[0] / d
            if a:
                row[scene + " a ns"] = a[0] / a[1]["pixels"]
                row[scene + " a cpu"] = a[1]["cpu_time"] * NS_PER_UNIT[a[1]["time_unit"]] / a[1]["pixels"]
            if b and c:
                row[scene + " b/c"] = b[0] / c[0]
        rec = runs.get(("recording", str(ct), "room"))
        d = copy_ns.get(int(rec[1]["pixels"])) if rec else None
        if rec and d:
            row["rec b/d"] = rec[0] / d
            row["rec cpu/d"] = rec[1]["kept_cpu_us"] * 1e3 / d
            row["rec fresh/d"] = rec[1]["fresh_us"] * 1e3 / d
            if rec[1].get("kept_threads2_us"):
                row["rec c/d"] = rec[1]["kept_threads2_us"] * 1e3 / d
            if rec[1].get("copy_cpu_us"):
                row["rec cpu/copy"] = rec[1]["kept_cpu_us"] / rec[1]["copy_cpu_us"]
        paced = runs.get(("paced2ms", str(ct), "room"))
        if paced and paced[1].get("threads1_us"):
            row["paced 2/1"] = paced[1]["threads2_us"] / paced[1]["threads1_us"]
            if paced[1].get("threads1_median_us"):
                row["paced med 2/1"] = paced[1]["threads2_median_us"] / paced[1]["threads1_median_us"]
        kernel = runs.get(("kernel", str(ct)))
        init = runs.get(("init", str(ct)))
        row["f"] = kernel[0] / GRAYS if kernel else None
        row["e"] = init[0] / 1e3 if init else None
        rows[ct] = row
    return rows, copy_ns


def goal_applies(goal, ctx):
    return not goal.avx2_only or ctx.get("avx2") == "yes"


def missed(goal, value):
    return value is not None and not goal.met(value)


def goal_of(column):
    """The goal a table column is judged by, or None."""
    return next((g for g in GOALS if g.column == column), None)


def print_header(ctx, runs, copy_ns):
    print("## Whole frames per CalType\n")
    print(
        f"Machine: {ctx.get('cpu_model', 'unknown')}, {ctx.get('num_cpus', '?')} cores, "
        f"AVX2 {ctx.get('avx2', '?')}; kalviro_lanes(): {ctx.get('lanes', '?')}; "
        f"kalviro {ctx.get('kalviro', '?')}, {ctx.get('kalviro_build', '?')} build; "
        f"{ctx.get('date', '')}, load average {', '.join(f'{x:.2f}' for x in ctx.get('load_avg', []))}."
    )
    if ctx.get("kalviro_build") != "Release":
        print("\n**Not a Release build: these numbers do not say how fast the library is.**")
    sizes = ", ".join(f"{px:,} floats {fmt(ns / 1e3)} us" for px, ns in sorted(copy_ns.items()))
    print(f"\nd, memcpy of the output: {sizes}.")
    scenes = []
    for scene in SCENES:
        frames = [b for k, (_, b) in runs.items() if k[0] in ("convert", "per_pixel") and k[2] == scene]
        if not frames:
            continue
        size = frames[0]["label"].split(",")[0]  # "640x512, 2769 gray values"
        lo, hi = min(int(b["distinct"]) for b in frames), max(int(b["distinct"]) for b in frames)
        spread = f"{lo:,}" if lo == hi else f"{lo:,} to {hi:,}"
        scenes.append(f"{scene} {size} ({spread} gray values)")
    print("Scenes: " + "; ".join(scenes) + ".")
    print(
        "\nb: kalviro_convert_frame; c: the same on two threads; a: the per-pixel function on every pixel "
        "(a ns: ns a pixel; a cpu: processor ns a pixel); "
        "rec: a recording of 1,000 frames through Camera::realFrame on a kept table, per frame (rec fresh: "
        "on a table that keeps nothing; rec c: on two threads; rec cpu/copy: its processor time over that of a memcpy made in the same "
        "loop, as the frame finds the caches); paced 2/1: two threads over one, 2 ms between frames, the frames in turn (med: their medians); "
        "b, c and f build their table anew for every frame; k: b on a kept table, the same frame again "
        "(k cpu/b cpu: their processor times). "
        "f: kalviro_convert_frame on the 65536 gray values once, ns per value; e: the per-frame call, us. "
        "Bold: misses its goal.\n"
    )


def print_table(rows, ctx):
    scenes = [s for s in SCENES if any(s + " b/d" in r or s + " a ns" in r for r in rows.values())]
    columns = [f"{s} {m}" for s in scenes for m in ("b/d", "k/d", "k cpu/b cpu", "c/d", "a/d", "a ns", "a cpu", "b/c")]
    columns += ["rec b/d", "rec cpu/d", "rec cpu/copy", "rec fresh/d", "rec c/d", "paced 2/1", "paced med 2/1", "f", "e"]
    columns = [c for c in columns if any(r.get(c) is not None for r in rows.values())]
    titles = {"f": "f ns/value", "e": "e us"}
    print("| CalType | " + " | ".join(titles.get(c, c) for c in columns) + " |")
    print("|---:|" + "---:|" * len(columns))
    for ct, row in rows.items():
        cells = []
        for c in columns:
            v = row.get(c)
            g = goal_of(c)
            bold = g is not None and goal_applies(g, ctx) and missed(g, v)
            cells.append(f"**{fmt(v)}**" if bold else fmt(v))
        print(f"| {ct} | " + " | ".join(cells) + " |")


def print_goals(rows, ctx):
    print("\nGoals:\n")
    for g in GOALS:
        values = {ct: r[g.column] for ct, r in rows.items() if r.get(g.column) is not None}
        if not values:
            print(f"- {g.title}: not measured")
        elif not goal_applies(g, ctx):
            print(f"- {g.title}: does not apply, no AVX2 here")
        else:
            misses = [ct for ct, v in values.items() if missed(g, v)]
            meets = [ct for ct in values if ct not in misses]
            head = f"- {g.title}: missed by {len(misses)} of {len(values)}"
            if not misses:
                print(f"- {g.title}: met by all {len(values)}")
            elif not meets:
                print(f"- {g.title}: missed by all {len(values)}")
            elif len(meets) < len(misses):
                # The table has the values; the few that meet it are the news.
                print(head + ": all but " + ", ".join(map(str, meets)))
            else:
                print(head + ": " + ", ".join(f"{ct} ({fmt(values[ct])})" for ct in misses))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--json", help="read this saved output instead of running the program")
    parser.add_argument("--binary", default=str(DEFAULT_BINARY), help="the kalviro_frame_bench program")
    parser.add_argument("--save", help="also write the program's JSON output here")
    parser.add_argument("flags", nargs="*", help="flags for the program, after --")
    args = parser.parse_args()
    if args.json:
        doc = json.loads(pathlib.Path(args.json).read_text())
    else:
        doc = run_program(args.binary, args.flags, args.save)
    runs = times(doc)
    rows, copy_ns = gather(runs)
    if not rows:
        sys.exit("no whole-frame results in the output")
    ctx = doc.get("context", {})
    print_header(ctx, runs, copy_ns)
    print_table(rows, ctx)
    print_goals(rows, ctx)


if __name__ == "__main__":
    main()
