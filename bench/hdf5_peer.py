"""h5py peer of the HDF5 read row: opens FILE and reads DATASET whole, RUNS
times, each from a fresh open; prints best=<seconds> and sum=<sum of the
values> (to check both sides read the same numbers)."""
import sys
import time

import h5py


def main():
    path, name, runs = sys.argv[1], sys.argv[2], int(sys.argv[3])
    best = float("inf")
    total = 0.0
    for _ in range(runs):
        t0 = time.perf_counter()
        with h5py.File(path, "r") as f:
            values = f[name][...]
        best = min(best, time.perf_counter() - t0)
        total = float(values.sum())
    print(f"best={best}")
    print(f"sum={total}")


if __name__ == "__main__":
    main()
