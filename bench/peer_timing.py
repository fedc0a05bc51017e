"""What the Python peers share: one BLAS thread, set before numpy loads (so
import this first), and the best of repeated runs."""
import os
import time

for _var in ("OMP_NUM_THREADS", "OPENBLAS_NUM_THREADS", "MKL_NUM_THREADS"):
    os.environ[_var] = "1"


def best_ms(reps, f):
    """The fastest of REPS calls of f after one warm-up call, in ms."""
    f()
    best = 1e300
    for _ in range(reps):
        t0 = time.perf_counter()
        f()
        best = min(best, time.perf_counter() - t0)
    return best * 1e3
