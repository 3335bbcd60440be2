#!/usr/bin/env python3
"""Opens and converts songs that were written to break whoever reads them.

usage: hostile_songs.py BUILD BANK [--first N] [--step N] [--song NUMBER] [--formats wav,ogg,mp3]
                        [--jobs N] [--verbose]

Each song (tools/hostile_songs)
- is opened by a process of its own, or refused by it: at most 2 seconds of processor time and 300 MB
  of memory at its peak;
- is converted with file names out of its own tags: a file, or a reason why not. Only two seconds of
  sound are rendered, up to an end marker, as some of these songs last for years; opening, lyrics,
  names and tags see the whole song;
- leaves nothing outside the chosen folder. Song, program, settings, temporary files and the chosen
  folder stand in one tree, which is listed before and after: names, kinds, sizes, times of files.

--step N takes every N-th song from --first on, and one format in turn for each. Ends with 1 when
anything is not so.
"""

import argparse
import concurrent.futures
import glob
import json
import os
import shutil
import signal
import stat
import subprocess
import sys
import tempfile
import threading
import time

MOST_SECONDS = 2.0
MOST_MEGABYTES = 300
PATIENCE = 300  # seconds of the clock for one conversion, on a machine that has more to do
SCHEMES = {"wav": "%A - %T", "ogg": "%A/%T", "mp3": "%T"}


class Child:
    """A process that has ended: its words, its status and what it took."""

    def __init__(self, command, **options):
        start = time.monotonic()
        with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
            process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=out, stderr=err, **options)
            self.in_time = True

            def interrupt():
                self.in_time = False
                process.send_signal(signal.SIGINT)

            timer = threading.Timer(PATIENCE, interrupt)
            timer.start()
            _, status, usage = os.wait4(process.pid, 0)
            timer.cancel()
            process.returncode = os.waitstatus_to_exitcode(status)
            out.seek(0)
            err.seek(0)
            self.out, self.err = out.read(), err.read()
        self.status = process.returncode
        self.wall = time.monotonic() - start
        self.processor = usage.ru_utime + usage.ru_stime
        self.megabytes = usage.ru_maxrss / 1024


def listing(root, without):
    """What stands below a folder, but for one part of it."""
    found = {}
    for folder, folders, files in os.walk(os.fsencode(root)):
        folders[:] = [name for name in folders if os.path.join(folder, name) != os.fsencode(without)]
        for name in folders + files:
            path = os.path.join(folder, name)
            state = os.lstat(path)
            is_file = stat.S_ISREG(state.st_mode)
            found[path] = (stat.S_IFMT(state.st_mode), state.st_size if is_file else 0,
                           state.st_mtime_ns if is_file else 0)
    return found


def escaped():
    """Where names such as "/tmp/../escape" would lead."""
    return {path for pattern in ("/escape*", "/tmp/escape*", "/tmp/*escape*", os.path.expanduser("~/escape*"))
            for path in glob.glob(pattern)}


class Bench:
    def __init__(self, build, bank, root):
        self.bank = os.path.abspath(bank)
        self.tool = os.path.join(os.path.abspath(build), "tools", "hostile_songs")
        self.root = root
        self.program = os.path.join(root, "program")
        os.makedirs(self.program)
        for name in os.listdir(os.path.join(build, "program")):
            if name in ("vexolo-convert", "oggenc") or name.endswith((".lng", ".dll")):
                shutil.copy2(os.path.join(build, "program", name), self.program)

    def songs(self):
        return int(subprocess.run([self.tool, "count"], check=True, capture_output=True).stdout)

    def try_song(self, number, formats):
        """Lines that tell what is wrong, and what was measured."""
        root = os.path.join(self.root, "song-%d" % number)
        places = {name: os.path.join(root, name) for name in ("home", "temporary", "song", "a/b/c/out")}
        for place in places.values():
            os.makedirs(place)
        out = places["a/b/c/out"]
        family = subprocess.run([self.tool, "write", str(number), places["song"]], check=True,
                                capture_output=True, text=True).stdout.strip()
        name = os.listdir(os.fsencode(places["song"]))[0]
        said = "%d %s %r" % (number, family, name)
        environment = dict(os.environ, HOME=places["home"], TMPDIR=places["temporary"],
                           XDG_CONFIG_HOME=os.path.join(places["home"], "config"))
        options = {"cwd": places["song"], "env": environment}
        wrong = []

        opened = Child([self.tool, "open", os.path.join(os.fsencode(places["song"]), name)], **options)
        if opened.status not in (0, 1) or not opened.out.startswith((b"opened", b"refused: ")):
            wrong.append("%s: opening ended with %d: %r" % (said, opened.status, opened.out + opened.err))
        if opened.processor > MOST_SECONDS:
            wrong.append("%s: opening took %.2f s" % (said, opened.processor))
        if opened.megabytes > MOST_MEGABYTES:
            wrong.append("%s: opening took %.0f MB" % (said, opened.megabytes))

        outcomes = {}
        for kind in formats:
            before = self.outside(root, out)
            child = Child([os.path.join(self.program, "vexolo-convert"), "--json", "-f", kind, "-s", self.bank,
                           "-n", SCHEMES[kind], "-o", out, "-y", "--end", "0:02", "--", name], **options)
            problem, outcomes[kind] = self.judge(child, opened, out)
            after = self.outside(root, out)
            if before != after:
                problem = "outside the folder: %s" % sorted(
                    set(before.items()) ^ set(after.items()))[:6]
            if problem:
                wrong.append("%s as %s: %s" % (said, kind, problem))
        shutil.rmtree(root)
        return said, opened, outcomes, wrong

    def outside(self, root, out):
        return {**listing(root, out), **listing(self.program, out)}

    def judge(self, child, opened, out):
        """What is wrong with a conversion, and what became of it."""
        if not child.in_time:
            return "was interrupted after %d s, ended with %d" % (PATIENCE, child.status), "interrupted"
        try:
            report, summary = [json.loads(line) for line in child.out.decode("utf-8").rstrip("\n").split("\n")]
        except ValueError as error:
            return "no report (%s), status %d: %r %r" % (error, child.status, child.out[:300], child.err[:300]), "crash"
        if child.status == 1 and report["status"] == "failed" and report["error"]:
            return None, "refused: " + report["error"] if opened.status else "failed: " + report["error"]
        if child.status != 0 or report["status"] != "converted" or summary["summary"]["converted"] != 1:
            return "status %d, %r" % (child.status, report), "crash"
        if opened.status != 0:
            return "was converted, but not opened", "converted"
        files = []
        for folder, folders, names in os.walk(os.fsencode(out)):
            files += [os.path.join(folder, name) for name in names]
            if any(os.path.islink(os.path.join(folder, name)) for name in folders + names):
                return "a link", "converted"
        # A song may have no length at all; a WAV file of it is a header alone.
        least = 44 + 170000 * report["seconds"] if report["output"].endswith(".wav") else 100
        if not any(os.path.getsize(name) >= least for name in files if not name.endswith(b".kok")):
            return "no file of %.2f s" % report["seconds"], "converted"
        if os.path.commonpath([os.path.normpath(report["output"]), out]) != out:
            return "the file is told to be %r" % report["output"], "converted"
        return None, "converted"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("bank")
    parser.add_argument("--first", type=int, default=1)
    parser.add_argument("--step", type=int, default=1)
    parser.add_argument("--formats", default="wav,ogg,mp3")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--song", type=int)
    parser.add_argument("--verbose", action="store_true")
    options = parser.parse_args()
    formats = [name for name in options.formats.split(",") if name]
    root = tempfile.mkdtemp(prefix="hostile-")
    wrong, measured, counts = [], [], {}
    at_first = escaped()
    try:
        bench = Bench(options.build, options.bank, root)
        numbers = [options.song] if options.song else list(range(options.first, bench.songs() + 1, options.step))
        with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
            tries = [pool.submit(bench.try_song, number,
                                 formats if options.step == 1 else [formats[place % len(formats)]])
                     for place, number in enumerate(numbers)]
            for run in concurrent.futures.as_completed(tries):
                said, opened, outcomes, problems = run.result()
                measured.append((opened.processor, opened.megabytes, opened.wall, said))
                key = "opened" if opened.status == 0 else "refused"
                counts[key] = counts.get(key, 0) + 1
                for outcome in outcomes.values():
                    key = outcome.split(":")[0]
                    counts[key + " (conversions)"] = counts.get(key + " (conversions)", 0) + 1
                wrong += problems
                if options.verbose:
                    print("%s: %s, %.2f s, %.0f MB; %s" % (said, opened.out.decode().strip(), opened.processor,
                                                         opened.megabytes,
                                                         str(outcomes)[:200]), flush=True)
                for problem in problems:
                    print("WRONG", problem, flush=True)
    finally:
        shutil.rmtree(root, ignore_errors=True)
    if escaped() != at_first:
        wrong.append("escaped: %s" % sorted(escaped() - at_first))
        print("WRONG", wrong[-1])
    for title, place, unit in (("processor time", 0, "s"), ("memory", 1, "MB"), ("time of the clock", 2, "s")):
        most = max(measured, key=lambda one: one[place])
        print("most %s to open: %.2f %s, %s" % (title, most[place], unit, most[3]))
    print("hostile songs: %d; %s; wrong: %d; load %.1f" % (
        len(measured), ", ".join("%s %d" % count for count in sorted(counts.items())), len(wrong), os.getloadavg()[0]))
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
