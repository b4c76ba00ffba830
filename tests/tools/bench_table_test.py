#!/usr/bin/env python3
"""Tests of scripts/bench_table.py on hand-made Google Benchmark output."""
import importlib.util
import io
import json
import os
import sys
import tempfile
import unittest
from contextlib import redirect_stderr, redirect_stdout

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
found = importlib.util.spec_from_file_location("bench_table", os.path.join(ROOT, "scripts", "bench_table.py"))
bench_table = importlib.util.module_from_spec(found)
found.loader.exec_module(bench_table)


def agg(run, name, value, bps=None, label=None, unit="us"):
    """An aggregate (median unless told) of `value` in `unit`."""
    b = {"name": f"{run}_{name}", "run_name": run, "run_type": "aggregate", "aggregate_name": name,
         "real_time": value, "cpu_time": value, "time_unit": unit}
    if bps:
        b["bytes_per_second"] = bps
    if label:
        b["label"] = label
    return b


def it(run, us):
    return {"name": run, "run_name": run, "run_type": "iteration", "real_time": us, "cpu_time": us, "time_unit": "us"}


def table(benchmarks, context=None):
    with tempfile.NamedTemporaryFile("w", suffix=".json", delete=False) as f:
        json.dump({"context": context or {"num_cpus": 2}, "benchmarks": benchmarks}, f)
    out, err = io.StringIO(), io.StringIO()
    with redirect_stdout(out), redirect_stderr(err):
        code = bench_table.main([f.name])
    os.unlink(f.name)
    return code, out.getvalue(), err.getvalue()


def row(text, op, size):
    for line in text.splitlines():
        cells = [c.strip() for c in line.strip("|").split("|")]
        if len(cells) == 7 and cells[0] == op and cells[1] == size:
            return cells
    raise AssertionError(f"no row {op} {size} in:\n{text}")


class Pairing(unittest.TestCase):
    def test_medians_pair_by_name_and_size_and_ignore_other_aggregates(self):
        code, out, _ = table([
            agg("BM_Add_BW8_Kelmira/1920/1080", "mean", 999.0),
            agg("BM_Add_BW8_Kelmira/1920/1080", "median", 100.0),
            agg("BM_Add_BW8_Kelmira/1920/1080", "stddev", 5.0),
            agg("BM_Add_BW8_OpenCV/1920/1080", "median", 0.2, unit="ms"),
            agg("BM_Add_BW8_Kelmira/4096/4096", "median", 900.0),
            agg("BM_Add_BW8_OpenCV/4096/4096", "median", 600.0),
        ])
        self.assertEqual(code, 0)
        self.assertEqual(row(out, "Add BW8", "1920x1080")[2:5], ["100.0", "200.0", "0.50"])
        self.assertEqual(row(out, "Add BW8", "4096x4096")[4], "1.50")
        # Sizes sort by number, not as text.
        self.assertLess(out.index("1920x1080"), out.index("4096x4096"))
        self.assertIn("2 pairs: Kelmira faster in 1; geometric mean of Kelmira/OpenCV 0.87", out)

    def test_runs_without_repetitions_use_the_median_of_their_iterations(self):
        _, out, _ = table([it("BM_ConvolSobelX_BW8_Kelmira/64/64/3", t) for t in (10.0, 50.0, 12.0)] +
                          [it("BM_ConvolSobelX_BW8_OpenCV/64/64/3", 24.0)])
        self.assertEqual(row(out, "ConvolSobelX BW8", "64x64 3")[2:5], ["12.0", "24.0", "0.50"])

    def test_one_sided_rows_are_kept_and_foreign_names_ignored(self):
        _, out, _ = table([agg("BM_ErodeBox3_C24_Kelmira/8/8", "median", 3.0), agg("BM_Odd/8/8", "median", 1.0),
                           agg("BM_Foo_BW8_Halcon/8/8", "median", 1.0)])
        self.assertEqual(row(out, "ErodeBox3 C24", "8x8")[2:5], ["3.0", "-", "-"])
        # Left out of the table, but named under it so that they can be renamed.
        self.assertNotIn("| Odd", out)
        self.assertIn("Not paired (name them <Family>/<Op>/Kelmira and .../OpenCV): BM_Foo_BW8_Halcon, BM_Odd.", out)


class Roof(unittest.TestCase):
    def test_pixelwise_rows_sit_beside_memcpy_of_as_many_bytes(self):
        # memcpy moves 2 GB/s; the C24 operator touches 1 MB an iteration: roof 500 µs.
        _, out, _ = table([
            agg("BM_Memcpy_BW8/1920/1080", "median", 100.0, bps=2e9),
            agg("BM_Swap_C24_Kelmira/1920/1080", "median", 1000.0, bps=1e9, label="pixelwise"),
            agg("BM_Swap_C24_OpenCV/1920/1080", "median", 800.0),
            agg("BM_ConvolLowpass_BW8_Kelmira/1920/1080", "median", 400.0, bps=1e9),
            agg("BM_ConvolLowpass_BW8_OpenCV/1920/1080", "median", 800.0),
        ])
        self.assertEqual(row(out, "Swap C24", "1920x1080")[5:7], ["500.0", "0.50"])
        # Not pixel-wise: no roof.
        self.assertEqual(row(out, "ConvolLowpass BW8", "1920x1080")[5:7], ["-", "-"])

    def test_known_pixelwise_names_without_bytes_use_memcpy_of_their_type_and_size(self):
        _, out, _ = table([
            agg("BM_Memcpy_BW8/1920/1080", "median", 100.0),
            agg("BM_Memcpy_BW8/4096/4096", "median", 900.0),
            agg("BM_OperAdd_BW8_Kelmira/1920/1080", "median", 125.0),
            agg("BM_OperAdd_BW8_OpenCV/1920/1080", "median", 100.0),
        ])
        self.assertEqual(row(out, "OperAdd BW8", "1920x1080")[4:7], ["1.25", "100.0", "0.80"])

    def test_family_op_side_names_pair_and_take_the_roof_from_memcpy_bandwidth(self):
        # Oper/Add/<side>/<args>: the side is a path segment; memcpy of BW8 gives the bandwidth.
        _, out, _ = table([
            agg("BM_Memcpy_BW8/1920/1080", "median", 100.0, bps=4e9),
            agg("Oper/Add/Kelmira/1920/1080", "median", 150.0, bps=2e9),
            agg("Oper/Add/OpenCV/1920/1080", "median", 300.0, bps=1e9),
            agg("Filter/Sobel/Kelmira/1920/1080/3", "median", 50.0, bps=1e9),
            agg("Filter/Sobel/OpenCV/1920/1080/3", "median", 40.0),
        ])
        self.assertEqual(row(out, "Oper/Add", "1920x1080"), ["Oper/Add", "1920x1080", "150.0", "300.0", "0.50",
                                                            "75.0", "0.50"])
        self.assertEqual(row(out, "Filter/Sobel", "1920x1080 3")[4:7], ["1.25", "-", "-"])


class BadInput(unittest.TestCase):
    def test_unreadable_or_empty_input_is_an_error_line_and_a_code(self):
        code, out, err = table([agg("BM_Memcpy_BW8/1/1", "median", 1.0)])
        self.assertEqual((code, out), (1, ""))
        self.assertIn("no paired", err)
        with tempfile.NamedTemporaryFile("w", suffix=".json", delete=False) as f:
            f.write("{not json")
        err = io.StringIO()
        with redirect_stderr(err):
            self.assertEqual(bench_table.main([f.name]), 2)
        os.unlink(f.name)
        self.assertIn("cannot read", err.getvalue())


if __name__ == "__main__":
    unittest.main()
