#!/usr/bin/env python3
"""numpy peer of the linear-algebra rows.

Usage: linalg_peer.py DIR REPS

DIR holds a raw native float64 file m: an n x n matrix, row-major. Prints
key=value lines: inverse_best_ms (np.linalg.inv), det_best_ms
(np.linalg.det), inverse_sum (the sum of the inverse's elements), det (as
float.hex) and the numpy version. One BLAS thread.
"""
import os
import sys

from peer_timing import best_ms  # noqa: E402  (one BLAS thread first)

import numpy as np  # noqa: E402


def main():
    if len(sys.argv) != 3:
        sys.stderr.write(__doc__)
        return 2
    d, reps = sys.argv[1], int(sys.argv[2])
    m = np.fromfile(os.path.join(d, "m"), dtype=np.float64)
    n = int(round(len(m) ** 0.5))
    m = m.reshape(n, n)
    print("inverse_best_ms=%.6f" % best_ms(reps, lambda: np.linalg.inv(m)))
    print("det_best_ms=%.6f" % best_ms(reps, lambda: np.linalg.det(m)))
    print("inverse_sum=%s" % float.hex(float(np.linalg.inv(m).sum())))
    print("det=%s" % float.hex(float(np.linalg.det(m))))
    print("numpy=%s" % np.__version__)
    return 0


if __name__ == "__main__":
    sys.exit(main())
