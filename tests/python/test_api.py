"""Every operator name and every form of the public headers is bound, or skipped here with its
reason."""
import pathlib
import re
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
# One Python function whose `order` picks among forms that differ only by their count of outputs.
DISPATCHED = {"LumWeightedMoments", "LumWeighedMoments", "LumBinaryMoments"}

# A form is known by its image and vector parameters in order: the pixel types of the views, the
# vector classes, raw tables ("BW8*"). The Python signatures name them by layout or class.
CPP_PARAM = re.compile(r"\b(?:ZROI|ZImage)<Z(\w+)>|\b(Z\w*Vector)\s*\*|\bZ(BW8|BW16)\s*\*")
PY_PARAM = re.compile(r"\b(Z\w*Vector)\b|ndarray\[([^\]]*)\]|\b(Bits|C15|C16)\b")
LAYOUTS = {"uint8 (h, w)": "BW8", "uint16 (h, w)": "BW16", "uint32 (h, w)": "BW32", "int32 (h, w)": "INT32",
           "float32 (h, w)": "FLOAT32", "float64 (h, w)": "FLOAT64", "uint8 (h, w, 3)": "C24",
           "uint8 (h, w, 4)": "C24A", "uint8 table": "BW8*", "uint16 table": "BW16*", "Bits": "BW1"}


def test_every_header_operator_is_bound():
    _, by_header, _ = gen_api.parse(ROOT / "include" / "kelmira")
    names = {n: h for h, ns in by_header.items() for n in ns}
    assert len(names) > 150 and "LumConvolSobel" in names  # the parser sees the macro forms
    missing = sorted(f"{h}: {n}" for n, h in names.items()
                     if n not in SKIP and not n.endswith(ALIGNED_SUFFIX) and not hasattr(kelmira, n))
    assert not missing
    assert not [n for n in SKIP if n not in names], "a skipped name left the headers"


def cpp_form(signature):
    params = signature[signature.index("(") + 1:signature.rindex(")")]
    return tuple(m[1] or m[2] or m[3] + "*" for m in CPP_PARAM.finditer(params))


def python_forms(name):
    forms = set()
    for line in (getattr(kelmira, name).__doc__ or "").splitlines():
        m = re.match(r"(?:\d+\. )?%s\((.*)\) ->" % name, line)
        if m:
            found = (p[1] or LAYOUTS.get(p[2]) or LAYOUTS.get(p[3], p[3]) for p in PY_PARAM.finditer(m[1]))
            forms.add(tuple(f for f in found if f))
    return forms


def test_every_header_form_is_bound():
    forms = gen_api.forms(ROOT / "include" / "kelmira")
    assert cpp_form("void F(ZROI<ZC24>* s, ZBW8* t, ZPathVector* p);") == ("C24", "BW8*", "ZPathVector")
    assert len(forms["LumConvolSobel"]) == 3 and len(forms["LumErodeBox"]) == 4  # macro forms expanded
    missing = sorted(f"{n}{cpp_form(s)}" for n, signatures in forms.items() if hasattr(kelmira, n)
                     and n not in DISPATCHED for s in signatures if cpp_form(s) not in python_forms(n))
    assert not missing


def test_every_vector_class_is_bound():
    text = "".join(p.read_text() for p in (ROOT / "include" / "kelmira").rglob("*.h"))
    names = set(re.findall(r"class KELMIRA_API (Z\w*Vector)\b", text))
    names |= set(re.findall(r"^KELMIRA_\w+_VECTOR\((Z\w*Vector),", text, re.M))
    assert len(names) >= 12 and not [n for n in sorted(names) if not hasattr(kelmira, n)]


def test_enumerations_with_implicit_values():
    assert kelmira.Z_ANGLE_UNITS.Z_ANGLE_UNIT_GRADIANS == 2
    assert kelmira.SMOOTH_MEDIAN == 4 and kelmira.Z_COLOR_SYSTEM_YUV == 3
