"""One or two calls per family against a NumPy reference, and errors with number and trace."""
import numpy as np
import pytest

import kelmira
from conftest import gray

K = kelmira


def box_min(a, r):
    h, w = a.shape
    out = np.empty_like(a)
    for y in range(h):
        for x in range(w):
            out[y, x] = a[max(0, y - r):y + r + 1, max(0, x - r):x + r + 1].min()
    return out


OPER_CASES = [  # code, reference on int arrays
    (K.ARITH_LOGIC_SUBTRACT, lambda a, b: np.maximum(a - b, 0)),
    (K.ARITH_LOGIC_ABSOLUTE_DIFFERENCE, lambda a, b: abs(a - b)),
    (K.ARITH_LOGIC_MAX, np.maximum),
    (K.ARITH_LOGIC_GREATER, lambda a, b: np.where(a > b, 255, 0)),
]


@pytest.mark.parametrize("code, ref", OPER_CASES)
def test_oper_two_images(rng, code, ref):
    a, b = gray(rng, 9, 37), gray(rng, 9, 37)
    got = K.LumOper(code, a, b, None)
    np.testing.assert_array_equal(got, ref(a.astype(int), b.astype(int)))


def test_oper_mixed_bw8_to_bw16_product(rng):
    a, b = gray(rng, 5, 6), gray(rng, 5, 6)
    got = K.LumOper(K.ARITH_LOGIC_MULTIPLY, a, b, np.zeros((5, 6), np.uint16))
    np.testing.assert_array_equal(got, a.astype(int) * b)


def test_point_lut_and_gain(rng):
    a = gray(rng, 7, 11)
    table = (255 - np.arange(256)).astype(np.uint8)
    np.testing.assert_array_equal(K.LumLut(a, None, table), 255 - a)
    np.testing.assert_array_equal(K.LumGainOffset(a, None, 0.5, 10.0), np.minimum(((a.astype(int) * 16) >> 5) + 10, 255))
    with pytest.raises(K.Error) as e:
        K.LumLut(a, None, table[:255])
    assert (e.value.number, e.value.name, e.value.trace) == (1613, "Z_ERROR_TABLE_SIZE", ["LumLut"])


def test_convert_colour_and_depth(rng):
    c = rng.integers(0, 256, (4, 6, 3), dtype=np.uint8)
    gray8 = K.LumConvert(c, np.zeros((4, 6), np.uint8))
    np.testing.assert_array_equal(gray8, (c.astype(int).sum(axis=2) * 85) >> 8)
    w = gray(rng, 4, 6, np.uint16)
    np.testing.assert_array_equal(K.LumConvert(w, np.zeros((4, 6), np.uint8), 8), w >> 8)


def test_convolution_with_kernel_classes(rng):
    a = gray(rng, 12, 15)
    k = K.ZKernel(K.KERNEL_LOWPASS_1)
    assert (k.sizeX, k.sizeY) == (3, 3) and (k.coefficients == 1).all()
    got = K.LumConvolKernel(a, None, k)
    # 3x3 mean in Q8, edges replicated.
    p = np.pad(a.astype(int), 1, mode="edge")
    s = sum(p[dy:dy + 12, dx:dx + 15] for dy in range(3) for dx in range(3))
    np.testing.assert_array_equal(got, np.minimum((s * int(256 / 9)) >> 8, 255))
    custom = K.ZKernel(np.array([[0, 0, 0], [0, 1, 0], [0, 0, 0]], np.float32))
    np.testing.assert_array_equal(K.LumConvolKernel(a, None, custom), a)
    with pytest.raises(K.Error) as e:
        K.LumConvolKernel(a, None, K.ZKernel())
    assert e.value.number == 1700 and e.value.trace == ["LumConvolKernel BW8"]


@pytest.mark.parametrize("dtype", [np.uint8, np.uint16])
def test_gray_morphology_box(rng, dtype):
    a = gray(rng, 10, 13, dtype)
    np.testing.assert_array_equal(K.LumErodeBox(a, None, 2), box_min(a, 2))
    c = rng.integers(0, 256, (6, 7, 3), dtype=np.uint8)
    got = K.LumErodeBox(c, None, 1)
    for ch in range(3):
        np.testing.assert_array_equal(got[..., ch], box_min(c[..., ch], 1))


def test_morphology_errors_carry_number_and_trace(rng):
    a = gray(rng, 6, 6)
    with pytest.raises(K.Error) as e:
        K.LumErodeBox(a, np.zeros((5, 6), np.uint8), 1)
    assert isinstance(e.value, RuntimeError)
    assert (e.value.number, e.value.name, e.value.trace) == (1402, "Z_ERROR_DIFFERENT_SIZES", ["LumErodeBox"])
    assert e.value.text == K.ZGetErrorText(1402)


def test_thin_returns_destination_and_count():
    a = np.zeros((9, 9), np.uint8)
    a[2:7, 1:8] = 255
    out, count = K.LumThin(a, None, K.ZKernel(K.KERNEL_THIN_1), K.KERNEL_ROTATION_CLOCKWISE, 100)
    assert out.shape == a.shape and out.dtype == np.uint8 and 0 <= count <= 100
    assert out.sum() < a.sum() and not (out & ~a).any()
    with pytest.raises(K.Error) as e:
        K.LumThin(a, None, K.ZKernel(K.KERNEL_THIN_1), 3, 10)
    assert e.value.number == 1014 and e.value.trace == ["LumThin"]


def test_histograms_as_arrays(rng):
    a = gray(rng, 13, 17)
    h = K.LumHistogram(a)
    assert h.dtype == np.uint32
    np.testing.assert_array_equal(h, np.bincount(a.ravel(), minlength=256))
    np.testing.assert_array_equal(K.LumCumulateHistogram(h), np.cumsum(h))
    assert K.LumAnalyseHistogram(h, K.LUM_HISTOGRAM_FEATURE_AVERAGE) == pytest.approx(a.mean(), rel=1e-5)
    below = np.concatenate([[0], np.cumsum(h)[:-1]])
    np.testing.assert_array_equal(K.LumEqualize(a), (below * 255 // a.size)[a])
    assert 0 <= K.LumAutoThreshold(a, K.LUM_THRESHOLD_MODE_ISODATA, 0.0) <= 255


def test_contour_paths_as_structured_arrays():
    a = np.zeros((8, 10), np.uint8)
    a[2:5, 3:7] = 200
    p = K.LumContour(a, K.CONTOUR_CLOCKWISE_ALONG_EDGE, 3, 2, K.CONTOUR_THRESHOLD_ABOVE, 100, K.CONNEXITY_8)
    assert p.dtype.names == ("x", "y") and p.dtype.itemsize == 4
    ring = {(x, y) for y in range(2, 5) for x in range(3, 7)} - {(4, 3), (5, 3)}
    assert set(zip(p["x"].tolist(), p["y"].tolist())) == ring and len(p) == len(ring)
    q = K.LumContour(a.astype(np.uint16), K.CONTOUR_CLOCKWISE_ALONG_EDGE, 3, 2, K.CONTOUR_THRESHOLD_ABOVE, 100,
                     K.CONNEXITY_8, None, 0)
    assert q.dtype.itemsize == 6 and (q["pixel"] == 200).all()
    with pytest.raises(K.Error) as e:
        K.LumContour(a, K.CONTOUR_CLOCKWISE_ALONG_EDGE, 0, 0, K.CONTOUR_THRESHOLD_ABOVE, 100, K.CONNEXITY_8)
    assert e.value.number == 1500 and e.value.trace == ["LumContour ( ZPathVector)"]


def test_vector_classes_are_filled_and_read_in_place(rng):
    a = gray(rng, 9, 11)
    h = K.ZBWHistogramVector()
    assert K.LumHistogram(a, h) is h and len(h) == 256
    np.testing.assert_array_equal(np.asarray(h), np.bincount(a.ravel(), minlength=256))
    table = K.ZBW8Vector(256)
    assert K.LumSetupEqualize(h, table) is table
    np.testing.assert_array_equal(K.LumLut(a, None, table), K.LumEqualize(a))
    table[-1] = 7
    assert table[255] == 7 and table.numpy().dtype == np.uint8
    with pytest.raises(IndexError):
        table[256]
    with pytest.raises(K.Error) as e:
        K.LumAnalyseHistogram(K.ZBWHistogramVector(np.zeros(10, np.uint32)), K.LUM_HISTOGRAM_FEATURE_AVERAGE)
    assert (e.value.number, e.value.trace) == (1613, ["LumAnalyseHistogram"])
    signed = K.ZINT32Vector(np.array([-5, 7], np.int32))
    signed.AddElement(-(2 ** 31))
    assert signed.numpy().tolist() == [-5, 7, -(2 ** 31)] and signed.numpy().dtype == np.int32
