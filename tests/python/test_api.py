"""Every operator name of the public headers is bound, or skipped here with its reason."""
import pathlib
import sys

import pytest

import kelmira

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "python"))
gen_api = pytest.importorskip("gen_api")

SKIP = {
    "ZGetTLSPtr": "a raw pointer to the thread's state",
    "ZTraceError": "keeps its text by pointer, which a Python string would outlive",
    "Ovidra_Malloc": "raw memory: NumPy owns the arrays",
    "Ovidra_Free": "raw memory: NumPy owns the arrays",
}
# Inner forms that report by C++ exception and need a byte-aligned view; the plain forms take
# Bits at any offset.
ALIGNED_SUFFIX = "Aligned"


def test_every_header_operator_is_bound():
    _, by_header, _ = gen_api.parse(ROOT / "include" / "kelmira")
    names = {n: h for h, ns in by_header.items() for n in ns}
    assert len(names) > 150 and "LumConvolSobel" in names  # the parser sees the macro forms
    missing = sorted(f"{h}: {n}" for n, h in names.items()
                     if n not in SKIP and not n.endswith(ALIGNED_SUFFIX) and not hasattr(kelmira, n))
    assert not missing
    assert not [n for n in SKIP if n not in names], "a skipped name left the headers"


def test_enumerations_with_implicit_values():
    assert kelmira.Z_ANGLE_UNITS.Z_ANGLE_UNIT_GRADIANS == 2
    assert kelmira.SMOOTH_MEDIAN == 4 and kelmira.Z_COLOR_SYSTEM_YUV == 3
