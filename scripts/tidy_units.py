#!/usr/bin/env python3
"""clang-tidy over whole groups of sources.

usage: tidy_units.py BUILD JOBS FOLDER...

Most of clang-tidy's time goes into the headers of the standard library, the toolkit and the test
framework. Sources that are compiled alike are therefore written into one unit, and clang-tidy walks
their headers once. Sources of one unit may not define the same name, which is guessed from the text;
where the guess is wrong and a unit does not compile, it is taken apart. A clang-tidy that dies is
started once more; one that dies again is a finding. BUILD holds compile_commands.json. Ends with 1
when anything is found.
"""

import concurrent.futures
import json
import os
import re
import shlex
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
MOST_FILES = 24
CLANG_TIDY = os.environ.get("CLANG_TIDY", "clang-tidy")


def flags_of(entry):
    """The entry's flags without compiler, launcher, input, output and level of optimisation."""
    words = entry["arguments"] if "arguments" in entry else shlex.split(entry["command"])
    while words and not words[0].startswith("-"):
        words = words[1:]
    flags = []
    skip = False
    for word in words:
        if skip:
            skip = False
        elif word == "-o":
            skip = True
        elif word != "-c" and word != entry["file"] and not word.startswith("-O"):
            flags.append(word)
    return tuple(flags)


def names_of(path):
    """Names that a source defines for itself alone: the beginnings of lines in a nameless namespace."""
    names = set()
    is_own = False
    with open(path, encoding="utf-8") as source:
        for line in source:
            if re.match(r"namespace \w+ =|using namespace ", line):
                continue
            if line.startswith("namespace "):
                is_own = line.startswith("namespace {")
                continue
            if line.startswith("}  // namespace"):
                is_own = False
            match = re.match(r"[A-Za-z_].*?([:\w]+)\s*(?:[\[({=;]|final|: public|$)", line)
            if match and (is_own or match.group(1) == "main" or line.startswith("static ")):
                names.add(match.group(1))
    return names


def units_of(build, folders):
    """Flags and the files compiled with them, at most MOST_FILES together, no name twice."""
    with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as commands:
        entries = json.load(commands)
    alike = {}
    seen = set()
    for entry in sorted(entries, key=lambda entry: entry["file"]):
        path = os.path.relpath(entry["file"], ROOT)
        if path.split(os.sep)[0] in folders and path not in seen:
            seen.add(path)
            units = alike.setdefault(flags_of(entry), [])
            names = names_of(entry["file"])
            for files, taken in units:
                if len(files) < MOST_FILES and not names & taken:
                    files.append(entry["file"])
                    taken |= names
                    break
            else:
                units.append(([entry["file"]], names))
    return [(flags, files) for flags, units in alike.items() for files, _ in units]


def write_unit(path, files):
    """Writes the sources one behind the other: clang's analyzer leaves out what is included. Gives the
    file and the line that each line of the unit comes from."""
    origins = []
    with open(path, "w", encoding="utf-8") as unit:
        for name in files:
            with open(name, encoding="utf-8") as source:
                lines = source.read().splitlines()
            unit.write("".join(line + "\n" for line in lines))
            origins += [(name, number + 1) for number in range(len(lines))]
    return origins


def tidy(path, flags, files):
    """One text for each finding. Files that do not compile together are looked at in halves."""
    origins = write_unit(path, files)
    folders = dict.fromkeys(os.path.dirname(name) for name in files)
    command = [CLANG_TIDY, "--quiet", "--config-file=" + os.path.join(ROOT, ".clang-tidy"), path,
               "--", *flags, *("-iquote" + folder for folder in folders)]
    run = subprocess.run(command, capture_output=True, text=True, check=False)
    if has_died(run):
        print("tidy: clang-tidy died (%d), once more: %s" % (run.returncode, files[0]), flush=True)
        run = subprocess.run(command, capture_output=True, text=True, check=False)
    if has_died(run):
        return ["clang-tidy died (%d) at these files:\n%s\n%s" % (
            run.returncode, "\n".join(files), (run.stdout + run.stderr).rstrip())]
    if run.returncode == 0:
        return []
    if "[clang-diagnostic-error]" in run.stdout and len(files) > 1:
        half = len(files) // 2
        return tidy(path, flags, files[:half]) + tidy(path, flags, files[half:])
    output = re.sub(re.escape(path) + r":(\d+):",
                    lambda match: "%s:%d:" % origins[int(match.group(1)) - 1], run.stdout + run.stderr)
    return findings(output)


def has_died(run):
    """Whether clang-tidy did not come to its end: it ends with 0 (clean) or 1 (anything found)."""
    return run.returncode not in (0, 1) or "PLEASE submit a bug report" in run.stderr


def findings(output):
    """What clang-tidy said, as one text for each finding, paths seen from the root."""
    output = re.sub(r"^\d+ warnings?.*(?: generated| treated as errors)\.?$\n?", "", output, flags=re.MULTILINE)
    output = output.replace(ROOT + os.sep, "")
    parts = re.split(r"^(?=\S+:\d+:\d+: (?:error|warning):)", output, flags=re.MULTILINE)
    return [part.rstrip() for part in parts if part.strip()] or ["clang-tidy failed"]


def main():
    build, jobs, folders = sys.argv[1], int(sys.argv[2]), sys.argv[3:]
    folder = os.path.abspath(os.path.join(build, "static"))
    os.makedirs(folder, exist_ok=True)
    units = sorted(units_of(build, folders), key=lambda unit: -len(unit[1]))
    if not units:
        print("tidy: nothing to look at in", *folders)
        return 1
    start = time.monotonic()
    seen = set()
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        runs = {pool.submit(tidy, os.path.join(folder, "unit_%d.cc" % number), *unit): unit[1]
                for number, unit in enumerate(units)}
        for run in concurrent.futures.as_completed(runs):
            found = run.result()
            files = runs[run]
            print("tidy: %d files, %s to %s: %s" % (
                len(files), os.path.relpath(files[0], ROOT), os.path.relpath(files[-1], ROOT),
                "FOUND" if found else "clean"), flush=True)
            for finding in found:
                if finding not in seen:
                    seen.add(finding)
                    print(finding, flush=True)
    print("tidy: %d findings in %d files, %d units, %.0f s" % (
        len(seen), sum(len(files) for _, files in units), len(units), time.monotonic() - start))
    return 1 if seen else 0


if __name__ == "__main__":
    sys.exit(main())
