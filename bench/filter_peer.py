#!/usr/bin/env python3
"""scipy peer of the filter row.

Usage: filter_peer.py DIR REPS

DIR holds raw native float64 files written by the C++ benchmark: b, a (the
filter's coefficients) and x (the signal). Prints key=value lines:
lfilter_best_ms (scipy.signal.lfilter(b, a, x), one thread), lfilter_samples
(float.hex of the outputs at 0, n/3, 2n/3 and n-1) and the scipy version.
"""
import os
import sys

import peer_timing  # noqa: F401  (one BLAS thread, before numpy loads)

import time  # noqa: E402

import numpy as np  # noqa: E402
from scipy.signal import lfilter  # noqa: E402


def main():
    if len(sys.argv) != 3:
        sys.stderr.write(__doc__)
        return 2
    d, reps = sys.argv[1], int(sys.argv[2])
    load = lambda name: np.fromfile(os.path.join(d, name), dtype=np.float64)  # noqa: E731
    b, a, x = load("b"), load("a"), load("x")
    y = lfilter(b, a, x)  # warm-up
    best = 1e300
    for _ in range(reps):
        t0 = time.perf_counter()
        y = lfilter(b, a, x)
        best = min(best, time.perf_counter() - t0)
    n = len(x)
    print("lfilter_best_ms=%.6f" % (best * 1e3))
    print("lfilter_samples=%s" % ",".join(float.hex(float(y[i])) for i in (0, n // 3, 2 * n // 3, n - 1)))
    print("scipy=%s" % __import__("scipy").__version__)
    return 0


if __name__ == "__main__":
    sys.exit(main())
