#!/usr/bin/env python3
"""Runs the benchmark program and writes docs/performance.md.

Each export is timed three ways at each size: zepCV, OpenCV doing the same job,
and memcpy of the same bytes, five times each, with the runs of all benchmarks
interleaved in random order (so that a slow spell of the machine falls on runs of
many benchmarks, not on all the runs of one). The table gives the median of each
benchmark's runs, computed here from the per-run results, zepCV's time as a
fraction of OpenCV's (below 1 is faster), and the share of memcpy bandwidth that
zepCV reaches (memcpy time / zepCV time for the same bytes moved).

Results are kept in docs/performance.json, one line per benchmark,
"<export>/<zep|opencv|memcpy>/<W>x<H>": {"median_ms": ..., "runs_ms": [...]},
so a run restricted with --filter replaces only the rows it measured. Lines
written before medians were kept hold a bare number of ms (the fastest of three
runs); the table marks them until a run measures them again.
"""
import argparse
import datetime
import json
import math
import os
import platform
import re
import statistics
import subprocess
import sys


def machine():
    model, caches = platform.processor(), []
    try:
        out = subprocess.run(["lscpu"], capture_output=True, text=True).stdout
        for line in out.splitlines():
            key, _, value = line.partition(":")
            if key.strip() == "Model name":
                model = value.strip()
            if "cache" in key:
                caches.append(f"{key.strip()} {value.strip()}")
    except OSError:
        pass
    return model, caches


REPETITIONS = 5


def run(bench, flt):
    cmd = [bench, f"--benchmark_filter={flt}", "--benchmark_format=json",
           f"--benchmark_repetitions={REPETITIONS}", "--benchmark_enable_random_interleaving=true",
           "--benchmark_min_time=0.1"]
    proc = subprocess.run(cmd, stdout=subprocess.PIPE, text=True)
    if proc.returncode != 0:
        sys.exit(f"the benchmark program exited with status {proc.returncode}; nothing written")
    runs = {}
    # Only the per-run results: Google Benchmark's own aggregates are left out.
    for b in json.loads(proc.stdout or '{"benchmarks": []}')["benchmarks"]:
        if b.get("run_type") != "iteration" or b.get("error_occurred"):
            continue
        scale = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}[b["time_unit"]]
        runs.setdefault(b["run_name"], []).append(float(f"{b['real_time'] * scale:.6g}"))
    if not runs:
        sys.exit(f"no benchmark matched --filter {flt!r}; nothing written")
    return {name: {"median_ms": statistics.median(ms), "runs_ms": ms} for name, ms in runs.items()}


def median_ms(entry):
    """An entry's time: its median, or the bare number of an older line (fastest of three)."""
    return entry["median_ms"] if isinstance(entry, dict) else entry


def ms_text(v):
    """Three decimals, more where needed for three significant digits (the 127x61 rows take microseconds)."""
    return f"{v:.{max(3, 2 - math.floor(math.log10(v))) if v > 0 else 3}f}"


def table(results):
    rows, older = {}, set()
    for name, entry in results.items():
        m = re.fullmatch(r"(.+)/(zep|opencv|memcpy)/(\d+)x(\d+)", name)
        if not m:
            continue
        export, impl, w, h = m.group(1), m.group(2), int(m.group(3)), int(m.group(4))
        rows.setdefault((export, w * h, f"{w}x{h}"), {})[impl] = median_ms(entry)
        if not isinstance(entry, dict):
            older.add((export, impl, f"{w}x{h}"))
    lines = ["| export | size | zepCV ms | OpenCV ms | zepCV / OpenCV | memcpy ms | share of memcpy bandwidth |",
             "|---|---|---:|---:|---:|---:|---:|"]
    for (export, _, size), t in sorted(rows.items()):
        z, cv, mc = t.get("zep"), t.get("opencv"), t.get("memcpy")
        fmt = lambda impl: "—" if impl not in t else ms_text(t[impl]) + ("*" if (export, impl, size) in older else "")
        ratio = "—" if z is None or cv is None else f"{z / cv:.2f}"
        share = "—" if z is None or mc is None else f"{100 * mc / z:.0f}%"
        lines.append(f"| {export} | {size} | {fmt('zep')} | {fmt('opencv')} | {ratio} | {fmt('memcpy')} | {share} |")
    if older:
        lines += ["", "\\* the fastest of three runs, measured before medians were kept."]
    return "\n".join(lines)


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--bench", required=True)
    ap.add_argument("--filter", default=".")
    ap.add_argument("--out", required=True)
    args = ap.parse_args()
    store = os.path.splitext(args.out)[0] + ".json"
    results = {}
    if os.path.exists(store):
        with open(store) as f:
            results = json.load(f)
    results.update(run(args.bench, args.filter))
    with open(store, "w") as f:  # one benchmark a line, so that diffs show what a run changed
        f.write("{\n" + ",\n".join(f"{json.dumps(k)}: {json.dumps(v)}" for k, v in sorted(results.items())))
        f.write("\n}\n")
    model, caches = machine()
    head = [
        "# Performance",
        "",
        "Generated by `cmake --build --preset release --target performance` "
        f"on {datetime.date.today().isoformat()}; do not edit by hand.",
        "",
        f"Machine: {model}; {', '.join(caches)}. Single-threaded (OpenCV with setNumThreads(0)).",
        "",
        f"Median of {REPETITIONS} runs, the runs of all rows interleaved in random order. *zepCV / OpenCV* below 1",
        "means zepCV is faster. *Share of memcpy bandwidth* is",
        "the time memcpy takes to read and write as many bytes as the export reads and writes, divided by the",
        "export's time: 100% means the export moves its bytes as fast as memcpy.",
        "Rows named Floor_* time the least work that moves an export family's bytes (a read loop, or",
        "acc += src), beside the OpenCV function that family is compared with: no implementation of the",
        "job can be faster than its floor on this machine.",
        "The 127x61 rows time an odd size: every row ends in a partial vector, and the bytes stay in cache.",
        "",
        "",
    ]
    with open(args.out, "w") as f:
        f.write("\n".join(head) + table(results) + "\n")
    print(f"wrote {args.out}")


if __name__ == "__main__":
    sys.exit(main())
