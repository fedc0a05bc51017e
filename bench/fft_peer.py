#!/usr/bin/env python3
"""numpy peer of the spectral rows: abs(numpy.fft.fft(x, M)), one thread.

Usage: fft_peer.py XFILE M REPS

XFILE holds the input as raw native float64. Prints best_ms=... and
sum=... (the left-to-right sum of the magnitudes, as float.hex).
"""
import os
import sys

import peer_timing  # noqa: F401  (one BLAS thread, before numpy loads)

import time  # noqa: E402

import numpy as np  # noqa: E402


def main():
    x = np.fromfile(sys.argv[1], dtype=np.float64)
    m, reps = int(sys.argv[2]), int(sys.argv[3])
    r = np.abs(np.fft.fft(x, m))  # warm-up
    best = 1e300
    for _ in range(reps):
        t0 = time.perf_counter()
        r = np.abs(np.fft.fft(x, m))
        best = min(best, time.perf_counter() - t0)
    print("best_ms=%.6f" % (best * 1e3))
    print("sum=%s" % float.hex(float(np.add.accumulate(r)[-1])))
    print("version=%s" % np.__version__)


main()
