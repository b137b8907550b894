"""pandas on data of the shapes of Tables.cpp: a million rows. Medians in milliseconds of the processor."""

import statistics
import time

import numpy as np
import pandas as pd

ROWS = 1_000_000
CELLS = 1000
DISTINCT_ROWS = 100_000
REPETITIONS = 9


def median_ms(action):
    times = []
    for _ in range(REPETITIONS):
        start = time.process_time()
        action()
        times.append(1000 * (time.process_time() - start))
    return statistics.median(times)


def main():
    random = np.random.default_rng(1)
    texts = [f"treatment {number}" for number in random.integers(0, CELLS, ROWS)]  # each an object of its own
    keyed = pd.DataFrame({"text": texts, "value": random.normal(size=ROWS)})
    categorical = keyed.assign(text=keyed.text.astype("category"))

    wide = pd.DataFrame({"time": random.integers(0, 100, ROWS, dtype=np.uint32)})
    wide["count"] = random.integers(0, 5000, ROWS, dtype=np.uint32)
    for column in range(10):
        wide[f"measurement {column}"] = random.normal(size=ROWS)

    rows = random.integers(0, DISTINCT_ROWS, ROWS)
    repetitive = pd.DataFrame({"a": (rows % 1000).astype(np.uint32), "b": (rows // 1000).astype(np.uint32), "c": rows * 0.1})

    for name, action in {
        "PivotByText/pandas_object": lambda: keyed.groupby("text")["value"].agg(["mean", "std"]),
        "PivotByText/pandas_categorical": lambda: categorical.groupby("text")["value"].agg(["mean", "std"]),
        "SortByTwo/pandas_sort_values": lambda: wide.sort_values(["time", "measurement 0"], ascending=[True, False]),
        "Duplicates/pandas_drop_duplicates": lambda: repetitive.drop_duplicates(),
    }.items():
        print(f"{name}_median {median_ms(action):.3f} ms", flush=True)


main()
