#!/usr/bin/env python3
"""numpy/scipy peer of the resampling row.

Usage: resampling_peer.py DIR REPS

DIR holds raw native float64 files written by the C++ benchmark: t, y, rpm
(a run-up record). The same angle-domain resampling as resamprevs: cumulative
trapezoid of rpm / 60, spr = 2^ceil(log2(60 / (dt max rpm))) clamped to
4 .. 65536, theta_k = k / spr, the time of each by searchsorted and the
closed-form root of the interval's quadratic, values by CubicSpline with
natural ends. Prints key=value lines: resamprevs_best_ms, count (samples),
time_sum and value_sum (float.hex of the sums of the times and the values).
"""
import os
import sys

import peer_timing  # noqa: F401  (one BLAS thread, before numpy loads)

import time  # noqa: E402

import numpy as np  # noqa: E402
from scipy.interpolate import CubicSpline  # noqa: E402


def resamprevs(t, y, rpm):
    dt = (t[-1] - t[0]) / (len(t) - 1)
    theta = np.empty_like(t)
    theta[0] = 0.0
    np.cumsum(np.diff(t) * (rpm[1:] + rpm[:-1]) / 120.0, out=theta[1:])
    spr = int(min(max(2.0 ** np.ceil(np.log2(60.0 / (dt * rpm.max()))), 4), 65536))
    m = int(np.floor(theta[-1] * spr * (1 + 1e-12))) + 1
    thk = np.arange(m) / spr
    i = np.clip(np.searchsorted(theta, thk, side="left") - 1, 0, len(t) - 2)
    h = t[i + 1] - t[i]
    r0 = rpm[i]
    a = (rpm[i + 1] - r0) / h
    c = 60.0 * (thk - theta[i])
    u = 2.0 * c / (r0 + np.sqrt(np.maximum(r0 * r0 + 2.0 * a * c, 0.0)))
    tk = t[i] + np.clip(u, 0.0, h)
    return thk, tk, CubicSpline(t, y, bc_type="natural")(tk)


def main():
    if len(sys.argv) != 3:
        sys.stderr.write(__doc__)
        return 2
    d, reps = sys.argv[1], int(sys.argv[2])
    t, y, rpm = (np.fromfile(os.path.join(d, n), dtype=np.float64) for n in ("t", "y", "rpm"))
    f = lambda: resamprevs(t, y, rpm)  # noqa: E731
    f()  # warm-up
    best = 1e300
    for _ in range(reps):
        t0 = time.perf_counter()
        f()
        best = min(best, time.perf_counter() - t0)
    _, tk, yk = f()
    print("resamprevs_best_ms=%.6f" % (best * 1e3))
    print("count=%d" % len(tk))
    print("time_sum=%s" % float.hex(float(np.sum(tk))))
    print("value_sum=%s" % float.hex(float(np.sum(yk))))
    print("scipy=%s" % __import__("scipy").__version__)
    return 0


if __name__ == "__main__":
    sys.exit(main())
