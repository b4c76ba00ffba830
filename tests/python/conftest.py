import numpy as np
import pytest

import kelmira


@pytest.fixture
def rng():
    return np.random.default_rng(7)


def gray(rng, h, w, dtype=np.uint8):
    top = np.iinfo(dtype).max if np.issubdtype(dtype, np.integer) else 1000
    return rng.integers(0, int(top) + 1, (h, w), dtype=np.int64).astype(dtype)


@pytest.fixture
def scalar_and_wide():
    """Runs a test body once on the wide paths and once on the scalar ones."""
    saved = kelmira.ZGetMMX()
    yield (1, 0)
    kelmira.ZSetMMX(saved)
