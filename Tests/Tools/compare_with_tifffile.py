#!/usr/bin/env python3
"""Compares what korvale reads from microscope files with what tifffile wrote: dimensions, channel names, calibration, times
and, by the statistics of whole pages, the samples of every plane.

Usage: compare_with_tifffile.py KORVALE
"""

import csv
import json
import pathlib
import subprocess
import sys
import tempfile

import numpy as np
import tifffile

RANDOM = np.random.default_rng(15)


def array(*shape, dtype="u2"):
    high = 200 if np.dtype(dtype).itemsize == 1 else 60000
    return RANDOM.integers(1, high, shape).astype(dtype)


def ome_sequence(path, arrays, metadata, **options):
    with tifffile.TiffWriter(path, ome=True) as file:
        for image, data in zip(arrays, metadata):
            file.write(image, metadata=data, photometric="minisblack", **options)


def write_ome(path, image, **metadata):
    tifffile.imwrite(path, image, ome=True, photometric="minisblack", metadata=metadata)
    return [image]


CASES = {}


def case(function):
    CASES[function.__name__] = function
    return function


# Each case writes a file and returns its series as arrays in the order T, Z, C, Y, X, and what else info must print.

@case
def ome_tczyx(path):
    image = array(3, 2, 4, 31, 40)
    write_ome(path, image, axes="TCZYX", Channel={"Name": ["DAPI", "GFP"]}, PhysicalSizeX=0.25, PhysicalSizeXUnit="µm",
              PhysicalSizeY=500.0, PhysicalSizeYUnit="nm", PhysicalSizeZ=2.0, TimeIncrement=250.0, TimeIncrementUnit="ms")
    return [image.transpose(0, 2, 1, 3, 4)], {"channels": ["DAPI", "GFP"], "pixel_width_um": 0.25, "pixel_height_um": 0.5,
                                              "slice_spacing_um": 2, "interval_s": 0.25, "pixel_size_source": "OME"}


@case
def ome_ztcyx_big_endian(path):
    image = array(2, 3, 2, 20, 21, dtype="u1")
    tifffile.imwrite(path, image, ome=True, photometric="minisblack", byteorder=">", bigtiff=True, metadata={"axes": "ZTCYX"})
    return [image.transpose(1, 0, 2, 3, 4)], {"format": "BigTIFF"}


@case
def ome_several_series(path):
    first, second = array(2, 3, 16, 17), array(4, 12, 13, dtype="u1")
    ome_sequence(path, [first, second], [{"axes": "CZYX", "Name": "left"}, {"axes": "TYX", "Name": "right"}])
    return [first.transpose(1, 0, 2, 3)[np.newaxis], second[:, np.newaxis, np.newaxis]], {"name": "left"}


@case
def ome_rgb(path):
    image = array(3, 18, 19, 3, dtype="u1")
    tifffile.imwrite(path, image, ome=True, photometric="rgb", metadata={"axes": "TYXS"})
    return [image.transpose(0, 3, 1, 2)[:, np.newaxis]], {}


@case
def ome_pyramid_tiles(path):
    image = array(2, 64, 80)
    with tifffile.TiffWriter(path, ome=True) as file:
        file.write(image, subifds=1, tile=(16, 32), photometric="minisblack", compression="zlib", metadata={"axes": "CYX"})
        file.write(image[:, ::2, ::2], subfiletype=1, tile=(16, 32), photometric="minisblack", compression="zlib")
    return [image[np.newaxis, np.newaxis]], {}


@case
def ome_times(path):
    image = array(3, 14, 15)
    write_ome(path, image, axes="TYX", Plane={"DeltaT": [0.5, 2.0, 7.25], "DeltaTUnit": ["s"] * 3})
    return [image[:, np.newaxis, np.newaxis]], {"time_source": "OME", "seconds": [0.5, 2.0, 7.25]}


@case
def ome_float(path):
    image = array(2, 14, 15, dtype="f4") / np.float32(7)
    write_ome(path, image, axes="CYX")
    return [image[np.newaxis, np.newaxis]], {"type": "32-bit float"}


@case
def imagej_hyperstack(path):
    image = array(3, 4, 2, 25, 26)
    tifffile.imwrite(path, image, imagej=True, resolution=(4, 2), metadata={
        "axes": "TZCYX", "unit": "um", "spacing": 1.5, "finterval": 60.0})
    return [image], {"pixel_width_um": 0.25, "pixel_height_um": 0.5, "slice_spacing_um": 1.5, "interval_s": 60,
                     "pixel_size_source": "ImageJ", "seconds": [0, 60, 120]}


@case
def imagej_slices(path):
    image = array(5, 22, 23, dtype="u1")
    tifffile.imwrite(path, image, imagej=True, metadata={"axes": "ZYX"})
    return [image[np.newaxis, :, np.newaxis]], {"source": "ImageJ"}


@case
def imagej_rgb(path):
    image = array(2, 20, 21, 3, dtype="u1")
    tifffile.imwrite(path, image, imagej=True, metadata={"axes": "TYXS"})
    return [image.transpose(0, 3, 1, 2)[:, np.newaxis]], {}


@case
def shaped_tczyx(path):
    image = array(2, 3, 2, 18, 17)
    tifffile.imwrite(path, image, photometric="minisblack", metadata={"axes": "TCZYX"})
    return [image.transpose(0, 2, 1, 3, 4)], {"source": "array shape"}


@case
def shaped_times(path):
    image = array(6, 18, 17)
    tifffile.imwrite(path, image, photometric="minisblack")
    return [image[:, np.newaxis, np.newaxis]], {}


@case
def plain_pages(path):
    image = array(4, 18, 17)
    tifffile.imwrite(path, image, photometric="minisblack", metadata=None, resolution=(1e4, 5e3), resolutionunit="CENTIMETER")
    return [image[:, np.newaxis, np.newaxis]], {"source": "pages", "pixel_width_um": 1, "pixel_height_um": 2,
                                                "pixel_size_source": "resolution"}


def add_type(name, image, expected=None, **options):
    """A case of one page; `expected` where its samples are not read as they are."""
    def write(path):
        tifffile.imwrite(path, image, **({"photometric": "minisblack"} | options))
        samples = image if expected is None else expected
        return [samples.reshape((1, 1, -1) + image.shape[:2])], {}
    CASES["type_" + name] = write


def add_types():
    page = (33, 45)
    for kind, low, high in (("i1", -128, 128), ("u1", 0, 256), ("i2", -32768, 32768), ("i4", -2**24, 2**24 + 1),
                            ("u4", 0, 2**24 + 1), ("u8", 0, 2**24 + 1)):
        image = RANDOM.integers(low, high, page).astype(kind)
        add_type(kind, image)
        add_type(kind + "_packed", image, compression="zlib", predictor=kind != "u8", byteorder=">", tile=(16, 32))
    for kind in ("f2", "f4", "f8"):
        image = RANDOM.normal(0, 1000, page).astype(kind)
        add_type(kind, image, image.astype("f4"), byteorder=">")
        add_type(kind + "_packed", image, image.astype("f4"), compression="zlib", tile=(32, 16))
    mask = RANDOM.integers(0, 2, page).astype(bool)
    add_type("mask", mask)
    add_type("mask_min_is_white", mask, ~mask, photometric="miniswhite")
    image = RANDOM.integers(0, 256, page).astype("u1")
    add_type("min_is_white", image, 255 - image, photometric="miniswhite")
    colours = RANDOM.integers(0, 65536, (3, 256)).astype("u2")
    add_type("palette", image, colours[:, image], photometric="palette", colormap=colours)
    colours, image = RANDOM.integers(0, 65536, (3, 65536)).astype("u2"), RANDOM.integers(0, 65536, page).astype("u2")
    add_type("palette_16", image, colours[:, image], photometric="palette", colormap=colours)


def run(*arguments):
    return subprocess.run([str(word) for word in arguments], check=True, capture_output=True, text=True,
                          encoding="utf-8").stdout


def compare_info(korvale, path, series, expected):
    info = json.loads(run(korvale, "info", path, "--json"))[0]
    faults = [f"{len(info['series'])} series"] if len(info["series"]) != len(series) else []
    for found, image in zip(info["series"], series):
        shape = (found["times"], found["slices"], len(found["channels"]), found["height"], found["width"])
        if shape != image.shape:
            faults.append(f"shape {shape}, not {image.shape}")
    values = info["series"][0] | {name: info[name] for name in ("format", "source")}
    return faults + [f"{name} is {values[name]}, not {value}" for name, value in expected.items()
                     if name != "seconds" and values[name] != value]


def measure(korvale, path, *options):
    """With all samples above the threshold, each page is one object."""
    with tempfile.TemporaryDirectory() as folder:
        table = pathlib.Path(folder) / "out.csv"
        run(korvale, "measure", path, "--threshold=-1e30", "--quiet", "--csv", table, *options)
        with open(table, encoding="utf-8", newline="") as file:
            return list(csv.DictReader(file))


def compare_page(row, page):
    """The statistics of a page with those of its array of channels."""
    faults = []
    for index, plane in enumerate(page.astype("f8")):
        for name, value in (("Min", plane.min()), ("Max", plane.max()), ("Sum", plane.sum()),
                            ("Standard Deviation", plane.std())):
            ours = float(row[f"{name} (C{index + 1})"])
            if abs(ours - value) > 1e-9 * abs(value):
                faults.append(f"{name} of C{index + 1} is {ours}, not {value}")
    return faults


def compare_pages(korvale, path, series, expected):
    rows = measure(korvale, path)
    places = [(s, t, z) for s, image in enumerate(series) for t in range(image.shape[0]) for z in range(image.shape[1])]
    if len(rows) != len(places):
        return [f"{len(rows)} pages, not {len(places)}"]
    faults = []
    for row, (s, t, z) in zip(rows, places):
        found = tuple(int(row.get(name, 0)) for name in ("Series", "Timepoint", "Slice"))
        if found != (s, t, z):
            faults.append(f"page {found}, not {(s, t, z)}")
        if "seconds" in expected and float(row["Time (s)"]) != expected["seconds"][t]:
            faults.append(f"time {row['Time (s)']}")
        faults += compare_page(row, series[s][t, z])
    return faults


def compare_selection(korvale, path):
    """Parts and projections of one file."""
    image = CASES["ome_tczyx"](path)[0][0]
    faults = []
    for mode, project in (("max", np.max), ("mean", np.mean), ("sum", np.sum)):
        rows = measure(korvale, path, "--z", mode, "--times", "1-", "--channel", "GFP", "--memory", "1M")
        faults += [f"{len(rows)} pages"] if len(rows) != 2 else []
        for row, time in zip(rows, (1, 2)):
            page = project(image[time].astype("f8"), axis=0)
            page = page if mode == "max" else page.astype("f4")
            faults += [f"--z {mode}: {fault}" for fault in compare_page(row, page)]
    rows = measure(korvale, path, "--z", "2", "--times", "1")
    faults += compare_page(rows[0], image[1, 2]) + ([f"{len(rows)} pages"] if len(rows) != 1 else [])
    return faults


def main():
    korvale, faults = sys.argv[1], []
    add_types()
    with tempfile.TemporaryDirectory() as name:
        for name_of_case, write in CASES.items():
            path = pathlib.Path(name) / (name_of_case + (".ome.tif" if name_of_case.startswith("ome") else ".tif"))
            series, expected = write(path)
            found = compare_info(korvale, path, series, expected) + compare_pages(korvale, path, series, expected)
            print(f"{path.name}: {len(found)} faults", flush=True)
            faults += [f"{path.name}: {fault}" for fault in found]
        faults += compare_selection(korvale, pathlib.Path(name) / "selection.ome.tif")
    for fault in faults[:50]:
        print(fault)
    print(f"{len(faults)} differences from tifffile {tifffile.__version__}")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
