#!/usr/bin/env python3
"""The steps of bench_objects in scikit-image: prints the median of the milliseconds of three runs each.

Usage: objects.py IMAGE
"""

import statistics
import sys
import time

import numpy as np
import scipy.ndimage
import skimage.feature as feature
import skimage.filters as filters
import skimage.measure
import skimage.morphology as morphology
import skimage.segmentation as segmentation
import tifffile


def measure(name: str, work, runs: int = 3) -> None:
    times = []
    for _ in range(runs):
        start = time.process_time()
        work()
        times.append(time.process_time() - start)
    print(f"{name + '/scikit-image_median':<40} {statistics.median(times) * 1e3:10.1f} ms", flush=True)


def make_pairs() -> np.ndarray:
    """The mask of bench_objects: pairs of overlapping discs."""
    y, x = np.indices((2048, 2048)) % 64 - 32
    return ((x + 10) ** 2 + y ** 2 <= 196) | ((x - 10) ** 2 + y ** 2 <= 196)


def split(mask: np.ndarray) -> np.ndarray:
    distance = scipy.ndimage.distance_transform_edt(mask)
    markers = np.zeros(mask.shape, int)
    peaks = feature.peak_local_max(distance, min_distance=7, labels=skimage.measure.label(mask))
    markers[tuple(peaks.T)] = np.arange(1, len(peaks) + 1)
    return segmentation.watershed(-distance, markers, mask=mask)


def make_ellipses() -> np.ndarray:
    """The page of bench_objects."""
    row, column = np.indices((2048, 2048))
    x, y = column % 28 - 14, row % 28 - 14
    size = 5 + (column // 28 + row // 28) % 7
    return (np.maximum(column, row) // 28 < 73) & (x ** 2 + 2 * y ** 2 <= size ** 2)


SHAPE = ("axis_major_length", "axis_minor_length", "eccentricity", "orientation", "feret_diameter_max", "area_convex",
         "solidity", "perimeter_crofton", "equivalent_diameter_area", "extent", "euler_number")


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
    pairs = make_pairs()
    measure("Distance", lambda: scipy.ndimage.distance_transform_edt(pairs))
    measure("Split/distance, 2048 objects", lambda: split(pairs), 1)
    labels = skimage.measure.label(make_ellipses(), connectivity=1)
    measure(f"Shape/{labels.max()} objects", lambda: skimage.measure.regionprops_table(labels, properties=SHAPE), 1)


if __name__ == "__main__":
    main()
