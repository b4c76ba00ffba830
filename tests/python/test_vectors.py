"""The vector classes, the legacy ZVector forms, the C15/C16 wrappers and raw LumLut tables."""
import numpy as np
import pytest

import kelmira as K
from conftest import gray

VECTORS = [  # class, two elements as Python gives them back, the NumPy shape of two
    (K.ZBW8Vector, [3, 250], (2,)),
    (K.ZBW16Vector, [3, 65000], (2,)),
    (K.ZBW32Vector, [3, 2**32 - 1], (2,)),
    (K.ZINT32Vector, [-5, 7], (2,)),
    (K.ZBWHistogramVector, [0, 9], (2,)),
    (K.ZC24Vector, [(1, 2, 3), (250, 0, 7)], (2, 3)),
    (K.ZColorVector, [(0.5, -1.0, 2.0), (3.0, 4.0, 5.0)], (2, 3)),
    (K.ZPathVector, [(1, -2), (300, 4)], (2,)),
    (K.ZBW8PathVector, [(1, 2, 65), (3, 4, 255)], (2,)),
    (K.ZBW16PathVector, [(1, 2, 65535), (3, 4, 0)], (2,)),
    (K.ZC24PathVector, [(1, 2, (3, 4, 5)), (-6, 7, (8, 9, 10))], (2,)),
    (K.ZPeaksVector, [(1, 2, 2.5, -3, 4), (5, 6, 7.25, 8, -9)], (2,)),
]


@pytest.mark.parametrize("cls, elements, shape", VECTORS)
def test_vector_classes_round_trip(cls, elements, shape):
    v = cls(elements)
    assert len(v) == 2 and v.numpy().shape == shape and np.asarray(v).shape == shape
    assert v[-1] == v[1] == tuple(elements[1]) if isinstance(elements[1], tuple) else v[1] == elements[1]
    v[0] = elements[1]
    v.AddElement(elements[0])
    assert len(v) == 3 and v[0] == v[1] and v[2] == v[-1] != v[1]
    np.testing.assert_array_equal(cls(v.numpy()).numpy(), v.numpy())  # from its own array: the same
    with pytest.raises(IndexError):
        v[3]


def test_vector_edges():
    reserved = K.ZPeaksVector(4)  # a capacity without a store: nothing to read
    reserved.SetNumElements(2)
    assert reserved.numpy().shape == (0,)
    with pytest.raises(IndexError):
        reserved[0]
    with pytest.raises(TypeError, match=r"elements of shape \(n, 3\)"):
        K.ZC24Vector(np.zeros((2, 2), np.uint8))
    with pytest.raises((TypeError, ValueError)):
        K.ZC24Vector(1)[0] = (1, 2)


def test_path_files_and_closed_flag(tmp_path):
    p = K.ZBW8PathVector([(1, 2, 65), (3, 4, 255)])
    p.closed = 1
    p.Save(str(tmp_path / "p"))
    q = K.ZBW8PathVector()
    q.Load(str(tmp_path / "p"))
    assert q.numpy().tolist() == p.numpy().tolist() and q.closed == 0  # the flag is not saved
    with pytest.raises(K.Error) as e:
        q.Load(str(tmp_path / "missing"))
    assert (e.value.number, e.value.trace) == (1102, ["ZVector::Load"])


def square(n=32):
    a = np.zeros((n, n), np.uint8)
    a[8:20, 6:25] = 200
    return a


def test_contour_fills_path_vectors_in_place():
    a = square()
    walk = (K.CONTOUR_CLOCKWISE_ALONG_EDGE, 6, 8, K.CONTOUR_THRESHOLD_ABOVE, 100, K.CONNEXITY_8)
    records = K.LumContour(a, *walk)
    p = K.ZPathVector()
    assert K.LumContour(a, *walk, p) is p and p.closed == 1
    np.testing.assert_array_equal(p.numpy(), records)
    legacy = K.ZVector()
    assert K.LumContour(a, *walk, legacy) is legacy
    points = legacy.numpy("<i4")[:3 * legacy.GetNbGroup()].reshape(-1, 3)
    np.testing.assert_array_equal(points[:, :2], np.stack([records["x"], records["y"]], 1))


def test_legacy_histogram_forms(rng):
    a = gray(rng, 13, 17)
    h = K.LumHistogram(a)
    v = K.ZVector()
    assert K.LumHistogram(a, v) is v and v.GetVectType() == 2
    np.testing.assert_array_equal(v.numpy("<u4")[:256], h)
    assert K.LumAnalyseHistogram(v, 0, 255, K.LUM_HISTOGRAM_FEATURE_PIXEL_COUNT) == a.size
    assert K.LumAnalyseHistogram(v, 0, 255, K.LUM_HISTOGRAM_FEATURE_AVERAGE, 0.0) == pytest.approx(a.mean(), 1e-5)
    table = K.ZVector()
    K.LumSetupEqualize(v, table)
    below = np.concatenate([[0], np.cumsum(h.astype(np.int64))[:-1]])
    np.testing.assert_array_equal(table.numpy("<u2")[:256] & 255, ((below << 8) // a.size) & 255)
    assert K.LumIsodataThreshold(v, 0, 255) > 0
    with pytest.raises(K.Error) as e:
        K.LumAnalyseHistogram(K.ZVector(), 0, 255, 0)
    assert e.value.trace == ["LumAnalyseHistogram"]


def c15(c):
    c = c.astype(np.uint16) >> 3
    return (c[..., 2] << 10) | (c[..., 1] << 5) | c[..., 0]


def test_c15_c16_through_their_wrappers(rng):
    c = rng.integers(0, 256, (5, 7, 3), dtype=np.uint8)
    keep = np.full((5, 7), 0x8000, np.uint16)  # bit 15 of a C15 destination keeps its value
    out = K.LumConvert(c, K.C15(keep))
    assert out.array is keep
    np.testing.assert_array_equal(keep, c15(c) | 0x8000)
    np.testing.assert_array_equal(K.LumConvert(out, np.zeros_like(c)), (c >> 3) << 3)
    c16 = K.LumConvert(c, K.C16(np.zeros((5, 7), np.uint16))).array
    back = K.LumConvert(K.C16(c16), np.zeros_like(c))
    np.testing.assert_array_equal(back, c & np.array([0xF8, 0xFC, 0xF8], np.uint8))
    window = np.zeros((9, 9), np.uint16)
    K.LumCopy(0x1234, K.C16(window[2:4, 3:6]))  # a slice is a view: only its window is written
    assert window.sum() == 6 * 0x1234 and (window[2:4, 3:6] == 0x1234).all()
    assert isinstance(K.LumCopy(K.C15(keep), None), K.C15)
    with pytest.raises(TypeError, match="C15 wraps a uint16"):
        K.C15(np.zeros((2, 2), np.uint8))
    with pytest.raises(TypeError):  # plain uint16 is BW16, which has no such conversion
        K.LumConvert(c, np.zeros((5, 7), np.uint16))
    with pytest.raises(ValueError, match="read-only"):
        ro = np.zeros((5, 7), np.uint16)
        ro.flags.writeable = False
        K.LumConvert(c, K.C15(ro))


def test_raw_tables_and_vector_tables(rng):
    a = gray(rng, 6, 9)
    table = (255 - np.arange(256)).astype(np.uint8)
    np.testing.assert_array_equal(K.LumLut(a, None, table), 255 - a)
    w = gray(rng, 6, 9, np.uint16)
    np.testing.assert_array_equal(K.LumLut(w, None, (65535 - np.arange(65536)).astype(np.uint16)), 65535 - w)
    small = np.zeros((2, 2), np.uint8)
    # A whole uint8 table is read in place by the pointer form, which traces nothing of its own;
    # a vector (or any other array) goes through the vector form, traced "LumLut".
    for given, trace in ((table, []), (K.ZBW8Vector(table), ["LumLut"]), (table.astype(np.int64), ["LumLut"])):
        with pytest.raises(K.Error) as e:
            K.LumLut(a, small, given)
        assert (e.value.number, e.value.trace) == (1402, trace)
