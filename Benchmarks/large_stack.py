#!/usr/bin/env python3
"""Measures stacks larger than their memory budget beside the same without a budget, and the memory that each takes.

The stack has 512 pages of 2048 x 2048 pixels of 16 bits, 4 GiB; the budget is 512 MiB. Aimed at: at most 1.5 times the
time, a resident peak of at most 560 MiB, and the same table to the byte. With --page-sizes there are stacks of 128 MiB
with pages from 32 x 32 to 2048 x 2048 pixels instead, the budget is 48 MiB, and the peak is not judged.

Usage: large_stack.py KORVALE [--folder DIR] [--pages N] [--side N] [--memory SIZE] [--runs N] [--background KIND]
       large_stack.py KORVALE --page-sizes [--folder DIR] [--memory SIZE] [--runs N] [--background KIND]
"""

import argparse
import pathlib
import statistics
import subprocess
import sys
import tempfile
import threading
import time

MOST_RATIO = 1.5
MOST_RESIDENT = 560  # MiB
PAGE_SIZES = [(64000, 32, 2), (4000, 128, 20), (250, 512, 300), (16, 2048, 300)]  # pages, side, objects


class Residence(threading.Thread):
    """Watches what a process has in memory of its own, in MiB."""

    def __init__(self, process):
        super().__init__(daemon=True)
        self.status = pathlib.Path(f"/proc/{process.pid}/status")
        self.peak = self.own_peak = 0.0
        self.start()

    def run(self):
        try:
            while True:
                self.look()
                time.sleep(0.01)
        except (OSError, KeyError):
            pass  # the process has ended

    def look(self):
        fields = dict(line.split(":", 1) for line in self.status.read_text().splitlines())
        mebibytes = {name: int(fields[name].split()[0]) / 1024 for name in ("VmHWM", "RssAnon", "RssShmem")}
        self.peak = mebibytes["VmHWM"]
        self.own_peak = max(self.own_peak, mebibytes["RssAnon"] + mebibytes["RssShmem"])


def measure(korvale: str, stack: pathlib.Path, *options: str):
    """Seconds, peak of the resident memory, of that the process's own, and the table."""
    output = stack.parent / "out.csv"
    begin = time.monotonic()
    process = subprocess.Popen([korvale, "--log", "/dev/null", "measure", stack, "--csv", output, "-q", *options])
    residence = Residence(process)
    if process.wait() != 0:
        sys.exit(f"it ended with status {process.returncode}")
    seconds = time.monotonic() - begin
    residence.join()
    return seconds, residence.peak, residence.own_peak, output.read_bytes()


def compare(options, pages: int, side: int, objects: int, memory: str) -> tuple[float, float, bool]:
    """The ratio of the times, the resident peak within the budget, and whether the tables are the same."""
    background = ["--background", options.background]
    with tempfile.TemporaryDirectory(prefix="korvale-bench-", dir=options.folder) as name:
        stack = pathlib.Path(name) / "sample.tif"
        subprocess.run([options.korvale, "--log", "/dev/null", "sample", name, "--planes", str(pages), "--width",
                        str(side), "--height", str(side), "--objects", str(objects), "-q"], check=True)
        measure(options.korvale, stack, *background, "--memory", memory)  # brings the stack into the system's cache
        free, bounded = [], []
        for _ in range(options.runs):  # in turns, so that both have the same neighbours on the machine
            free.append(measure(options.korvale, stack, *background))
            bounded.append(measure(options.korvale, stack, *background, "--memory", memory))

    print(f"{pages} pages of {side} x {side}")
    for label, runs in (("no budget", free), (memory, bounded)):
        print(f"  {label}: {statistics.median(run[0] for run in runs):.1f} s "
              f"({', '.join(f'{run[0]:.1f}' for run in runs)}); resident peak {max(run[1] for run in runs):.0f} MiB, "
              f"of its own {max(run[2] for run in runs):.0f} MiB")
    ratio = statistics.median(run[0] for run in bounded) / statistics.median(run[0] for run in free)
    resident = max(run[1] for run in bounded)
    is_same = len({run[3] for run in free + bounded}) == 1
    print(f"  {ratio:.2f} times the time (at most {MOST_RATIO}), {resident:.0f} MiB, "
          f"tables {'the same' if is_same else 'NOT THE SAME'}", flush=True)
    return ratio, resident, is_same


def main() -> int:
    parser = argparse.ArgumentParser()
    parser.add_argument("korvale")
    parser.add_argument("--folder", default="/var/tmp")
    parser.add_argument("--pages", type=int, default=512)
    parser.add_argument("--side", type=int, default=2048)
    parser.add_argument("--page-sizes", action="store_true")
    parser.add_argument("--memory")
    parser.add_argument("--background", default="mean")
    parser.add_argument("--runs", type=int, default=3)
    options = parser.parse_args()

    if options.page_sizes:
        results = [compare(options, *size, options.memory or "48M") for size in PAGE_SIZES]
        return 0 if all(ratio <= MOST_RATIO and is_same for ratio, _, is_same in results) else 1
    ratio, resident, is_same = compare(options, options.pages, options.side, 300, options.memory or "512M")
    return 0 if ratio <= MOST_RATIO and resident <= MOST_RESIDENT and is_same else 1


if __name__ == "__main__":
    sys.exit(main())
