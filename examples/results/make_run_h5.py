#!/usr/bin/env python3
"""Writes run.h5 beside this script: the HDF5 example result file.

    /time              100 samples, unit "s"
    /sensors/acc       100 x 3 table (float32), units "m/s^2": one component per column
    /sensors/temp      100 samples (int16), unit "degC"
    /sensors/channels  the names of the acc columns (text)

Needs h5py (Debian: python3-h5py).
"""
import pathlib

import h5py
import numpy as np


def main():
    path = pathlib.Path(__file__).with_name("run.h5")
    t = np.arange(100) * 0.01
    acc = np.stack([np.sin(2 * np.pi * 5 * t), np.cos(2 * np.pi * 5 * t), 9.81 + 0 * t], axis=1)
    # track_times=False keeps the file the same from run to run.
    with h5py.File(path, "w", track_order=False) as f:
        f.create_dataset("time", data=t, track_times=False).attrs["unit"] = "s"
        g = f.create_group("sensors", track_order=False)
        g.create_dataset("acc", data=acc.astype(np.float32), track_times=False).attrs["units"] = "m/s^2"
        temp = (20 + 5 * t).round().astype(np.int16)
        g.create_dataset("temp", data=temp, track_times=False).attrs["unit"] = "degC"
        g.create_dataset("channels", data=np.array([b"ax", b"ay", b"az"]), track_times=False)


if __name__ == "__main__":
    main()
