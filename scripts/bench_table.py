#!/usr/bin/env python3
"""Prints a Markdown table of Kelmira against OpenCV from the JSON output of kelmira_bench.

    build/bench/bench/kelmira_bench --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
        --benchmark_out=results.json --benchmark_out_format=json
    python3 scripts/bench_table.py results.json

Benchmarks pair by name (see bench/support/common.h): a run named <Family>/<Op>/Kelmira/<args>
meets <Family>/<Op>/OpenCV/<args>, and BM_<Op>_<Type>_Kelmira/<args> meets BM_<Op>_<Type>_OpenCV/<args>.
BM_Memcpy_<Type>/<args> is the roof of the pixel-wise operators. Times are medians (of the
repetitions when the run has them). A ratio below 1 means Kelmira is faster; "of roof" is memcpy's
time for the same bytes over Kelmira's time (1.00 = at memcpy speed).
"""
import argparse
import json
import math
import re
import statistics
import sys

SIDES = ("Kelmira", "OpenCV")
SUFFIXED = re.compile(r"^BM_(?P<op>.+)_(?P<side>Kelmira|OpenCV)$")
MEMCPY = re.compile(r"^BM_Memcpy_(?P<type>[^_/]+)(?P<args>(/[^/]+)*)$")
PIXELWISE_PREFIXES = ("Oper", "Copy", "Lut", "GainOffset", "Convert", "Add", "Subtract", "AbsDiff", "Invert",
                      "And", "Or", "Xor")
TO_US = {"ns": 1e-3, "us": 1.0, "ms": 1e3, "s": 1e6}


def medians(benchmarks):
    """run name -> {'us': median time, 'bps': median bytes/s or None, 'label': str}."""
    runs = {}
    for b in benchmarks:
        if b.get("error_occurred"):
            continue
        name = b.get("run_name", b["name"])
        entry = runs.setdefault(name, {"agg": None, "times": [], "bps": [], "label": ""})
        us = b["real_time"] * TO_US.get(b.get("time_unit", "ns"), 1e-3)
        if b.get("label"):
            entry["label"] = b["label"]
        if b.get("run_type") == "aggregate":
            if b.get("aggregate_name") == "median":
                entry["agg"] = (us, b.get("bytes_per_second"))
        else:
            entry["times"].append(us)
            if b.get("bytes_per_second"):
                entry["bps"].append(b["bytes_per_second"])
    out = {}
    for name, e in runs.items():
        if e["agg"]:
            us, bps = e["agg"]
        elif e["times"]:
            us = statistics.median(e["times"])
            bps = statistics.median(e["bps"]) if e["bps"] else None
        else:
            continue
        out[name] = {"us": us, "bps": bps, "label": e["label"]}
    return out


def size_text(args):
    parts = [a for a in args.split("/") if a]
    if len(parts) >= 2:
        return " ".join([parts[0] + "x" + parts[1]] + parts[2:])
    return " ".join(parts) or "-"


def fmt(value, digits=1):
    return "-" if value is None else f"{value:,.{digits}f}"


def split_name(name):
    """(operator, side, args) of a paired benchmark's run name, or None."""
    parts = name.split("/")
    for i, part in enumerate(parts):
        if part in SIDES and i > 0:
            return "/".join(parts[:i]), part, "/" + "/".join(parts[i + 1:]) if parts[i + 1:] else ""
    m = SUFFIXED.match(parts[0])
    if m:
        return m["op"].replace("_", " "), m["side"], "/" + "/".join(parts[1:]) if parts[1:] else ""
    return None


def is_pixelwise(op, kelmira):
    return kelmira["label"] == "pixelwise" or op.replace("BM_", "").startswith(PIXELWISE_PREFIXES)


def unpaired(runs):
    """Benchmarks the table leaves out because their names follow neither form, one per family."""
    names = {name.split("/")[0] for name in runs if not MEMCPY.match(name) and not split_name(name)}
    return sorted(names)


def build_rows(runs):
    pairs, memcpy = {}, {}
    for name, m in runs.items():
        mm = MEMCPY.match(name)
        if mm:
            memcpy[(mm["type"], mm["args"])] = m
            continue
        split = split_name(name)
        if split:
            op, side, args = split
            pairs.setdefault((op, args), {})[side] = m
    rows = []
    for (op, args), sides in sorted(pairs.items(), key=lambda kv: (kv[0][0], size_key(kv[0][1]))):
        k, o = sides.get("Kelmira"), sides.get("OpenCV")
        ratio = k["us"] / o["us"] if k and o and o["us"] > 0 else None
        roof = None
        if k is not None and is_pixelwise(op, k):
            words = op.split()
            same = memcpy.get((words[-1], args)) if len(words) > 1 else None
            any_type = next((m for (t, a), m in sorted(memcpy.items()) if a == args and m["bps"]), None)
            bandwidth = same if same and same["bps"] else any_type
            if k["bps"] and bandwidth:
                # memcpy's time for as many bytes as the operator touches.
                roof = k["bps"] * k["us"] / bandwidth["bps"]
            elif same:
                roof = same["us"]
        rows.append({"op": op, "size": size_text(args), "kelmira": k and k["us"], "opencv": o and o["us"],
                     "ratio": ratio, "roof": roof, "of_roof": roof / k["us"] if roof and k and k["us"] > 0 else None})
    return rows


def size_key(args):
    return [int(a) if a.isdigit() else a for a in args.split("/") if a]


def machine_line(context):
    cpu = None
    try:
        with open("/proc/cpuinfo") as f:
            for line in f:
                if line.startswith("model name"):
                    cpu = line.split(":", 1)[1].strip()
                    break
    except OSError:
        pass
    parts = [cpu or context.get("host_name", "unknown machine")]
    if context.get("num_cpus"):
        parts.append(f"{context['num_cpus']} CPUs at {context.get('mhz_per_cpu', '?')} MHz")
    if context.get("date"):
        parts.append(context["date"])
    return "; ".join(parts)


def render(rows, context, left_out=()):
    lines = [f"Machine: {machine_line(context)}. Medians; single thread on both sides.", ""]
    lines.append("| Operator | Size | Kelmira (µs) | OpenCV (µs) | Kelmira/OpenCV | memcpy roof (µs) | of roof |")
    lines.append("|---|---|---:|---:|---:|---:|---:|")
    for r in rows:
        lines.append(f"| {r['op']} | {r['size']} | {fmt(r['kelmira'])} | {fmt(r['opencv'])} | "
                     f"{fmt(r['ratio'], 2)} | {fmt(r['roof'])} | {fmt(r['of_roof'], 2)} |")
    ratios = [r["ratio"] for r in rows if r["ratio"]]
    if ratios:
        geo = math.exp(sum(math.log(x) for x in ratios) / len(ratios))
        faster = sum(1 for x in ratios if x < 1)
        lines += ["", f"{len(ratios)} pairs: Kelmira faster in {faster}; geometric mean of Kelmira/OpenCV {geo:.2f}."]
    if left_out:
        lines += ["", "Not paired (name them <Family>/<Op>/Kelmira and .../OpenCV): " + ", ".join(left_out) + "."]
    return "\n".join(lines) + "\n"


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("json", help="the file written by --benchmark_out=FILE --benchmark_out_format=json")
    args = parser.parse_args(argv)
    try:
        with open(args.json) as f:
            data = json.load(f)
        benchmarks = data["benchmarks"]
    except (OSError, ValueError, KeyError, TypeError) as e:
        print(f"bench_table: cannot read {args.json}: {e}", file=sys.stderr)
        return 2
    runs = medians(benchmarks)
    rows = build_rows(runs)
    if not rows:
        print(f"bench_table: no paired .../Kelmira and .../OpenCV benchmarks in {args.json}", file=sys.stderr)
        return 1
    sys.stdout.write(render(rows, data.get("context", {}), unpaired(runs)))
    return 0


if __name__ == "__main__":
    sys.exit(main())
