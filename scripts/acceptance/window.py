#!/usr/bin/env python3
"""Converts the demo songs in the program's own windows, and asks other programs what came out.

usage: window.py BUILD_FOLDER [PART...]     (on a display, or under xvfb-run)

Parts (all without one): formats  answers  failures  same  speed  many
"""
import datetime
import filecmp
import glob
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import threading
import time

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
SONGS = sorted(glob.glob(ROOT + "/songs/*.mid") + glob.glob(ROOT + "/songs/*.kar"))
FORMATS = ("mp3", "ogg", "wav")
LATENCY = 50.0  # milliseconds
RATIO = 1.1     # time in the window to time on the command line
RUNS = 3        # the best of so many counts
MANY = 200
GROWTH = 5.0    # megabytes


def output_of(*command):
    environment = dict(os.environ, LC_ALL="C.UTF-8")
    return subprocess.run(command, check=True, capture_output=True, env=environment).stdout


class Acceptance:
    def __init__(self, build):
        self.program = os.path.join(build, "program")
        self.window = os.path.join(build, "tests", "window_conversion")
        self.wrong = 0
        self.folder = tempfile.mkdtemp()
        self.songs = [shutil.copy(song, self.folder) for song in SONGS]

    def expect(self, good, text):
        print(("  ok     " if good else "  WRONG  ") + text)
        self.wrong += not good

    def convert(self, folder, audio_format, songs=None, under=(), **options):
        """`under`: a command that runs the program."""
        options = {"oggenc": os.path.realpath(self.program + "/oggenc"), **options}
        settings = [f"--{key}={value}" for key, value in options.items() if value is not True]
        settings += [f"--{key}" for key, value in options.items() if value is True]
        out = output_of(*under, self.window, "--bank=" + os.path.realpath(self.program + "/Orvanel.SF2"),
                        "--folder=" + folder, "--format=" + audio_format, *settings,
                        *(songs or self.songs))
        report = json.loads(out)
        report["summary"] = report["summary"].replace("\u00a0", " ")
        return report

    def command_line(self, folder, audio_format, songs=None):
        """The same by vexolo-convert, with the comments that the dialog proposes."""
        begun = time.monotonic()
        day = datetime.date.today().strftime("%d/%m/%Y")
        version = re.search(r"(\d+\.\d+)", output_of(self.program + "/vexolo-convert",
                                                     "--version").decode()).group(1)
        begun = time.monotonic()
        for song in songs or self.songs:
            comment = f"Converti de {os.path.basename(song)} le {day} avec Vexolo V{version}"
            output_of(self.program + "/vexolo-convert", "-y", "-q", "-f", audio_format, "-r", "128",
                      "-o", folder, "--comment=" + comment, song)
        return time.monotonic() - begun

    def files(self, folder, extension):
        return sorted(glob.glob(os.path.join(glob.escape(folder), "*." + extension)))

    # ---- Parts

    def formats(self):
        """The four songs, "Tous", to each format: differently named and tagged."""
        for audio_format in FORMATS:
            folder = os.path.join(self.folder, "formats")
            report = self.convert(folder, audio_format)
            files = self.files(folder, audio_format)
            print(f"{audio_format}: {report['summary'].strip()}")
            self.expect(len(files) == len(self.songs), f"{len(files)} {audio_format} files")
            self.expect(all(os.path.exists(os.path.splitext(f)[0] + ".kok") for f in files),
                        "each with its lyrics file")
            self.expect(report["asked"] == report["shown"] == 0, "no question, no message")
            titles = [self.title(path, audio_format) for path in files]
            print("        " + "; ".join(str(title) for title in titles))
            if audio_format != "wav":
                named = [t for t in titles if t]
                self.expect(len(set(named)) == len(named) >= 3, "each title is the song's own")
            for path in files:
                self.expect(self.duration(path, audio_format) > 60,
                            f"{os.path.basename(path)}: {self.duration(path, audio_format):.2f} s")

    def title(self, path, audio_format):
        """As the format's own reader and ffprobe both see it."""
        if audio_format == "wav":
            return None
        probe = json.loads(output_of("ffprobe", "-v", "quiet", "-of", "json", "-show_format",
                                     "-show_streams", path))
        tags = {**probe["streams"][0].get("tags", {}), **probe["format"].get("tags", {})}
        tags = {key.lower(): value for key, value in tags.items()}
        if audio_format == "mp3":
            text = output_of("id3v2", "-R", path).decode(errors="replace")
            own = dict(re.findall(r"^(\w{4}): (.*)$", text, re.MULTILINE)).get("TIT2")
            comment = re.search(r"^COMM: .*: (Converti de .*)$", text, re.MULTILINE)
        else:
            text = output_of("ogginfo", path).decode()
            own = dict(re.findall(r"^\t([^=\n]+)=(.*)$", text, re.MULTILINE)).get("TITLE")
            comment = re.search(r"^\tcomment=(Converti de .*)$", text, re.MULTILINE)
        self.expect(own == tags.get("title"), f"both readers see the title {own!r}")
        self.expect(comment is not None, comment.group(1) if comment else "a comment")
        return own

    def duration(self, path, audio_format):
        if audio_format == "wav":
            return float(output_of("soxi", "-D", path))
        return float(json.loads(output_of("ffprobe", "-v", "quiet", "-of", "json", "-show_format",
                                          path))["format"]["duration"])

    def answers(self):
        """Again with the files there: No keeps them, Yes replaces them."""
        folder = os.path.join(self.folder, "answers")
        self.convert(folder, "mp3")
        before = {path: os.stat(path).st_mtime_ns for path in self.files(folder, "mp3")}
        for answer in ("no", "yes"):
            report = self.convert(folder, "mp3", answer=answer)
            now = {path: os.stat(path).st_mtime_ns for path in self.files(folder, "mp3")}
            kept = sum(now[path] == before[path] for path in before)
            print(f"answering {answer}: {report['summary'].strip()!r}")
            self.expect(report["asked"] == len(self.songs), f"{report['asked']} questions")
            self.expect(kept == (len(before) if answer == "no" else 0), f"{kept} files kept")
            self.expect(len(now) == len(before), "no file more or less")

    def expect_told(self, what, folder, audio_format, songs, reason, **options):
        report = self.convert(folder, audio_format, songs, **options)
        told = [line.strip() for line in report["summary"].splitlines() if reason in line]
        self.expect(bool(told), f"{what}: {told[0] if told else report['summary']!r}")
        self.expect(report["shown"] == 0, "no message stops the list")
        return report

    def failures(self):
        """What can go wrong in a list is told in its summary, in French, and the list goes on."""
        bad = os.path.join(self.folder, "bad.mid")
        with open(bad, "wb") as file:
            file.write(b"this is no song")
        folder = os.path.join(self.folder, "failures")
        report = self.expect_told("a song that is none", folder, "wav",
                                    [bad, self.songs[2]], "bad.mid : chanson illisible")
        self.expect("converties : 1" in report["summary"], "the other song is converted")
        self.expect_told("no encoder", folder, "ogg", self.songs[:1], "encodeur introuvable",
                           oggenc=os.path.join(self.folder, "missing", "oggenc"))
        self.dying_encoder(folder)
        self.expect_told("a folder that takes no file", "/proc/self/out", "wav", self.songs[:1],
                           "impossible d’écrire dans le dossier")
        self.expect_told("files may not be longer than a megabyte", folder, "wav", self.songs[:1],
                         "plus assez de place sur le disque", answer="yes",
                         under=("prlimit", "--fsize=1000000"))
        self.full_disk()

    def dying_encoder(self, folder):
        """It dies once."""
        script = os.path.join(self.folder, "dying")
        with open(script, "w", encoding="utf-8") as file:
            file.write(f'''#!/bin/sh
if [ -e "$0.died" ]; then exec "{os.path.realpath(self.program)}/oggenc" "$@"; fi
: > "$0.died"
head -c 1000000 > /dev/null
exit 1
''')
        os.chmod(script, 0o755)
        report = self.expect_told("an encoder that dies", folder, "ogg", self.songs[:2],
                                  "s’est arrêté avant la fin", oggenc=script)
        self.expect("converties : 1" in report["summary"], "the other song is converted")

    def full_disk(self):
        small = os.path.join(self.folder, "small")
        os.mkdir(small)
        mount = ["mount", "-t", "tmpfs", "-o", "size=8m", "tmpfs", small]
        if subprocess.run(mount, capture_output=True).returncode != 0:
            print("        (a full disk cannot be made here)")
            return
        reason = "plus assez de place sur le disque"
        filler = os.path.join(small, "filler")
        try:
            self.expect_told("a disk too small", small, "wav", self.songs[:1], reason)
            for audio_format in ("mp3", "ogg"):
                thread = threading.Thread(target=self.fill, args=(small, filler, audio_format))
                thread.start()
                self.expect_told(f"a disk that fills up meanwhile, {audio_format}", small,
                                 audio_format, self.songs[:1], reason)
                thread.join()
                os.remove(filler)
        finally:
            subprocess.run(["umount", small], check=True)

    def fill(self, folder, filler, audio_format):
        """Takes all room as soon as a song is being written there."""
        while not self.files(folder, audio_format):
            time.sleep(0.02)
        with open(filler, "wb", buffering=0) as file:
            for size in (1 << 16, 1 << 12, 1):
                try:
                    while file.write(bytes(size)) == size:
                        pass
                except OSError:
                    pass

    def same(self):
        """Window and command line give the same bytes."""
        for audio_format in FORMATS:
            window = os.path.join(self.folder, "same-window")
            command = os.path.join(self.folder, "same-command")
            self.convert(window, audio_format)
            self.command_line(command, audio_format)
            for extension in (audio_format, "kok"):
                ours = self.files(window, extension)
                theirs = [os.path.join(command, os.path.basename(path)) for path in ours]
                equal = sum(os.path.exists(b) and filecmp.cmp(a, b, shallow=False)
                            for a, b in zip(ours, theirs))
                self.expect(equal == len(ours) == len(self.songs),
                            f"{audio_format}: {equal} of {len(ours)} {extension} files are the same")

    def speed(self):
        """How long a song takes, and how soon the window answers meanwhile."""
        song = self.songs[:1]
        for audio_format in FORMATS:
            folder = os.path.join(self.folder, "speed")
            command, window, worst, busiest = [], [], [], []
            for _ in range(RUNS):
                command.append(self.command_line(folder, audio_format, song))
                report = self.convert(folder, audio_format, song, answer="yes", one=True)
                window.append(report["seconds"])
                worst.append(report["worst_ms"])
                busiest.append(report["busiest_ms"])
            ratio = min(window) / min(command)
            print(f"{audio_format}: {min(window):.2f} s in the window, {min(command):.2f} s on the "
                  f"command line; worst waits {worst} ms, longest work {busiest} ms")
            self.expect(ratio <= RATIO, f"{ratio:.3f} times the command line's time")
            self.expect(min(worst) < LATENCY, f"a posted event waits {min(worst):.1f} ms at most")

    def many(self):
        """A long list: memory and child processes."""
        songs = []
        for number in range(MANY):
            source = self.songs[number % len(self.songs)]
            songs.append(os.path.join(self.folder, f"copy-{number:03}" + os.path.splitext(source)[1]))
            shutil.copy(source, songs[-1])
        folder = os.path.join(self.folder, "many")
        report = self.convert(folder, "mp3", songs, scheme="")
        growth = report["mb_after"] - report["mb_begun"]
        print(f"{MANY} songs in {report['seconds']:.0f} s: {report['summary'].strip()}")
        self.expect(len(self.files(folder, "mp3")) == MANY, "a file for each")
        self.expect(growth <= GROWTH, f"memory {report['mb_begun']:.1f} -> "
                                      f"{report['mb_after']:.1f} MB ({growth:+.1f}); "
                                      f"{report['mb_before']:.1f} before the dialog")
        self.expect(report["children"] == 0, f"{report['children']} child processes left")
        print(f"        worst wait {report['worst_ms']} ms, longest work {report['busiest_ms']} ms")


PARTS = ("formats", "answers", "failures", "same", "speed", "many")


def main():
    wanted = sys.argv[2:] or PARTS
    if len(sys.argv) < 2 or any(part not in PARTS for part in wanted):
        sys.exit(__doc__)
    readers = ("ffprobe", "id3v2", "ogginfo", "soxi")
    missing = [name for name in readers if not shutil.which(name)]
    if missing:
        sys.exit("Please install " + ", ".join(missing) + " first.")
    acceptance = Acceptance(os.path.abspath(sys.argv[1]))
    try:
        for part in wanted:
            print(f"== {part}")
            getattr(acceptance, part)()
    finally:
        shutil.rmtree(acceptance.folder, ignore_errors=True)
    print(f"{acceptance.wrong} wrong" if acceptance.wrong else "All as it should be.")
    return 1 if acceptance.wrong else 0


if __name__ == "__main__":
    sys.exit(main())
