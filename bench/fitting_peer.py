#!/usr/bin/env python3
"""scipy/numpy peer of the interpolation and fitting rows.

Usage: fitting_peer.py DIR REPS

DIR holds raw native float64 files written by the C++ benchmark: tx, ty (the
spline table), qs (sorted queries), qr (random queries), px, py (the polyfit
points). Prints key=value lines: NAME_best_ms for spline_sorted,
spline_random (CubicSpline with natural ends built and evaluated at the
queries) and polyfit (numpy.polyfit of order 5), and the results to check:
spline_sum (float.hex of the left-to-right sum of the sorted-query values)
and polyfit_coef (the coefficients, lowest power first, as float.hex).
"""
import os
import sys

from peer_timing import best_ms  # noqa: E402  (one BLAS thread first)

import numpy as np  # noqa: E402
from scipy.interpolate import CubicSpline  # noqa: E402


def main():
    if len(sys.argv) != 3:
        sys.stderr.write(__doc__)
        return 2
    d, reps = sys.argv[1], int(sys.argv[2])
    load = lambda name: np.fromfile(os.path.join(d, name), dtype=np.float64)  # noqa: E731
    tx, ty, qs, qr, px, py = (load(n) for n in ("tx", "ty", "qs", "qr", "px", "py"))

    def spline(q):
        return CubicSpline(tx, ty, bc_type="natural")(q)

    print("spline_sorted_best_ms=%.6f" % best_ms(reps, lambda: spline(qs)))
    print("spline_random_best_ms=%.6f" % best_ms(reps, lambda: spline(qr)))
    print("spline_sum=%s" % float.hex(float(np.add.accumulate(spline(qs))[-1])))
    print("polyfit_best_ms=%.6f" % best_ms(reps, lambda: np.polyfit(px, py, 5)))
    coef = np.polyfit(px, py, 5)[::-1]
    print("polyfit_coef=%s" % ",".join(float.hex(float(c)) for c in coef))
    print("scipy=%s" % __import__("scipy").__version__)
    return 0


if __name__ == "__main__":
    sys.exit(main())
