"""Statistics, comparisons and moments: values that C++ writes through references come back as
Python numbers, checked against NumPy."""
import numpy as np
import pytest

import kelmira as K
from conftest import gray


@pytest.mark.parametrize("dtype", [np.uint8, np.uint16])
def test_statistics_come_back_as_numbers(rng, dtype):
    a = gray(rng, 21, 33, dtype)[1:, 2:]  # a window: strides honoured
    var, mean = K.LumPixelVariance(a)
    assert var == pytest.approx(a.var(), rel=1e-5) and mean == pytest.approx(a.mean(), rel=1e-6)
    assert K.LumPixelMin(a) == a.min() and K.LumPixelMax(a) == a.max()
    assert K.LumPixelStat(a)[:2] == (a.min(), a.max())
    t = int(a.mean())
    assert K.LumPixelCount(a, t // 2, t) == ((a < t // 2).sum(), ((a >= t // 2) & (a < t)).sum(), (a >= t).sum())
    # The three LumArea forms: at or above, strictly above (by keyword), all pixels.
    assert (K.LumArea(a, t), K.LumArea(a, binarized=t), K.LumArea(a)) == ((a >= t).sum(), (a > t).sum(), a.size)
    assert K.LumPixelCompare(a, a) == 0 and K.LumPixelCompare(a, a // 2) == (a != a // 2).sum()


def test_colour_outputs_in_byte_order(rng):
    c = rng.integers(0, 256, (9, 14, 3), dtype=np.uint8)
    out = K.LumPixelVariance(c)
    assert len(out) == 7
    np.testing.assert_allclose(out[:3], c.reshape(-1, 3).var(axis=0), rtol=1e-5)
    np.testing.assert_allclose(out[3:6], c.reshape(-1, 3).mean(axis=0), rtol=1e-6)
    assert out[6] == pytest.approx(c.var(), rel=1e-5)
    assert K.LumRmsNoise(c, c, K.LUM_REFERENCE_NOISE_NONE) == (0.0, 0.0, 0.0)


def test_regression_correlogram_and_focus(rng):
    a = gray(rng, 8, 9) // 3
    b = 2 * a + 3
    slope, intercept, correlation = K.LumLinearRegression(a, b, 0)
    assert (slope, intercept, correlation) == pytest.approx((2.0, 3.0, 1.0), abs=1e-4)
    cells = K.LumCorrelogram(a, b)
    expected = np.zeros((256, 256), np.int64)
    np.add.at(expected, (255 - b.astype(int), a.astype(int)), 1)
    np.testing.assert_array_equal(cells, np.minimum(expected, 255))
    wide = K.LumCorrelogram(a, b, np.zeros((256, 256), np.uint16))
    assert wide.dtype == np.uint16 and wide.sum() == a.size
    d1, d2 = np.diff(a.astype(int), axis=1)[:-1], np.diff(a.astype(int), axis=0)[:, :-1]
    assert K.LumFocusing(a) == pytest.approx(float((d1 ** 2 + d2 ** 2).sum()), rel=1e-6)
    with pytest.raises(K.Error) as e:
        K.LumLinearRegression(np.full((3, 3), 9, np.uint8), a[:3, :3], 0)
    assert (e.value.number, e.value.trace) == (1051, ["LumLinearRegression"])


def test_moments_by_order_and_centres(rng):
    a = gray(rng, 10, 16).astype(np.uint8)
    y, x = np.mgrid[:10, :16].astype(np.float64)
    g = a.astype(np.float64)
    terms = [g, g * x, g * y, g * x * x, g * x * y, g * y * y]
    second = K.LumWeightedMoments(a, order=2)
    np.testing.assert_allclose(second, [t.sum() for t in terms], rtol=1e-5)
    assert len(K.LumWeightedMoments(a, order=4)) == 15 and K.LumWeighedMoments(a) == second[:3]
    on = (a >= 128).astype(np.float64)
    np.testing.assert_allclose(K.LumBinaryMoments(a, 128), [on.sum(), (on * x).sum(), (on * y).sum()], rtol=1e-6)
    cx, cy = K.LumGravityCenter(a, 128)
    assert (cx, cy) == pytest.approx(((on * x).sum() / on.sum(), (on * y).sum() / on.sum()), rel=1e-5)
    # Outputs the operator leaves unwritten (no pixel at or above the level) come back as nan.
    assert np.isnan(K.LumGravityCenter(a, 256)).all()
    with pytest.raises(ValueError):
        K.LumWeightedMoments(a, order=5)


def test_count_calls_the_predicate_and_raises_its_exception(rng):
    a = gray(rng, 5, 7)
    assert K.LumCount(a, lambda v: v >= 100) == (a >= 100).sum()
    assert K.LumCount(np.dstack([a, a, a]), lambda p: p == (a[0, 0],) * 3) == (a == a[0, 0]).sum()
    seen = []

    def fails(v):
        seen.append(v)
        raise KeyError(v)
    with pytest.raises(KeyError):
        K.LumCount(a, fails)
    assert len(seen) == 1  # no call after the first failure
