"""Arrays as views: dtype mapping, zero copy, strides, optional destinations, refusals."""
import threading

import numpy as np
import pytest

import kelmira
from conftest import gray

ADD = kelmira.ARITH_LOGIC_OPERATIONS.ARITH_LOGIC_ADD


def test_enumerations_are_int_enums():
    assert kelmira.ARITH_LOGIC_ADD == 2 and isinstance(kelmira.ARITH_LOGIC_ADD, int)
    assert kelmira.KERNEL_TYPE.KERNEL_SOBEL_X == 4
    assert kelmira.Z_ERRORS(1402).name == "Z_ERROR_DIFFERENT_SIZES"


@pytest.mark.parametrize("dtype, shape", [
    (np.uint8, (5, 7)), (np.uint16, (5, 7)), (np.uint32, (5, 7)), (np.uint8, (5, 7, 3))])
def test_copy_into_given_destination_is_that_array(rng, dtype, shape):
    src = rng.integers(0, 200, shape).astype(dtype)
    dst = np.zeros_like(src)
    assert kelmira.LumCopy(src, dst) is dst
    np.testing.assert_array_equal(dst, src)
    new = kelmira.LumCopy(src)
    assert new.dtype == src.dtype and new.shape == src.shape and not np.shares_memory(new, src)
    np.testing.assert_array_equal(new, src)


@pytest.mark.parametrize("src_dtype, dst_dtype", [
    (np.uint8, np.float32), (np.uint16, np.float64), (np.uint32, np.float32),
    (np.float32, np.uint8), (np.float64, np.uint16), (np.float32, np.uint32)])
def test_float_conversions_map_their_dtypes(src_dtype, dst_dtype):
    src = np.array([[0, 1, 2.4, 2.5], [7, 100, 200, 250]]).astype(src_dtype)
    dst = np.zeros(src.shape, dst_dtype)
    kelmira.LumConvert(src, dst)
    expected = np.floor(src.astype(np.float64) + 0.5) if np.issubdtype(src_dtype, np.floating) else src
    np.testing.assert_array_equal(dst, expected.astype(dst_dtype))


def test_slice_is_a_view_and_only_its_window_is_written(rng):
    parent = gray(rng, 40, 50)
    before = parent.copy()
    window = parent[5:25, 7:33]
    kelmira.LumOper(ADD, window, 9, window)  # in place
    expected = before.copy()
    expected[5:25, 7:33] = np.minimum(before[5:25, 7:33].astype(int) + 9, 255)
    np.testing.assert_array_equal(parent, expected)


@pytest.mark.parametrize("offset", range(4))
def test_strided_rows_agree_between_scalar_and_wide(rng, offset, scalar_and_wide):
    # Rows of every start alignment, a pitch that is not a multiple of anything wide.
    storage = gray(rng, 31, 101)
    src = storage[1:30, offset:offset + 77]
    results = []
    for mmx in scalar_and_wide:
        kelmira.ZSetMMX(mmx)
        out_storage = np.zeros((31, 103), np.uint8)
        out = out_storage[2:31, 3 + offset:80 + offset]
        kelmira.LumOper(kelmira.ARITH_LOGIC_AVERAGE, src, storage[0:29, 20:97], out)
        assert not out_storage[:2].any() and not out_storage[:, :3 + offset].any()
        results.append(out.copy())
    expected = (src.astype(int) + storage[0:29, 20:97]) >> 1
    for r in results:
        np.testing.assert_array_equal(r, expected)


BAD_INPUTS = [
    ("wrong dtype", lambda a: a.astype(np.int16), TypeError, "incompatible"),
    ("1-D", lambda a: a[0], TypeError, "(h, w)"),
    ("4-D", lambda a: a[None, :, :, None], TypeError, "(h, w)"),
    ("(h, w, 2)", lambda a: np.stack([a, a], axis=2), TypeError, "(h, w, 3)"),
    ("negative row stride", lambda a: a[::-1], TypeError, "negative row stride"),
    ("negative pixel stride", lambda a: a[:, ::-1], TypeError, "contiguous"),
    ("every other pixel", lambda a: a[:, ::2], TypeError, "contiguous"),
    ("transposed", lambda a: a.T, TypeError, "contiguous"),
    ("zero rows", lambda a: a[:0], ValueError, "empty"),
    ("zero columns", lambda a: a[:, :0], ValueError, "empty"),
    ("None", lambda a: None, TypeError, "incompatible"),
    ("a list", lambda a: a.tolist(), TypeError, "incompatible"),
]


@pytest.mark.parametrize("name, make, error, words", BAD_INPUTS, ids=[b[0] for b in BAD_INPUTS])
def test_bad_sources_raise_clear_errors(rng, name, make, error, words):
    a = gray(rng, 6, 8)
    with pytest.raises(error, match=words.replace("(", r"\(").replace(")", r"\)")):
        kelmira.LumOper(ADD, make(a), 3)


def test_read_only_destination_is_refused_and_untouched(rng):
    a = gray(rng, 6, 8)
    dst = np.full((6, 8), 17, np.uint8)
    dst.flags.writeable = False
    with pytest.raises(ValueError, match="read-only"):
        kelmira.LumOper(ADD, a, 3, dst)
    assert (dst == 17).all()
    with pytest.raises(ValueError, match="read-only"):
        kelmira.LumErodeBox(a, dst, 1)
    # A read-only source is fine: it is only read.
    a.flags.writeable = False
    kelmira.LumOper(ADD, a, 3)


def test_unaligned_16_bit_pixels_are_refused():
    raw = np.zeros(2 * 6 * 8 + 1, np.uint8)[1:]
    odd = raw.view(np.uint16).reshape(6, 8) if False else np.ndarray((6, 8), np.uint16, raw.data)
    with pytest.raises(TypeError, match="aligned"):
        kelmira.LumCopy(odd)


def test_a_fill_needs_its_destination():
    with pytest.raises(TypeError):
        kelmira.LumOper(kelmira.ARITH_LOGIC_COPY, 5)
    dst = np.zeros((3, 4, 3), np.uint8)
    kelmira.LumOper(kelmira.ARITH_LOGIC_COPY, (1, 2, 3), dst)
    assert (dst == [1, 2, 3]).all()


def test_two_outputs_come_back_as_a_tuple(rng):
    rgba = rng.integers(0, 256, (4, 5, 4), dtype=np.uint8)
    rgb, alpha = kelmira.LumConvert(rgba, np.zeros((4, 5, 3), np.uint8), np.zeros((4, 5), np.uint8))
    np.testing.assert_array_equal(rgb, rgba[..., :3])
    np.testing.assert_array_equal(alpha, rgba[..., 3])


def test_threads_run_at_once_and_keep_their_own_error_state(rng):
    a = gray(rng, 300, 400)
    failures, results = [], {}

    def work(k):
        for _ in range(20):
            results[k] = kelmira.LumOper(ADD, a, k)
            try:
                kelmira.LumOper(ADD, a, gray(rng, 3, 3), None)
            except kelmira.Error as e:
                failures.append((e.number, e.trace))
    threads = [threading.Thread(target=work, args=(k,)) for k in range(4)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    assert all(f == (1402, ["LumOper ( BW8 Image, Image to Image)"]) for f in failures) and len(failures) == 80
    for k in range(4):
        np.testing.assert_array_equal(results[k], np.minimum(a.astype(int) + k, 255))


def test_help_shows_forms_and_codes():
    doc = kelmira.LumOper.__doc__
    assert "code: int" in doc and "Accepts 2-6, 9-15" in doc and "LumOper ( BW8 Const, Image to Image)" in doc
