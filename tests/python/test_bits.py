"""kelmira.Bits: packed one-bit views at every bit offset."""
import numpy as np
import pytest

import kelmira as K
from test_families import box_min


@pytest.mark.parametrize("offset", range(8))
def test_bits_forms_at_every_offset(offset):
    rng = np.random.default_rng(offset)
    m = rng.random((9, 21)) > 0.3
    b = K.Bits.from_bool(m, offset)
    assert (b.width, b.height, b.bitOffset) == (21, 9, offset)
    np.testing.assert_array_equal(b.to_bool(), m)
    gray = K.LumConvert(b, np.zeros((9, 21), np.uint8), 200)
    np.testing.assert_array_equal(gray, np.where(m, 200, 0))
    dst = K.Bits(21, 9, (offset + 5) % 8)
    dst.bytes[:] = 0xFF  # bits outside the view are kept
    outside = dst.bytes.copy()
    K.LumOper(K.ARITH_LOGIC_INVERT, b, dst)
    np.testing.assert_array_equal(dst.to_bool(), ~m)
    view_bits = np.unpackbits(K.Bits.from_bool(np.ones((9, 21), bool), dst.bitOffset).bytes, axis=1).astype(bool)
    np.testing.assert_array_equal(np.unpackbits(dst.bytes, axis=1)[~view_bits],
                                  np.unpackbits(outside, axis=1)[~view_bits])
    eroded = K.LumErodeBox(b, None, 1)
    np.testing.assert_array_equal(eroded.to_bool(), box_min(m.astype(np.uint8), 1).astype(bool))


def test_bits_refusals():
    with pytest.raises(ValueError):
        K.Bits(0, 3)
    with pytest.raises(ValueError):
        K.Bits(4, 3, 8)
    b = K.Bits(8, 2)
    b.bytes.flags.writeable = False
    with pytest.raises(ValueError, match="read-only"):
        K.LumCopy(K.Bits(8, 2), b)
