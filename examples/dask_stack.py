"""A stack of images on Dask: a pixel-wise operator through map_blocks and a neighbourhood
operator through map_overlap, run on the threaded scheduler and on a distributed cluster.

    PYTHONPATH=build/release/python /usr/bin/python3 examples/dask_stack.py [scheduler-address]

It prints the times with one and with two workers, and the speed-up, on the threaded scheduler
and on a LocalCluster (one worker process, then two). With an address (tcp://host:8786) the same
graph runs on that cluster instead of the LocalCluster.
"""
import sys
import time

import dask.array as da
import numpy as np

import kelmira

RADIUS = 2  # the erosion's window is (2 * RADIUS + 1) square: tiles overlap by RADIUS


def brighten(block):
    # One call per image of the block; each image is a 2-D view of the block, not a copy.
    out = np.empty_like(block)
    for i in range(block.shape[0]):
        kelmira.LumOper(kelmira.ARITH_LOGIC_ADD, block[i], 40, out[i])
    return out


def erode(block):
    out = np.empty_like(block)
    for i in range(block.shape[0]):
        kelmira.LumErodeBox(block[i], out[i], RADIUS)
    return out


def pipeline(images):
    """The lazy graph: each tile brightened, then eroded with tiles that overlap by the window's
    reach. boundary='none' adds nothing at the outer edge, where the operator clips its window to
    the image itself, so the result has no seams and equals one call on the whole image."""
    bright = images.map_blocks(brighten, dtype=np.uint8)
    return bright.map_overlap(erode, depth={0: 0, 1: RADIUS, 2: RADIUS}, boundary="none", dtype=np.uint8)


def synth(block, block_info=None):
    # A test pattern made where the tile lives, so no pixels travel to the workers.
    loc = block_info[None]["array-location"]
    i, y, x = np.ogrid[loc[0][0]:loc[0][1], loc[1][0]:loc[1][1], loc[2][0]:loc[2][1]]
    return (((x * 13 + y * 7 + i * 31) ^ ((x * y) >> 3)) & 255).astype(np.uint8)


def make_stack(count=16, height=1080, width=1920, tile=(1, 540, 960)):
    return da.zeros((count, height, width), chunks=tile, dtype=np.uint8).map_blocks(synth, dtype=np.uint8)


def timed(compute, repeats=3):
    best = float("inf")
    for _ in range(repeats):
        start = time.perf_counter()
        result = compute()
        best = min(best, time.perf_counter() - start)
    return result, best


def report(where, times):
    for workers, t in times.items():
        print(f"{where}, {workers} worker(s): {t:.3f} s")
    if 1 in times and 2 in times:
        print(f"{where}: speed-up of 2 workers over 1: {times[1] / times[2]:.2f}")


def main():
    from dask.distributed import Client, LocalCluster

    graph = pipeline(make_stack())
    total = graph.sum(dtype="u8")  # only a number travels back: the timing is the work itself
    reference = graph.compute(scheduler="threads")

    # The threaded scheduler: one process, the GIL released inside every operator.
    threads = {n: timed(lambda: total.compute(scheduler="threads", num_workers=n))[1] for n in (1, 2)}
    report("threaded scheduler", threads)

    # A LocalCluster of one, then two single-threaded worker processes; or, given an address
    # (tcp://host:8786), the cluster already running there.
    clusters = [sys.argv[1]] if len(sys.argv) > 1 else [1, 2]
    times = {}
    for where in clusters:
        if isinstance(where, int):
            cluster = LocalCluster(n_workers=where, threads_per_worker=1, processes=True, dashboard_address=None)
        else:
            cluster = where
        with Client(cluster) as client:
            # Timed first, so that no tile computed for the comparison is still held by a worker.
            _, times[where] = timed(lambda: client.compute(total).result())
            same = np.array_equal(client.compute(graph).result(), reference)
            print(f"cluster {where}: same pixels as the threaded scheduler: {same}")
        if isinstance(where, int):
            cluster.close()
    if len(sys.argv) > 1:
        print(f"cluster {sys.argv[1]}: {times[sys.argv[1]]:.3f} s")
    else:
        report("LocalCluster", times)


if __name__ == "__main__":
    main()
