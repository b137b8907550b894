#!/usr/bin/env python3
"""What `korvale measure STACK --csv FILE` does, as a scikit-image script. Prints the seconds without the imports.

Usage: measure.py STACK FILE
"""

import csv
import sys
import time

import numpy as np
from skimage.filters import threshold_otsu
from skimage.measure import label, regionprops_table
from tifffile import TiffFile

PROPERTIES = ("label", "area", "centroid", "bbox", "perimeter", "intensity_min", "intensity_max", "intensity_mean")


def deviation(mask, samples):
    return np.std(samples[mask], dtype=np.float64)


def total(mask, samples):
    return np.sum(samples[mask], dtype=np.float64)


def main() -> None:
    start = time.perf_counter()
    with TiffFile(sys.argv[1]) as stack, open(sys.argv[2], "w", newline="", encoding="utf-8") as file:
        writer = csv.writer(file)
        for timepoint, page in enumerate(stack.pages):
            image = page.asarray()
            labels = label(image > threshold_otsu(image))
            table = regionprops_table(labels, image, properties=PROPERTIES, extra_properties=(deviation, total))
            if timepoint == 0:
                writer.writerow(["timepoint", *table])
            for row in zip(*table.values()):
                writer.writerow([timepoint, *row])
    print(time.perf_counter() - start)


if __name__ == "__main__":
    main()
