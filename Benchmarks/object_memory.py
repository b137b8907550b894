#!/usr/bin/env python3
"""Measures the memory that korvale measure takes per object: of the whole process, and of it outside the budget.

Each budget is run on one stack twice: with all objects and, for comparison, with none of them (--min-pixels), whose
memory is subtracted. Aimed at: at most 200 bytes per object without a budget, none of them outside it, and the same
table whatever the budget.

Usage: object_memory.py KORVALE [--folder DIR] [--pages N] [--side N] [--objects N] [--memory SIZE,...] [-- OPTIONS]
"""

import argparse
import hashlib
import os
import pathlib
import re
import subprocess
import sys
import tempfile

MOST_BYTES = 200
MANY_PIXELS = "4000000000"
UNITS = {"byte": 1, "bytes": 1, "KiB": 2**10, "MiB": 2**20, "GiB": 2**30}


def measure(korvale: str, stack: pathlib.Path, *options: str):
    """The peak of the resident bytes, that of the bytes in the budget, the number of rows and the table's hash."""
    table, log = stack.parent / "out.csv", stack.parent / "out.log"
    log.unlink(missing_ok=True)
    process = subprocess.Popen([korvale, "--log", log, "measure", stack, "--csv", table, *options],
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"it ended with status {process.returncode}: {log.read_text()}")
    number, unit = re.search(r"memory: peak ([\d.]+) (\w+) of", log.read_text()).groups()
    rows = -1
    digest = hashlib.sha256()
    with open(table, "rb") as file:
        for line in file:
            rows += 1
            digest.update(line)
    return usage.ru_maxrss * 1024, float(number) * UNITS[unit], rows, digest.hexdigest()


def main() -> int:
    parser = argparse.ArgumentParser()
    parser.add_argument("korvale")
    parser.add_argument("--folder", default="/var/tmp")
    parser.add_argument("--pages", default="800")
    parser.add_argument("--side", default="512")
    parser.add_argument("--objects", default="1296")
    parser.add_argument("--memory", default="256M,64M", help="budgets, beside none")
    parser.add_argument("options", nargs="*", help="more options of korvale measure")
    options = parser.parse_args()

    tables = set()
    largest = 0.0
    with tempfile.TemporaryDirectory(prefix="korvale-bench-", dir=options.folder) as name:
        stack = pathlib.Path(name) / "sample.tif"
        subprocess.run([options.korvale, "--log", "/dev/null", "sample", name, "--planes", options.pages, "--width",
                        options.side, "--height", options.side, "--objects", options.objects, "--bits", "8", "-q"],
                       check=True)
        for budget in ["none", *filter(None, options.memory.split(","))]:
            more = options.options + ([] if budget == "none" else ["--memory", budget])
            peak, inside, rows, table = measure(options.korvale, stack, *more)
            base_peak, base_inside, _, _ = measure(options.korvale, stack, *more, "--min-pixels", MANY_PIXELS)
            tables.add(table)
            resident = (peak - base_peak) / rows
            outside = resident - (inside - base_inside) / rows
            largest = max(largest, resident)
            print(f"budget {budget}: {rows} objects, peak {peak / 2**20:.0f} MiB ({base_peak / 2**20:.0f} without "
                  f"objects), {resident:.0f} bytes per object, {outside:.0f} of them outside the budget", flush=True)
    is_same = len(tables) == 1
    print(f"at most {largest:.0f} bytes per object (aim {MOST_BYTES}), tables {'the same' if is_same else 'DIFFER'}")
    return 0 if largest <= MOST_BYTES and is_same else 1


if __name__ == "__main__":
    sys.exit(main())
