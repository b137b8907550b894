#!/usr/bin/env python3
"""The steps of bench_objects in scikit-image: prints the median of the milliseconds of three runs each.

Usage: objects.py IMAGE
"""

import statistics
import sys
import time

import scipy.ndimage
import skimage.filters as filters
import skimage.morphology as morphology
import tifffile


def measure(name: str, work, runs: int = 3) -> None:
    times = []
    for _ in range(runs):
        start = time.process_time()
        work()
        times.append(time.process_time() - start)
    print(f"{name + '/scikit-image_median':<40} {statistics.median(times) * 1e3:10.1f} ms", flush=True)


def main() -> None:
    image = tifffile.imread(sys.argv[1])
    smooth = filters.gaussian(image, 2, mode="nearest", preserve_range=True).astype("f4")
    for sigma in (2, 20):
        measure(f"Gaussian/{sigma}", lambda: filters.gaussian(image, sigma, mode="nearest", preserve_range=True))
    measure("Median/3", lambda: filters.median(image, morphology.disk(3)), 1)
    measure("TopHat/25", lambda: morphology.white_tophat(image, morphology.disk(25)), 1)
    for method in ("otsu", "li", "triangle", "yen", "isodata"):
        threshold = getattr(filters, "threshold_" + method)
        measure(f"Threshold/{method}/16 bits", lambda: threshold(image.copy()))
        measure(f"Threshold/{method}/float", lambda: threshold(smooth.copy()))
    measure("Threshold/local:35", lambda: image > filters.threshold_local(image, 35))
    measure("Threshold/sauvola:25", lambda: image > filters.threshold_sauvola(image, 25))
    mask = image > 6000
    measure("Clean/open 3, fill", lambda: scipy.ndimage.binary_fill_holes(
        morphology.binary_opening(mask, morphology.disk(3))))


if __name__ == "__main__":
    main()
