#!/usr/bin/env python3
"""numpy peer of the element-wise vector benchmark.

Usage: numpy_peer.py XFILE YFILE REPS [STAT,...]

XFILE and YFILE hold the inputs as raw native float64, written by the C++
benchmark so that both sides compute on the very same numbers. Prints
key=value lines: the best and mean milliseconds of one evaluation of
np.sqrt(np.abs(x + y) * 0.5), its sum, and a few elements (as float.hex,
so the comparison is exact). Each STAT named (a key of STATS) adds a line
stat=NAME:BEST_MS:MEAN_MS:VALUE, VALUE being the result's value, or for an
array the left-to-right sum of its elements, as float.hex. Then the best
milliseconds of np.sort(x) and a few of its elements.
"""
import os
import sys

import peer_timing  # noqa: F401  (one BLAS thread, before numpy loads)

import time  # noqa: E402

import numpy as np  # noqa: E402


# The numpy side of each statistics row of the comparison: x and y are the
# inputs; a and b their first halves (the two vectors cat joins).
STATS = {
    "sum": lambda x, y, a, b: np.sum(x),
    "mean": lambda x, y, a, b: np.mean(x),
    "variance": lambda x, y, a, b: np.var(x, ddof=1),
    "median": lambda x, y, a, b: np.median(x),
    "max": lambda x, y, a, b: np.max(x),
    "cat": lambda x, y, a, b: np.concatenate((a, b)),
}


def time_stat(name, x, y, reps):
    half = x.shape[0] // 2
    a, b = x[:half].copy(), y[:half].copy()
    f = STATS[name]
    r = f(x, y, a, b)  # warm-up
    times = []
    for _ in range(reps):
        t0 = time.perf_counter()
        r = f(x, y, a, b)
        times.append(time.perf_counter() - t0)
    r = np.asarray(r, dtype=np.float64)
    value = float(np.add.accumulate(r)[-1]) if r.ndim else float(r)
    print("stat=%s:%.6f:%.6f:%s" % (name, min(times) * 1e3, sum(times) / len(times) * 1e3,
                                    float.hex(value)))


def main():
    if len(sys.argv) == 5:
        x = np.fromfile(sys.argv[1], dtype=np.float64)
        y = np.fromfile(sys.argv[2], dtype=np.float64)
        for name in sys.argv[4].split(","):
            time_stat(name, x, y, int(sys.argv[3]))
        sys.argv = sys.argv[:4]
    if len(sys.argv) != 4:
        sys.stderr.write(__doc__)
        return 2
    x = np.fromfile(sys.argv[1], dtype=np.float64)
    y = np.fromfile(sys.argv[2], dtype=np.float64)
    reps = int(sys.argv[3])
    if x.shape != y.shape:
        sys.stderr.write("numpy_peer: inputs differ in length\n")
        return 2

    r = np.sqrt(np.abs(x + y) * 0.5)  # warm-up, as the C++ side does
    times = []
    for _ in range(reps):
        t0 = time.perf_counter()
        r = np.sqrt(np.abs(x + y) * 0.5)
        times.append(time.perf_counter() - t0)

    n = r.shape[0]
    print("numpy=%s" % np.__version__)
    print("n=%d" % n)
    print("best_ms=%.6f" % (min(times) * 1e3))
    print("mean_ms=%.6f" % (sum(times) / len(times) * 1e3))
    # Plain left-to-right sum, as the C++ side computes it.
    print("checksum=%s" % float.hex(float(np.add.accumulate(r)[-1])))
    for i in sorted({0, 1, 2, n // 3, n // 2, n - 2, n - 1}):
        print("sample=%d:%s" % (i, float.hex(float(r[i]))))

    # np.sort of x, a fresh sorted copy each time, as sort(0, x) gives one.
    s = np.sort(x)
    times = []
    for _ in range(min(reps, 20)):
        t0 = time.perf_counter()
        s = np.sort(x)
        times.append(time.perf_counter() - t0)
    print("sort_best_ms=%.6f" % (min(times) * 1e3))
    for i in sorted({0, 1, n // 2, n - 1}):
        print("sort_sample=%d:%s" % (i, float.hex(float(s[i]))))
    return 0


if __name__ == "__main__":
    sys.exit(main())
