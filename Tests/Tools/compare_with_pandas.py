#!/usr/bin/env python3
"""Holds `korvale pivot`, `sort`, `filter` and `export` against pandas and numpy, on random tables that it writes itself:
missing values, NaN, infinities, groups without rows, keys that differ but are shown alike.

Usage: compare_with_pandas.py KORVALE [SEED...]
"""

import csv
import itertools
import pathlib
import struct
import subprocess
import sys
import tempfile

import numpy as np
import pandas as pd

TOLERANCE = 1e-12
LARGEST, SMALLEST = np.finfo("f8").max, np.finfo("f8").tiny
CLASSES = {"text": 1454, "float": 1455, "uint": 1456, "int": 1457, "time": 1458, "uuid": 1460}
TYPES = {"float": "<f8", "uint": "<u4", "int": "<i4"}
EPOCH = 2082844800_000000  # 1970, in microseconds since 1904
REDUCTIONS = ["se", "count", "max", "mean", "sum", "product", "min", "sd", "var", "value"]
HEADS = ["Standard Error", "Count", "Max", "Mean", "Sum", "Product", "Min", "S.D.", "Variance", "Value"]

faults = []


def fault(*words):
    faults.append(" ".join(str(word) for word in words))


# ---- Tables, as the formats are documented


def text(value: str) -> bytes:
    return struct.pack("<I", len(value.encode("cp1252"))) + value.encode("cp1252")


def encode(kind: str, values) -> bytes:
    if kind == "text":
        return b"".join(map(text, values))
    if kind == "uuid":
        return b"".join(values)
    return np.asarray(values).astype(TYPES.get(kind, "<i8")).tobytes()


DEFAULTS = {"text": text(""), "float": struct.pack("<d", np.nan), "uint": bytes(4), "int": bytes(4), "time": bytes(8),
            "uuid": bytes(16)}


def encode_column(name: str, kind: str, values, exists) -> bytes:
    version = struct.pack("<I", CLASSES[kind])
    data = version + struct.pack("<IIII", 1453, 1452, 1452, 1) + text(name) + text("") + text("")
    data += struct.pack("<III", 0, 0, len(exists)) + exists.astype("u1").tobytes() + version + DEFAULTS[kind]
    edges = np.flatnonzero(np.diff(np.concatenate([[0], exists.astype("i1"), [0]])))
    for first, end in edges.reshape(-1, 2):
        data += struct.pack("<II", end - first, first) + encode(kind, values[first:end])
    return data + struct.pack("<I", 0)


def write_table(path: pathlib.Path, columns: dict):
    """`columns`: name -> (kind, values, exists)."""
    data = b"I" + struct.pack("<IIII", 0x20031, 2001, 2001, len(columns))
    for name, column in columns.items():
        encoded = encode_column(name, *column)
        data += struct.pack("<Q", len(encoded)) + encoded
    path.write_bytes(data)


def make_columns(random, rows: int) -> dict:
    def some(share):
        return random.random(rows) < share

    def pick(values):
        return np.array(values, dtype=object)[random.integers(0, len(values), rows)]

    doubles = random.normal(size=rows) * 10.0 ** random.integers(-3, 4, rows)
    special = doubles.copy()
    for value in (np.nan, np.inf, -np.inf, 0.0):
        special[some(0.04)] = value
    return {
        "word": ("text", pick(["ab", "b", "b, c", "d\"e", "é", "f"]), some(0.9)),
        "alike": ("float", pick([0.1, 0.1 + 1e-9, np.nan, 2.0, -np.inf]).astype("f8"), some(0.8)),
        "group": ("int", pick([-3, -1, 0, 7]).astype("i4"), some(0.9)),
        "all": ("uint", np.full(rows, 5, "u4"), some(1)),
        "double": ("float", doubles, some(0.9)),
        "special": ("float", special, some(0.7)),
        "large": ("int", random.integers(-2**31, 2**31, rows), some(0.8)),
        "count": ("uint", random.integers(0, 6, rows), some(0.9)),
        "when": ("time", random.integers(0, 10**16, rows), some(0.8)),
        "id": ("uuid", [random.bytes(16) for _ in range(rows)], some(0.8)),
    }


# ---- The program


class Program:
    def __init__(self, path: str, folder: pathlib.Path):
        self.path = path
        self.folder = folder

    def run(self, *arguments, status=0):
        done = subprocess.run([self.path, "--log", "/dev/null", *map(str, arguments), "-q"], cwd=self.folder,
                              stderr=subprocess.PIPE)
        if done.returncode != status:
            fault(arguments, "ended with status", done.returncode, done.stderr.decode())

    def run_to_csv(self, *arguments, status=0):
        """The head and the rows."""
        self.run(*arguments, "--csv", "out.csv", status=status)
        with open(self.folder / "out.csv", encoding="utf-8", newline="") as file:
            head, *rows = csv.reader(file)
        return head, rows


# ---- Pivots


def make_keys(columns: dict, names) -> list[tuple]:
    """For each row what it is grouped by; missing is the smallest and NaN the next one."""
    def key(kind, value, exists):
        if not exists:
            return (0,)
        return (1,) if kind == "float" and np.isnan(value) else (2, value)

    parts = [[key(kind, *each) for each in zip(values, exists)] for kind, values, exists in
             (columns[name] for name in names)]
    return list(zip(*parts)) if parts else [()] * len(columns["all"][1])


def reduce(values: np.ndarray) -> dict:
    """Of the present values of a group; None where the result is missing."""
    series = pd.Series(values, dtype="f8")
    numbers = series.dropna()
    mean, total, product = (series.agg(each, skipna=False) for each in ("mean", "sum", "prod"))
    has_all = len(numbers) == len(series)
    results = {"count": len(series), "mean": None if np.isnan(mean) else mean, "sum": total if has_all else None,
               "product": product if has_all else None, "value": series[0] if len(series) == 1 else None}
    if len(numbers) == 0:
        return results | dict.fromkeys(("min", "max", "var", "sd", "se"))
    spread = numbers.std(ddof=0)
    return results | {"min": min(numbers.min(), LARGEST), "max": max(numbers.max(), SMALLEST),
                      "var": numbers.var(ddof=0), "sd": spread, "se": spread / np.sqrt(len(numbers))}


WITHOUT_ROWS = {**dict.fromkeys(REDUCTIONS), "sum": 0, "count": 0}


def differs(ours: str, theirs, scale: float) -> bool:
    if theirs is None or ours == "":
        return (theirs is None) != (ours == "")
    if not np.isfinite(theirs):
        return not np.array_equal(float(ours), theirs, equal_nan=True)
    return not abs(float(ours) - theirs) <= TOLERANCE * max(abs(theirs), scale)


def is_same_key(key, ours: str) -> bool:
    if key[0] == 0 or ours == "":
        return (key[0] == 0) == (ours == "")
    if key[0] == 1:
        return ours == "nan"
    return ours == key[1] if isinstance(key[1], str) else float(ours) == key[1]


def compare_pivot(program, columns, rows, heads, values, status):
    """A row for each combination of `rows`, result columns for each one of `heads`."""
    option = ["--columns", ",".join(heads)] if heads else []
    option += ["--rows", ",".join(rows)] if rows else []
    names, lines = program.run_to_csv("pivot", "t", *option, "--values", ",".join(values), "--with",
                                      ",".join(REDUCTIONS), status=status)
    row_keys, head_keys = make_keys(columns, rows), make_keys(columns, heads)
    groups = {}
    for row, cell in enumerate(zip(row_keys, head_keys)):
        groups.setdefault(cell, []).append(row)
    expected_rows, expected_heads = sorted(set(row_keys)) if rows else [()], sorted(set(head_keys)) if heads else [()]
    if not rows and not expected_heads:
        expected_rows = []  # Nothing is left to have rows.
    what = f"pivot by {rows} and {heads}"
    if len(lines) != len(expected_rows):
        return fault(what, "has", len(lines), "rows, not", len(expected_rows))
    expected_count = len(rows) + len(expected_heads) * len(values) * len(REDUCTIONS)
    if len(names) != expected_count:
        return fault(what, "has", len(names), "columns, not", expected_count)

    for line, row_key in zip(lines, expected_rows):
        for key, ours in zip(row_key, line):
            if not is_same_key(key, ours):
                fault(what, "has the key", ours, "not", key)
        results = iter(zip(names[len(rows):], line[len(rows):]))
        for head_key, value in itertools.product(expected_heads, values):
            _, numbers, exists = columns[value]
            picked = [row for row in groups.get((row_key, head_key), []) if exists[row]]
            there = np.asarray(numbers, dtype="f8")[picked]
            theirs = reduce(there) if (row_key, head_key) in groups else WITHOUT_ROWS
            finite = there[np.isfinite(there)]
            scale = np.abs(finite).sum() if len(finite) else 0
            for reduction, head in zip(REDUCTIONS, HEADS):
                name, ours = next(results)
                if not name.endswith(head):
                    fault(what, name, "is no", head)
                # What cancels out loses digits in the peer: it is compared at the scale of what went in.
                loss = {"var": scale * scale, "product": 0}.get(reduction, scale)
                if differs(ours, theirs[reduction], loss):
                    fault(what, row_key, head_key, value, reduction, ours, "not", theirs[reduction])


# ---- Sorting, filtering, exporting


def order_of(column) -> np.ndarray:
    """Numbers that sort as the column does: NaN is the smallest; what is missing sorts as its default value."""
    kind, values, exists = column
    if kind == "text":
        return pd.factorize(np.where(exists, values, "").astype(str), sort=True)[0]
    return pd.Series(values).where(exists, np.nan if kind == "float" else 0).rank(method="dense").fillna(0)


def compare_sort(program, columns, keys, status):
    by = ",".join(name + (":desc" if descending else "") for name, descending in keys)
    program.run("sort", "t", "--by", by, "-o", "sorted", status=status)
    program.run("export", "sorted", "--npz", "sorted.npz", status=status)
    frame = pd.DataFrame({str(i): order_of(columns[name]) for i, (name, _) in enumerate(keys)})
    order = frame.sort_values(list(frame.columns), ascending=[not descending for _, descending in keys],
                              kind="stable").index
    compare_arrays(program, "sorted.npz", columns, np.asarray(order), f"sort by {by}")


OPERATORS = {"=": np.equal, "!=": np.not_equal, "<": np.less, "<=": np.less_equal, ">": np.greater,
             ">=": np.greater_equal}


def compare_filter(program, columns, conditions, is_any, status):
    passing = [exists & OPERATORS[operator](np.asarray(values, "f8"), reference)
               for (_, values, exists), operator, reference in
               ((columns[name], operator, reference) for name, operator, reference in conditions)]
    rows = np.flatnonzero((np.any if is_any else np.all)(passing, axis=0))
    options = [word for name, operator, reference in conditions
               for word in ("--where", f"{name} {operator} {reference!r}")]
    program.run("filter", "t", *options, *["--any"] * is_any, "-o", "filtered", status=0 if len(rows) else 1)
    program.run("export", "filtered", "--npz", "filtered.npz", status=0 if len(rows) else 1)
    compare_arrays(program, "filtered.npz", columns, rows, f"filter {conditions}")


def compare_arrays(program, name, columns, rows, what):
    """The archive holds these rows of the columns, bit by bit."""
    with np.load(program.folder / name) as archive:
        if set(archive) != {key for each in columns for key in (each, each + ".mask")}:
            fault(what, "has the arrays", sorted(archive))
        for key, (kind, values, exists) in columns.items():
            ours, mask = archive[key], archive[key + ".mask"]
            if not np.array_equal(mask, ~exists[rows]):
                fault(what, key, "has another mask")
            picked = [values[row] for row in rows]
            if kind == "time":
                picked = [np.datetime64(int(value) - EPOCH, "us") for value in picked]
            elif kind == "uuid":
                picked = ["-".join((value.hex()[:8], value.hex()[8:12], value.hex()[12:16], value.hex()[16:20],
                                    value.hex()[20:])) for value in picked]
            missing = {"float": np.nan, "time": np.datetime64("NaT"), "text": "", "uuid": ""}.get(kind, 0)
            theirs = np.array([value if there else missing for value, there in zip(picked, exists[rows])], ours.dtype)
            if kind in TYPES and ours.dtype != TYPES[kind]:
                fault(what, key, "is of type", ours.dtype)
            is_equal = np.array_equal(ours, theirs) if kind in ("text", "uuid") else ours.tobytes() == theirs.tobytes()
            if kind == "float":
                is_equal = np.array_equal(ours, theirs, equal_nan=True)
            if not is_equal:
                fault(what, key, "holds", ours[:5], "not", theirs[:5])


def compare_table(korvale: str, seed: int, rows: int):
    random = np.random.default_rng(seed)
    columns = make_columns(random, rows)
    status = 0 if rows else 1
    with tempfile.TemporaryDirectory() as name:
        program = Program(korvale, pathlib.Path(name))
        write_table(program.folder / "t", columns)
        program.run("export", "t", "--npz", "t.npz", status=status)
        compare_arrays(program, "t.npz", columns, np.arange(rows), "export")
        for keys, heads in [(["word"], []), (["alike"], ["group"]), (["group", "alike"], []), ([], []),
                            (["all", "word"], ["alike", "group"]), ([], ["word"])]:
            compare_pivot(program, columns, keys, heads, ["special", "double", "count"], status)
        for keys in [[("double", False)], [("special", True)], [("word", True), ("special", False)],
                     [("count", False), ("group", True), ("large", False)], [("when", True)]]:
            compare_sort(program, columns, keys, status)
        for _ in range(12):
            names = random.choice(["special", "double", "large", "count", "group"], 2)
            references = random.choice([0.0, -1.0, 2.0, 2.5, -0.5, 1e10, -1e10, np.inf], 2)
            conditions = [(name, random.choice(list(OPERATORS)), float(reference))
                          for name, reference in zip(names, references)]
            compare_filter(program, columns, conditions, bool(random.integers(2)), status)


def main() -> int:
    korvale = str(pathlib.Path(sys.argv[1]).resolve())
    seeds = [int(seed) for seed in sys.argv[2:]] or range(3)
    for seed, rows in itertools.product(seeds, (0, 1, 7, 60, 3000)):
        before = len(faults)
        compare_table(korvale, seed, rows)
        print(f"seed {seed}, {rows} rows: {len(faults) - before} faults", flush=True)
    for each in faults[:50]:
        print(each)
    print(f"{len(faults)} differences from pandas {pd.__version__}")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
