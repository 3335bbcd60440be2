#!/usr/bin/env python3
"""The share of lines that ran, for each folder of src and for engine and core.

usage: coverage_table.py BUILD [LEAST]

Reads BUILD/coverage.json, as gcovr writes it. The engine is src/engine; the core is what the library
vexolo_core is made of, and the headers of its folders that belong to no window. Ends with 1 when the
engine or the core is below LEAST percent (90), or when a source of theirs was not counted. BUILD/lines
names the lines that did not run.
"""

import collections
import json
import os
import re
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
WINDOW = re.compile(r"_(window|dialog|widget|gl|main)\.(cc|h)$")  # as in CMakeLists.txt


def layers_of(build):
    """The layer of every source that is compiled into the engine or the core."""
    layers = {}
    with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as commands:
        for entry in json.load(commands):
            match = re.search(r"CMakeFiles/vexolo_(engine|core|gui)\.dir/", entry["command"])
            if match:
                layers[os.path.relpath(entry["file"], ROOT)] = match.group(1)
    return layers


def layer_of_header(path):
    folder = path.split("/")[1]
    if folder == "engine":
        return "engine"
    return "gui" if folder in ("widgets", "resources") or WINDOW.search(path) else "core"


def ranges_of(lines):
    """1-3,7 for the lines 1, 2, 3 and 7."""
    ranges = []
    for line in sorted(lines):
        if ranges and line == ranges[-1][1] + 1:
            ranges[-1][1] = line
        else:
            ranges.append([line, line])
    return ",".join(str(first) if first == last else "%d-%d" % (first, last) for first, last in ranges)


def print_table(title, counts):
    print("%-24s %8s %8s %8s" % (title, "lines", "ran", "share"))
    for name, (ran, lines) in counts:
        print("%-24s %8d %8d %7.2f%%" % (name, lines, ran, 100 * ran / lines))


def main():
    build = sys.argv[1]
    least = float(sys.argv[2]) if len(sys.argv) > 2 else 90
    layers = layers_of(build)
    folders = collections.defaultdict(lambda: [0, 0])
    totals = {"engine": [0, 0], "core": [0, 0], "gui": [0, 0]}
    missed = []
    with open(os.path.join(build, "coverage.json"), encoding="utf-8") as report:
        files = json.load(report)["files"]
    for file in files:
        path = file["file"]
        layer = layers.pop(path, None)
        if layer is None:
            if not path.endswith(".h"):
                continue  # the programs' main functions
            layer = layer_of_header(path)
        counts = {line["line_number"]: line["count"] for line in file["lines"]
                  if not line.get("gcovr/noncode")}
        ran = sum(count > 0 for count in counts.values())
        folder = "src/%s" % path.split("/")[1]
        for total in (totals[layer], folders[folder if layer != "gui" else folder + " (windows)"]):
            total[0] += ran
            total[1] += len(counts)
        if ran < len(counts):
            missed.append("%s %s: %s" % (layer, path, ranges_of(
                line for line, count in counts.items() if not count)))
    with open(os.path.join(build, "lines"), "w", encoding="utf-8") as lines:
        lines.write("".join(text + "\n" for text in sorted(missed)))

    print_table("folder", sorted(folders.items()))
    print()
    both = [totals["engine"][part] + totals["core"][part] for part in (0, 1)]
    print_table("layer", [("engine", totals["engine"]), ("core", totals["core"]),
                          ("engine and core", both), ("windows", totals["gui"])])
    status = 0
    for path in sorted(path for path, layer in layers.items() if layer != "gui"):
        print("not counted: " + path)
        status = 1
    for layer in ("engine", "core"):
        ran, lines = totals[layer]
        if not lines or 100 * ran < least * lines:
            print("coverage: the %s is below %g %%" % (layer, least))
            status = 1
    return status


if __name__ == "__main__":
    sys.exit(main())
