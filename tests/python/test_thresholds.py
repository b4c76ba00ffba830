"""Threshold application and the selectors that return arrays, against NumPy references."""
import numpy as np
import pytest

import kelmira as K
from conftest import gray


@pytest.mark.parametrize("dtype, level", [(np.uint8, 100), (np.uint16, 30000)])
def test_fixed_levels_on_gray_and_to_bits(rng, dtype, level):
    a = gray(rng, 9, 21, dtype)
    np.testing.assert_array_equal(K.LumThreshold(a, None, level, 3, 200, 0.0), np.where(a < level, 3, 200))
    low, high = level // 2, level
    np.testing.assert_array_equal(K.LumDoubleThreshold(a, None, low, high, 1, 2, 3),
                                  np.where(a > high, 3, np.where(a < low, 1, 2)))
    bits = K.Bits(21, 9, 5)  # at a bit offset: through the aligned temporary
    assert K.LumThreshold(a, bits, level, 0.0) is bits
    np.testing.assert_array_equal(bits.to_bool(), a >= level)


def test_automatic_level_and_failed_selection(rng):
    a = np.concatenate([np.full((4, 10), 20), np.full((4, 10), 200)]).astype(np.uint8)
    out = K.LumThreshold(a, None, K.LUM_THRESHOLD_MODE_ISODATA, 0, 255, 0.0)
    np.testing.assert_array_equal(out, np.where(a == 200, 255, 0))
    dst = np.full_like(a, 9)
    with pytest.raises(K.Error) as e:  # a relative fraction outside 0..1
        K.LumThreshold(a, dst, K.LUM_THRESHOLD_MODE_RELATIVE, 0, 255, 2.0)
    assert e.value.number == 1015 and e.value.trace[-1] == "LumThreshold (BW8)"
    assert (dst == 0).all()  # still written: every pixel below the level given


def test_colour_box_with_lookup(rng):
    c = rng.integers(0, 256, (7, 9, 3), dtype=np.uint8)
    inside = ((c >= (10, 0, 50)) & (c <= (200, 255, 180))).all(axis=2)
    np.testing.assert_array_equal(K.LumThreshold(c, None, (10, 0, 50), (200, 255, 180)), np.where(inside, 255, 0))
    # A lookup whose cells (8 levels wide with 5 index bits) split at 128: exact for any colour.
    halves = K.ZColorLookup()
    halves.Fill(lambda c0, c1, c2: (255 if c2 >= 128 else 0, c1, 255))
    assert halves.Transform((1, 2, 200))[0] == 255 and halves.Transform((1, 2, 100))[0] == 0
    got = K.LumThreshold(c, None, (255, 0, 0), (255, 255, 255), halves, 1, 2)
    np.testing.assert_array_equal(got, np.where(c[..., 2] >= 128, 2, 1))


@pytest.mark.parametrize("half, offset", [(1, 0), (2, -5), (40, 3)])
def test_local_mean_threshold(rng, half, offset):
    a = gray(rng, 12, 17)
    r = min(half, (12 - 1) // 2)
    n, s = 2 * r + 1, np.zeros(a.shape, np.int64)
    for yy in range(12):
        for xx in range(17):
            y0, x0 = min(max(yy - r, 0), 12 - n), min(max(xx - r, 0), 17 - n)
            s[yy, xx] = a[y0:y0 + n, x0:x0 + n].sum()
    area = n * n
    expected = np.where(a.astype(np.int64) * area >= area * offset + s, 255, 0)
    np.testing.assert_array_equal(K.LumLocalMeanThreshold(a, None, half, offset), expected)


def test_transform_calls_back_with_its_table():
    a = np.arange(200, dtype=np.uint8).reshape(10, 20)
    calls = []
    out = K.LumTransform(a, None, lambda v: calls.append(v) or 255 - v, 1)
    assert calls == list(range(256))
    np.testing.assert_array_equal(out, 255 - a)
    w = a.astype(np.uint16) * 300
    np.testing.assert_array_equal(K.LumTransform(w, None, lambda v: v // 2), w // 2)
    with pytest.raises(TypeError):  # a value that does not fit the pixel
        K.LumTransform(a, None, lambda v: 256, 1)


def test_selectors_return_levels_and_records():
    h = np.zeros(256, np.uint32)
    h[[10, 11, 100, 101, 200, 201]] = [50, 40, 30, 60, 20, 45]
    residue, regions = K.LumMultiLevelsMinResidueThreshold(h, 3)
    assert regions.dtype.names == ("first", "last", "mean", "variance", "count")
    assert list(regions["count"]) == [90, 90, 65] and residue >= 0
    _, levels = K.LumMultiLevelsMinResidueThreshold(h, 2, thresholds=None)
    np.testing.assert_array_equal(levels, regions["first"][1:])
    two, t, below, above = K.LumTwoLevelsMinResidueThreshold(h)
    assert 12 <= t <= 200 and below < above
    level, below, above = K.LumHistogramThreshold(h, K.LUM_THRESHOLD_MODE_ISODATA, 0.0, 0, 255)
    assert 0 < level < 256 and below < level <= above
    with pytest.raises(K.Error) as e:
        K.LumMaxEntropyThreshold(h[:255])
    assert (e.value.number, e.value.trace) == (1613, ["LumMaxEntropyThreshold"])
    with pytest.raises(K.Error) as e:  # more classes than the lowest occupied level allows
        K.LumAllMultiLevelsMinResidueThreshold(h, 13)
    assert e.value.number == 32767
    partitions = K.LumAllMultiLevelsMinResidueThreshold(h, 3)[1]
    assert [len(p[0]) for p in partitions] == [2, 3]
