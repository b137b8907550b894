"""numpy on the data of Columns.cpp: a million normal numbers, one in ten missing as NaN. Medians in milliseconds."""

import statistics
import time

import numpy as np

ROWS = 1_000_000
REPETITIONS = 9


def median_ms(action):
    times = []
    for _ in range(REPETITIONS):
        start = time.perf_counter()
        action()
        times.append(1000 * (time.perf_counter() - start))
    return statistics.median(times)


def main():
    random = np.random.default_rng(1)
    values = random.normal(size=ROWS)
    values[random.random(ROWS) < 0.1] = np.nan
    for name, action in {
        "Sort/numpy_argsort_stable": lambda: np.argsort(values, kind="stable"),
        "Filter/numpy_nonzero/4": lambda: np.nonzero(values > 1.701),
        "Filter/numpy_nonzero/45": lambda: np.nonzero(values > 0.0),
        "Mean/numpy_nanmean": lambda: np.nanmean(values),
        "MinMax/numpy_nanmin_nanmax": lambda: (np.nanmin(values), np.nanmax(values)),
        "Variance/numpy_nanvar": lambda: np.nanvar(values),
    }.items():
        print(f"{name}_median {median_ms(action):.3f} ms")


main()
