#!/usr/bin/env python3
"""Checks that no include runs upwards and that no headers include each other, in a line or in a circle."""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

# Lowest first. A file may include files of its own floor and of the floors below it.
FLOORS = ["ground", "Core", "Threads", "Services", "Messaging", "Jobs", "Memory", "Pivot", "Network", "RemoteCalls",
          "NetJobs", "Startup", "Korvale", "Tools"]
GROUND_HEADERS = {"Core/XErrorNumbers.h", "Core/XFail.h", "Core/XTypes.h", "Memory/XFileMappingBase.h"}


def floor_of(path: pathlib.Path) -> str:
    top, *rest = path.relative_to(ROOT).parts
    if top == "Tools":
        return "Tools"
    if top == "Platform":
        return "Core" if path.stem.endswith("Exception") else "ground"
    if len(rest) == 1:
        return "Korvale"
    return "ground" if "/".join(rest) in GROUND_HEADERS else rest[0]


def includes_of(path: pathlib.Path) -> list[pathlib.Path]:
    found = []
    for name in re.findall(r'^\s*#\s*include\s+"([^"]+)"', path.read_text(encoding="utf-8"), re.MULTILINE):
        for base in (path.parent, ROOT / "X-Platform", ROOT / "Platform"):
            if (base / name).exists():
                found.append((base / name).resolve())
                break
    return found


def circles(graph: dict[pathlib.Path, list[pathlib.Path]]) -> list[list[pathlib.Path]]:
    done, found = set(), []

    def visit(node: pathlib.Path, trail: list[pathlib.Path]) -> None:
        if node in trail:
            found.append(trail[trail.index(node):] + [node])
        elif node not in done:
            for other in graph.get(node, []):
                visit(other, trail + [node])
            done.add(node)

    for node in graph:
        visit(node, [])
    return found


def main() -> int:
    files = [path for top in ("X-Platform", "Platform", "Tools") for path in sorted((ROOT / top).rglob("*"))
             if path.suffix in (".h", ".cpp")]
    graph = {path: includes_of(path) for path in files}
    faults = 0
    for path, others in graph.items():
        for other in others:
            if FLOORS.index(floor_of(other)) > FLOORS.index(floor_of(path)):
                faults += 1
                print(f"{path.relative_to(ROOT)} ({floor_of(path)}) includes upwards: "
                      f"{other.relative_to(ROOT)} ({floor_of(other)})")
    for circle in circles(graph):
        faults += 1
        print("circle: " + " -> ".join(str(path.relative_to(ROOT)) for path in circle))
    print(f"{len(files)} files, {faults} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
