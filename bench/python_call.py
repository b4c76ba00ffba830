"""What the Python binding costs: LumOper (add, two 1920x1080 BW8 sources into a destination)
called from Python, beside the same call from C++ (the Oper/Add/Kelmira benchmark of
kelmira_bench), alternating in the same run, and the fixed cost of a call on a 1x1 image.

    PYTHONPATH=build/bench/python /usr/bin/python3 bench/python_call.py build/bench/bench/kelmira_bench
"""
import json
import statistics
import subprocess
import sys
import timeit

import numpy as np

import kelmira


def aligned(shape, seed):
    # 64-byte aligned rows, as ZImage allocates them, so that both sides take the same route.
    raw = np.empty(int(np.prod(shape)) + 64, np.uint8)
    start = (-raw.ctypes.data) % 64
    a = raw[start:start + int(np.prod(shape))].reshape(shape)
    a[:] = np.random.default_rng(seed).integers(0, 256, shape, dtype=np.uint8)
    return a


def python_us(a, b, d, calls):
    add = kelmira.ARITH_LOGIC_ADD
    times = timeit.repeat(lambda: kelmira.LumOper(add, a, b, d), number=calls, repeat=7)
    return min(times) / calls * 1e6


def cpp_us(bench):
    out = subprocess.run([bench, "--benchmark_filter=^Oper/Add/Kelmira/1920/1080$", "--benchmark_format=json",
                          "--benchmark_repetitions=7", "--benchmark_report_aggregates_only=false"],
                         check=True, capture_output=True, text=True).stdout
    runs = [r for r in json.loads(out)["benchmarks"] if r.get("run_type") == "iteration"]
    return min(r["real_time"] for r in runs)  # microseconds, as kb::Sizes asks


def main(bench, rounds=5):
    a, b, d = (aligned((1080, 1920), s) for s in (1, 2, 3))
    tiny = [aligned((1, 1), s) for s in (1, 2, 3)]
    rows = []
    for _ in range(rounds):
        py = python_us(a, b, d, 200)
        cpp = cpp_us(bench)
        rows.append((py, cpp))
        print(f"python {py:8.1f} us   C++ {cpp:8.1f} us   ratio {py / cpp:5.3f}   difference {py - cpp:6.1f} us")
    fixed = python_us(*tiny, 20000)
    ratios = [p / c for p, c in rows]
    print(f"median ratio {statistics.median(ratios):.3f} (spread {min(ratios):.3f}..{max(ratios):.3f}); "
          f"a call on a 1x1 image from Python: {fixed:.2f} us")


if __name__ == "__main__":
    main(sys.argv[1])
