"""The Dask example: tiled over a stack, the same pixels as single calls, no seams."""
import os
import sys

import numpy as np
import pytest

import kelmira

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "examples"))
dask_stack = pytest.importorskip("dask_stack")


def single_calls(stack):
    out = np.empty_like(stack)
    for i, image in enumerate(stack):
        bright = kelmira.LumOper(kelmira.ARITH_LOGIC_ADD, image, 40)
        kelmira.LumErodeBox(bright, out[i], dask_stack.RADIUS)
    return out


def test_tiles_meet_without_seams():
    # Tiles of odd sizes, so that borders fall at unaligned places.
    stack = dask_stack.make_stack(count=3, height=70, width=90, tile=(1, 23, 31))
    tiled = dask_stack.pipeline(stack).compute(scheduler="threads")
    whole = single_calls(stack.compute(scheduler="sync"))
    np.testing.assert_array_equal(tiled, whole)


def test_distributed_in_process_cluster():
    distributed = pytest.importorskip("distributed")
    import dask
    stack = dask_stack.make_stack(count=2, height=40, width=50, tile=(1, 20, 25))
    # Generous timeouts: the machine may be busy, and a sanitized build is slow to start.
    with dask.config.set({"distributed.comm.timeouts.connect": "180s", "distributed.comm.timeouts.tcp": "180s"}), \
            distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=False,
                                     dashboard_address=None) as cluster, \
            distributed.Client(cluster, timeout=180) as client:
        result = client.compute(dask_stack.pipeline(stack)).result(timeout=180)
    np.testing.assert_array_equal(result, single_calls(stack.compute(scheduler="sync")))
