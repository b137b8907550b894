#!/usr/bin/env python3
"""Time of `korvale measure` without and with a journal (--resume), and of continuing a run whose pages are all finished, for
growing numbers of small pages and for some large ones. Medians of processor time in seconds, and the growth exponent.

Usage: measure_journal.py KORVALE [ROUNDS]
"""

import math
import pathlib
import resource
import statistics
import subprocess
import sys
import tempfile

def seconds_of(program, folder, arguments, status=0):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    run = subprocess.run([program, "--log", "/dev/null", "measure", "stack/sample.tif", "-q", *arguments], cwd=folder,
                         stderr=subprocess.PIPE)
    assert run.returncode == status, run.stderr
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime

def measure(program, pages, side, options, rounds):
    with tempfile.TemporaryDirectory(prefix="korvale-journal-") as name:
        folder = pathlib.Path(name)
        subprocess.run([program, "--log", "/dev/null", "sample", "stack", "--planes", str(pages), "--width", str(side),
                        "--height", str(side), "--objects", str(max(side // 32, 1)), "-q"], cwd=folder, check=True)
        times = []
        for _ in range(rounds):
            without = seconds_of(program, folder, ["-o", "t", *options, "--csv", "/dev/full"], 1)
            # An output that cannot be written keeps the journal.
            kept = seconds_of(program, folder, ["-o", "t", *options, "--csv", "/dev/full", "--resume"], 1)
            size = (folder / "t.journal").stat().st_size
            continued = seconds_of(program, folder, ["-o", "t", *options, "--resume"])
            for path in folder.glob("*.new"):
                path.unlink()
            times.append((without, kept, continued))
        without, kept, continued = (statistics.median(column) for column in zip(*times))
    print(f"{pages:6} pages of {side} x {side} {' '.join(options):18} {without:7.2f} {kept:7.2f} {continued:7.2f}  "
          f"{kept / without:5.2f} x  {size / pages / 1024:8.1f} KiB per page", flush=True)
    return kept

def main():
    program = str(pathlib.Path(sys.argv[1]).resolve())
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    print("                                          without    with  continued")
    kept = [measure(program, pages, 64, [], rounds) for pages in (1000, 4000, 16000)]
    print(f"growth exponent with a journal: {math.log(kept[-1] / kept[0]) / math.log(16):.2f}")
    for options in ([], ["--overlay", "o.png"]):
        measure(program, 32, 1024, options, rounds)

if __name__ == "__main__":
    main()
