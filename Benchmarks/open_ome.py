#!/usr/bin/env python3
"""Time to open OME-TIFF files and report their structure, korvale beside tifffile: medians of alternating runs. Ours includes
the start of the process, tifffile's does not.

Usage: open_ome.py KORVALE [FILES]    1000 files by default, in a temporary folder.
"""

import json
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

import numpy as np
import tifffile

ROUNDS = 5


def write(folder, count):
    image = np.zeros((3, 2, 2, 32, 32), "u2")
    for number in range(count):
        tifffile.imwrite(folder / f"{number:04}.ome.tif", image, ome=True, photometric="minisblack", metadata={
            "axes": "TZCYX", "Channel": {"Name": ["DAPI", "GFP"]}, "PhysicalSizeX": 0.25, "PhysicalSizeY": 0.25})
    return sorted(folder.iterdir())


def open_ours(korvale, paths):
    text = subprocess.run([korvale, "info", "--json", *map(str, paths)], check=True, capture_output=True).stdout
    return [(series["times"], series["slices"], len(series["channels"]), series["height"], series["width"])
            for image in json.loads(text) for series in image["series"]]


def open_theirs(paths):
    shapes = []
    for path in paths:
        with tifffile.TiffFile(path) as file:
            shapes += [series.get_shape(squeeze=False)[:5] for series in file.series]
            tifffile.xml2dict(file.ome_metadata)  # For names and pixel sizes.
    return shapes


def main():
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 1000
    with tempfile.TemporaryDirectory() as name:
        paths = write(pathlib.Path(name), count)
        times = {"korvale": [], "tifffile": []}
        for _ in range(ROUNDS):
            for who, run in (("korvale", lambda: open_ours(sys.argv[1], paths)), ("tifffile", lambda: open_theirs(paths))):
                start = time.perf_counter()
                shapes = run()
                times[who].append(time.perf_counter() - start)
                assert [tuple(shape) for shape in shapes] == [(3, 2, 2, 32, 32)] * count
    ours, theirs = (statistics.median(times[who]) for who in ("korvale", "tifffile"))
    print(f"{count} files: korvale {ours * 1e3:.0f} ms, tifffile {theirs * 1e3:.0f} ms, {theirs / ours:.1f} times faster")


if __name__ == "__main__":
    main()
