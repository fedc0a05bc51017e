#!/usr/bin/env python3
"""scipy peer of the short-time row.

Usage: short_time_peer.py DIR REPS

DIR holds raw native float64 files written by the C++ benchmark: t, y, rpm
(a run-up record). The same map as stft(t, y, rpm, 4096, "hanning", "peak",
"slices"): scipy.signal.stft with the periodic Hann window rounded to single
precision, 4096 points, overlap 2048, no boundary extension or padding, no
detrending; its 1/sum(w) scaling gives the peak amplitude once the inner
lines are doubled. Prints key=value lines: stft_best_ms, rows, cols, map_sum
and sample (float.hex of the sum of the map and of one element).
"""
import os
import sys

import peer_timing  # noqa: F401  (one BLAS thread, before numpy loads)

import time  # noqa: E402

import numpy as np  # noqa: E402
import scipy  # noqa: E402
import scipy.signal as ss  # noqa: E402

N = 4096


def peak_map(t, y, w):
    fs = (len(t) - 1) / (t[-1] - t[0])
    _, _, z = ss.stft(y, fs=fs, window=w, nperseg=N, noverlap=N // 2, boundary=None,
                      padded=False, detrend=False)
    a = np.abs(z).T
    a[:, 1:-1] *= 2.0
    return a


def main():
    if len(sys.argv) != 3:
        sys.stderr.write(__doc__)
        return 2
    d, reps = sys.argv[1], int(sys.argv[2])
    t, y = (np.fromfile(os.path.join(d, n), dtype=np.float64) for n in ("t", "y"))
    w = ((1.0 - np.cos(2.0 * np.pi * np.arange(N) / N)) * 0.5).astype(np.float32).astype(float)
    peak_map(t, y, w)  # warm-up
    best = 1e300
    for _ in range(reps):
        t0 = time.perf_counter()
        peak_map(t, y, w)
        best = min(best, time.perf_counter() - t0)
    a = peak_map(t, y, w)
    print("stft_best_ms=%.6f" % (best * 1e3))
    print("rows=%d" % a.shape[0])
    print("cols=%d" % a.shape[1])
    print("map_sum=%s" % float.hex(float(np.sum(a))))
    print("sample=%s" % float.hex(float(a[a.shape[0] // 2, 100])))
    print("scipy=%s" % scipy.__version__)
    return 0


if __name__ == "__main__":
    sys.exit(main())
