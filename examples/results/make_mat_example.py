#!/usr/bin/python3
"""Writes sample.mat, the MATLAB example result file (version 5).

    /usr/bin/python3 examples/results/make_mat_example.py
"""
import pathlib

import numpy as np
import scipy.io

t = np.array([0.0, 0.1, 0.2, 0.3, 0.4])
scipy.io.savemat(
    pathlib.Path(__file__).with_name("sample.mat"),
    {
        "t": t,
        # One channel a column: acc(:, 1) and acc(:, 2).
        "acc": np.column_stack([10 * t, 0.0 - t]),
        "run": {"speed": np.array([20, 25, 30], dtype=np.int16), "driver": "Ann"},
        "channels": np.array(["ax", "ay"], dtype=object),
    },
    oned_as="row",
)
