#!/usr/bin/env python3
"""Checks that no include runs upwards between rooms, that the program includes no internals of the libraries, that no
headers include each other, in a line or in a circle, that every class of Platform has a source for each system, that
names in unnamed namespaces are unique in their target, whose sources are compiled in batches, and that test files and
suites are named after classes."""

import collections
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

# Lowest first. A file may include files of its own room and of the rooms below it. A folder that is not named belongs to
# the room of the folder that it lies in: Internal is a part of its subsystem.
ROOMS = [
    "Platform", "X-Platform/Ground",
    "Platform/System", "Platform/Time", "Platform/Files", "Platform/Memory",
    "X-Platform/Threads/Waiting",
    "Platform/Threads", "Platform/Sockets", "Platform/Process", "Platform/Images", "Platform/Drawing",
    "X-Platform/Core/Storables", "X-Platform/Core/Strings", "X-Platform/Core/Errors", "X-Platform/Core/Identifiers",
    "X-Platform/Core/Streams", "X-Platform/Core/Times", "X-Platform/Compression",
    "X-Platform/Threads", "X-Platform/Services", "X-Platform/Messaging", "X-Platform/Jobs", "X-Platform/Memory",
    "X-Platform/Pivot/Rows", "X-Platform/Pivot/Columns", "X-Platform/Pivot/Accumulators", "X-Platform/Pivot/Tables",
    "X-Platform/Pivot",
    "X-Platform/Network", "X-Platform/Servers", "X-Platform/RemoteCalls", "X-Platform/NetJobs",
    "X-Platform/Startup",
    "X-Platform/Drawing",
    "X-Platform/Imaging/Pages", "X-Platform/Imaging", "X-Platform/Imaging/Writing", "X-Platform/Imaging/Filters",
    "X-Platform/Imaging/Thresholds", "X-Platform/Imaging/Objects", "X-Platform/Imaging/Measurements",
    "X-Platform/Plots", "X-Platform",
    "Tools/korvale/Support", "Tools/korvale/Terminal", "Tools/korvale/Outputs", "Tools/korvale/Tables",
    "Tools/korvale/Measuring", "Tools/korvale/Options", "Tools/korvale/StatusPage", "Tools/korvale/Commands", "Tools/korvale/Program",
]

# Parts of classes with twins that are the same on every system.
WITHOUT_TWINS = {"WCanvas", "WConnection", "WDeflateUnpacker", "WImageFile", "WLZWUnpacker", "WPackBitsUnpacker", "WSystemAddress",
                 "WTIFFBlockReader", "WTIFFDirectory", "WTIFFFile", "WTIFFPackedBytes", "WTIFFPredictor", "WTIFFSamples",
                 "WTIFFUnpacker", "WThreadBody", "WThreadManager", "WPendingFiles"}

# Files of tests that belong to several classes alike, or to none.
TESTS_OF_SEVERAL = {"ClusterCommandsTest", "EventLoopsTest", "NetJobRecordsTest", "SystemHeadersFirstTest", "SystemHeadersLastTest"}


def room_of(path: pathlib.Path) -> str:
    for folder in path.relative_to(ROOT).parents:
        if str(folder) in ROOMS:
            return str(folder)
    sys.exit(f"{path.relative_to(ROOT)} lies in no room that is known")


def includes_of(path: pathlib.Path) -> list[pathlib.Path]:
    found = []
    for name in re.findall(r'^\s*#\s*include\s+"([^"]+)"', path.read_text(encoding="utf-8"), re.MULTILINE):
        for base in (path.parent, ROOT / "X-Platform", ROOT / "Platform", ROOT / "Tools/korvale"):
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


def lonely_headers() -> list[pathlib.Path]:
    """Headers of Platform that lack a source for a system."""
    return [header for header in sorted((ROOT / "Platform").glob("*/W*.h"))
            if header.stem not in WITHOUT_TWINS
            and not all((header.parent / system / f"{header.stem}.cpp").exists() for system in ("Linux", "Windows"))]


# A declaration in an unnamed namespace, where it begins its line: what it says before its name, and the name.
DECLARATION = re.compile(
    r"^(?:template<.*>\s)?(?:(?:struct|class|enum class|enum|union) (?P<type>\w+)(?! *[;\w])|using (?P<alias>\w+) =|"
    r"(?!using|return|namespace|static_assert|extern|TEST|TYPED_TEST|INSTANTIATE|[#/(){} ])[^\n;={(]*?"
    r"\b(?<!::)(?P<name>\w+)(?P<parameters>\(.*?\)(?=\s*(?:$|\{|const|noexcept))| =|;|\[|\{|\())", re.DOTALL)


def target_of(path: pathlib.Path) -> str:
    parts = path.relative_to(ROOT).parts
    if parts[0] == "Tests":
        return f"Tests{parts[1]}"
    if parts[0] == "Tools":
        return "korvale" if path.name == "Main.cpp" else "KorvaleTool"
    return "KorvaleImaging" if parts[1] in ("Drawing", "Images", "Imaging", "Plots") else "KorvaleCore"


def unnamed_declarations(path: pathlib.Path) -> dict[str, str]:
    """What the unnamed namespaces of a source declare, by name, functions by name and parameters. Sources of a target may
    have declarations of the same name only if the texts are equal, as those of equal aliases are."""
    found = {}
    for block in re.findall(r"^namespace\n\{\n(.*?)^\} // namespace$", path.read_text(encoding="utf-8"), re.MULTILINE | re.DOTALL):
        for text in re.split(r"\n(?=\S)", block):
            if match := DECLARATION.match(text):
                name = match["type"] or match["alias"] or match["name"]
                parameters = match["parameters"] or ""
                if match["alias"]:
                    found[name] = text.split(";")[0]
                elif parameters.startswith("("):
                    # Calls cannot tell T from const T&.
                    types = (re.sub(r"\s*=.*|\bconst\b\s*|&", "", one).strip().rsplit(" ", 1)[0] for one in parameters[1:-1].split(","))
                    found[f"{name}( {', '.join(types)} )"] = str(path)
                else:
                    found[name] = str(path)
    return found


def repeated_names() -> list[str]:
    sources = [path for top in ("X-Platform", "Platform", "Tools", "Tests") for path in sorted((ROOT / top).rglob("*.cpp"))]
    places = collections.defaultdict(list)
    for path in sources:
        for name, text in unnamed_declarations(path).items():
            places[target_of(path), name].append((path, text))
    faults = []
    for (target, name), found in places.items():
        for other in ("Linux", "Windows"):
            here = [(path, text) for path, text in found if path.parent.name != other]
            if len({text for _, text in here}) > 1:
                faults.append(f"{target} has {name} in several sources: " + ", ".join(path.name for path, _ in here))
                break
    return faults


def misnamed_tests() -> list[str]:
    """Test files and suites bear the name of a class, which a part of its tests follows with its subject, and Test or
    DeathTest. A suite lies in one file."""
    classes = {path.stem for top in ("X-Platform", "Platform", "Tools") for path in (ROOT / top).rglob("*.h")}
    files = collections.defaultdict(set)
    faults = []

    def names_a_class(name: str) -> bool:
        match = re.fullmatch(r"(\w+?)(?:Death)?Test", name)
        return bool(match) and any(match[1].startswith(one) and not match[1][len(one):len(one) + 1].islower() for one in classes)

    for path in sorted((ROOT / "Tests").rglob("*.cpp")):
        if found := re.findall(r"^(?:TEST|TEST_F|TEST_P|TYPED_TEST)\( *(\w+)", path.read_text(encoding="utf-8"), re.MULTILINE):
            if not names_a_class(path.stem) and path.stem not in TESTS_OF_SEVERAL:
                faults.append(f"{path.relative_to(ROOT)} does not begin with the name of a class")
            for name in set(found):
                files[name].add(path.name)
                if name != path.stem and not names_a_class(name):
                    faults.append(f"test suite {name} in {path.name} bears the name of no class")
    return faults + [f"test suite {name} in {', '.join(sorted(found))}" for name, found in files.items() if len(found) > 1]


def main() -> int:
    files = [path for top in ("X-Platform", "Platform", "Tools") for path in sorted((ROOT / top).rglob("*"))
             if path.suffix in (".h", ".cpp")]
    graph = {path: includes_of(path) for path in files}
    faults = 0
    for path, others in graph.items():
        for other in others:
            if ROOMS.index(room_of(other)) > ROOMS.index(room_of(path)):
                faults += 1
                print(f"{path.relative_to(ROOT)} includes upwards: {other.relative_to(ROOT)}")
            if ROOT / "Tools" in path.parents and other.parent.name == "Internal":
                faults += 1
                print(f"{path.relative_to(ROOT)} includes what is not installed: {other.relative_to(ROOT)}")
    for circle in circles(graph):
        faults += 1
        print("circle: " + " -> ".join(str(path.relative_to(ROOT)) for path in circle))
    for header in lonely_headers():
        faults += 1
        print(f"{header.relative_to(ROOT)} has no source for each system")
    for fault in repeated_names() + misnamed_tests():
        faults += 1
        print(fault)
    print(f"{len(files)} files, {faults} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
