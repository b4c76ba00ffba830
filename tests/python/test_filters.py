"""Predefined filters, Canny stages, the median and affine resampling against NumPy references."""
import numpy as np
import pytest

import kelmira as K
from conftest import gray


def windows(a, ry, rx):
    """Every (2ry + 1) x (2rx + 1) window of `a` with replicated borders, as an (h, w, n) stack."""
    p = np.pad(a.astype(np.int64), ((ry, ry), (rx, rx)), mode="edge")
    h, w = a.shape
    return np.stack([p[dy:dy + h, dx:dx + w] for dy in range(2 * ry + 1) for dx in range(2 * rx + 1)], axis=2)


@pytest.mark.parametrize("dtype", [np.uint8, np.uint16])
@pytest.mark.parametrize("half", [(2, 2), (4, 1), (30, 3)])  # the last is limited to width - 1
def test_uniform_box_of_any_size(rng, dtype, half):
    a = gray(rng, 11, 23, dtype)
    hx, hy = min(half[0], 22), min(half[1], 10)
    scale = (1 << 24) // ((2 * hx + 1) * (2 * hy + 1))
    expected = (windows(a, hy, hx).sum(axis=2) * scale) >> 24
    np.testing.assert_array_equal(K.LumConvolUniform(a, None, *half), expected)


@pytest.mark.parametrize("mmx", [0, 1])
def test_gaussian3x3_and_sobel_interior(rng, mmx, scalar_and_wide):
    K.ZSetMMX(mmx)
    a = gray(rng, 17, 45)
    w = windows(a, 1, 1)  # columns: NW N NE W c E SW S SE
    gauss = (w @ np.array([1, 2, 1, 2, 4, 2, 1, 2, 1])) >> 4
    np.testing.assert_array_equal(K.LumConvolGaussian3x3(a), gauss)
    sx = w @ np.array([-1, 0, 1, -2, 0, 2, -1, 0, 1])
    sy = w @ np.array([-1, -2, -1, 0, 0, 0, 1, 2, 1])
    sobel = K.LumConvolSobel(a)
    # The frame depends on the worker (zeros outside on the scalar path); the interior never does.
    np.testing.assert_array_equal(sobel[1:-1, 1:-1], np.minimum(abs(sx) + abs(sy), 255)[1:-1, 1:-1])


def test_predefined_errors_and_colour_planes(rng):
    with pytest.raises(K.Error) as e:
        K.LumConvolSobelX(gray(rng, 1, 9))
    assert (e.value.number, e.value.trace) == (1403, ["LumConvolSobelX (BW8)"])
    with pytest.raises(K.Error) as e:
        K.LumConvolUniform5x5(gray(rng, 4, 9))
    assert (e.value.number, e.value.trace) == (1403, ["ConvolUniform5x5"])
    c = rng.integers(0, 256, (9, 12, 3), dtype=np.uint8)
    got = K.LumConvolGradientX(c)
    for ch in range(3):
        np.testing.assert_array_equal(got[..., ch], K.LumConvolGradientX(np.ascontiguousarray(c[..., ch]), None))


def test_gradient_vector_and_canny_stages(rng):
    a = gray(rng, 12, 19)
    g = K.LumGradientVector(a)
    assert g.dtype == np.uint32
    halves = g.view(np.int16).reshape(12, 19, 2)
    w = windows(a, 1, 1)
    np.testing.assert_array_equal(halves[..., 0], w[..., 3] - w[..., 5])  # W - E
    np.testing.assert_array_equal(halves[..., 1], w[..., 1] - w[..., 7])  # N - S
    direction, magnitude = K.NonMaximaSuppression(g)
    assert set(np.unique(direction)) <= {0, 45, 90, 135}
    m = np.minimum((abs(halves[..., 0].astype(int)) + abs(halves[..., 1])) >> 1, 255)
    assert ((magnitude == 0) | (magnitude == m)).all() and (magnitude > 0).any()
    # The detector writes only edges: a marked background shows what it left alone.
    out = np.full_like(a, 7)
    K.LumCannyDetector(a, out, K.SMOOTH_NONE, K.EDGE_FOLLOWING_HYSTERESIS)
    assert set(np.unique(out)) <= {7, 128, 255} and (out == 128).any()
    with pytest.raises(K.Error) as e:
        K.LumCannyDetector(a, np.zeros((3, 3), np.uint8), K.SMOOTH_NONE, K.EDGE_FOLLOWING_HYSTERESIS)
    assert (e.value.number, e.value.trace) == (1402, ["Failed canny detection !"])


def test_median_bw8_in_place_and_not(rng):
    a = gray(rng, 13, 29)
    expected = np.median(windows(a, 1, 1), axis=2).astype(np.uint8)
    np.testing.assert_array_equal(K.LumMedian(a), expected)
    K.LumMedian(a, a)
    np.testing.assert_array_equal(a, expected)


@pytest.mark.parametrize("dtype", [np.uint8, np.uint16])
def test_affine_translation_and_refusals(rng, dtype):
    a = gray(rng, 10, 14, dtype)
    np.testing.assert_array_equal(K.LumLinearTransform(a, 1, 0, 0, 0, 1, 0, None, 0), a)
    moved = K.LumRegister(a, None, 0, 0, 3, 2, 0)  # (0, 0) onto (3, 2): whole pixels
    expected = np.zeros_like(a)
    expected[2:, 3:] = a[:-2, :-3]
    np.testing.assert_array_equal(moved, expected)
    assert np.array_equal(K.LumRegister(a, None, 0, 0, 3, 2, 8)[3:, 4:], expected[3:, 4:])  # bilinear, whole steps
    with pytest.raises(K.Error) as e:
        K.LumLinearTransform(a, 0, 0, 0, 0, 0, 0, None, 0)
    assert e.value.number == 1411
    dst = np.full_like(a, 5)
    with pytest.raises(K.Error) as e:
        K.LumLinearTransform(a, 1, 0, 0, 0, 1, 0, dst, 3)
    assert e.value.number == 1007 and (dst == 5).all()
    frozen = a.copy()
    frozen.flags.writeable = False  # the in-place form writes its source
    with pytest.raises(ValueError, match="read-only"):
        K.LumScaleRotate(frozen, 0, 0, 0, 0, 1, 1, 90, 0)
    turned = a[:, :10].copy()
    assert K.LumScaleRotate(turned, 5, 5, 5, 5, 1, 1, 0, 0) is turned
    with pytest.raises(K.Error) as e:
        K.LumRegister(a, None, 0, 0, 1, 1, 2, 2, 0, 0, 1, 1, 2, 2, 0)  # collinear pivots
    assert e.value.number == 1050 and e.value.trace[-1].startswith("LumRegister (")
