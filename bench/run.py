#!/usr/bin/env python3
"""Side-by-side benchmarks of the conversion; prints Markdown tables. See README.md beside it."""

import argparse
import os
import shlex
import shutil
import statistics
import struct
import subprocess
import sys
import tempfile
import time
from pathlib import Path

DEFAULT_BANK = "/usr/share/sounds/sf2/FluidR3_GM.sf2"
SAMPLE_RATE = 44100


class Run:
    """What one run of a program took."""

    def __init__(self, wall, processor, memory):
        self.wall = wall  # s
        self.processor = processor  # s, user and system, with waited-for children
        self.memory = memory  # MiB, peak of the largest single process


class Contestant:
    """A command line, made anew for each run, and the file that it has to leave behind."""

    def __init__(self, name, command, output, stdin=None):
        self.name = name
        self.command = command
        self.output = output
        self.stdin = stdin
        self.runs = []
        self.problem = None


def measure(contestant):
    """Runs a contestant once; returns a Run, or None with contestant.problem set."""
    contestant.output.unlink(missing_ok=True)
    with tempfile.TemporaryFile() as errors, open(contestant.stdin or os.devnull, "rb") as stdin:
        start = time.perf_counter()
        try:
            process = subprocess.Popen(contestant.command, stdin=stdin,
                                       stdout=subprocess.DEVNULL, stderr=errors)
        except OSError as error:
            contestant.problem = str(error)
            return None
        _, status, usage = os.wait4(process.pid, 0)
        wall = time.perf_counter() - start
        process.returncode = os.waitstatus_to_exitcode(status)
        errors.seek(0)
        lines = errors.read().decode(errors="replace").strip().splitlines()
    if process.returncode != 0:
        contestant.problem = f"exit status {process.returncode}: {lines[-1] if lines else ''}"
        return None
    if not contestant.output.is_file() or contestant.output.stat().st_size < 1000:
        contestant.problem = f"left no {contestant.output.name} behind"
        return None
    return Run(wall, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024)


def race(contestants, rounds):
    """One unmeasured round to warm the file cache, then `rounds` rounds in turn."""
    for index in range(rounds + 1):
        for contestant in contestants:
            if contestant.problem:
                continue
            run = measure(contestant)
            if run is not None and index > 0:
                contestant.runs.append(run)


def median(contestant, field):
    return statistics.median(getattr(run, field) for run in contestant.runs)


def wav_seconds(path):
    """Length of a 16-bit stereo WAV file, from its size and its header."""
    with open(path, "rb") as file:
        header = file.read(36)
    if len(header) < 36 or header[:4] != b"RIFF" or header[8:16] != b"WAVEfmt ":
        return 0.0
    bytes_per_second = struct.unpack("<I", header[28:32])[0]
    return (path.stat().st_size - 44) / bytes_per_second if bytes_per_second else 0.0


def print_table(title, contestants, with_length):
    """The first contestant is ours; ratios are ours over the other's (below 1: ours is better)."""
    print(f"\n### {title}\n")
    print("| program | wall s | processor s | peak MiB | ours/its wall | ours/its processor |"
          " ours/its memory |" + (" sound s |" if with_length else ""))
    print("|---|--:|--:|--:|--:|--:|--:|" + ("--:|" if with_length else ""))
    ours = contestants[0]
    for contestant in contestants:
        if contestant.problem:
            print(f"| {contestant.name} | failed: {contestant.problem} |")
            continue
        fields = ("wall", "processor", "memory")
        cells = [f"{median(contestant, 'wall'):.3f}", f"{median(contestant, 'processor'):.3f}",
                 f"{median(contestant, 'memory'):.1f}"]
        if contestant is ours or ours.problem:
            cells += ["", "", ""]
        else:
            cells += [f"{median(ours, f) / max(median(contestant, f), 1e-9):.2f}" for f in fields]
        if with_length:
            cells.append(f"{wav_seconds(contestant.output):.1f}")
        print(f"| {contestant.name} | " + " | ".join(cells) + " |")
    sys.stdout.flush()


class Bench:
    def __init__(self, arguments, folder):
        self.folder = folder
        self.bank = arguments.bank
        self.rounds = arguments.rounds
        self.program_folder = arguments.program_folder.resolve()
        self.renderer = arguments.renderer
        self.converter = self.program_folder / "vexolo-convert"
        self.formats = set() if self.renderer else self.known_formats()
        self.failed = False

    def known_formats(self):
        """The formats that the installed program offers in its help."""
        try:
            text = subprocess.run([self.converter, "--help"], stdin=subprocess.DEVNULL,
                                  capture_output=True, text=True, timeout=60).stdout
        except (OSError, subprocess.TimeoutExpired):
            return set()
        if "--format" not in text:
            return set()
        return {name for name in ("wav", "mp3", "ogg") if name in text}

    def ours(self, song, kind):
        """Our conversion of `song`, into a folder of its own."""
        out = self.folder / f"ours-{kind}"
        out.mkdir(exist_ok=True)
        output = out / f"{song.stem}.{kind}"
        if self.renderer:
            values = {"song": song, "out": output, "bank": self.bank}
            command = [part.format(**values) for part in shlex.split(self.renderer)]
            return Contestant("stand-in", command, output)
        command = [self.converter, "-o", out, "-s", self.bank]
        if self.formats:
            # Only then does the program also know these.
            command += ["-f", kind, "-y", "-q", "-n", song.stem, "--no-lyrics",
                        "--ignore-song-settings", "--no-auto-mute"]
            if kind != "wav":
                command += ["-r", "128"]
        return Contestant("vexolo-convert", command + [song], output)

    def race(self, title, contestants, with_length=False):
        race(contestants, self.rounds)
        print_table(title, contestants, with_length)
        self.failed |= any(c.problem for c in contestants)

    def render(self, song):
        """Song to WAV against the two other renderers. Returns our audio, or None."""
        fluid = self.folder / "fluidsynth.wav"
        timidity = self.folder / "timidity.wav"
        config = self.folder / "timidity.cfg"
        config.write_text(f'soundfont "{self.bank}"\n')
        ours = self.ours(song, "wav")
        others = [
            Contestant("fluidsynth", ["fluidsynth", "-ni", "-F", fluid, "-T", "wav", "-r",
                                      str(SAMPLE_RATE), self.bank, song], fluid),
            Contestant("timidity", ["timidity", "-c", config, "-Ow", "-s", str(SAMPLE_RATE), "-o",
                                    timidity, song], timidity),
        ]
        self.race(f"{song.name} to WAV", [ours] + others, with_length=True)
        return None if ours.problem else ours.output

    def encode(self, song, audio):
        """Song to MP3 and Ogg against the encoder alone on the same audio."""
        if "mp3" in self.formats:
            lame = self.program_folder / "lame"
            output = self.folder / "alone.mp3"
            command = [lame if lame.exists() else "lame", "-h", "-b128", audio, output]
            self.race(f"{song.name} to MP3", [self.ours(song, "mp3"),
                                              Contestant("lame alone", command, output)])
        if "ogg" in self.formats:
            output = self.folder / "alone.ogg"
            command = [self.program_folder / "oggenc", "-o", "-b128", output, "-"]
            alone = Contestant("oggenc alone", command, output, stdin=audio)
            self.race(f"{song.name} to Ogg", [self.ours(song, "ogg"), alone])

    def run(self, songs):
        for song in songs:
            audio = self.render(song)
            if audio is not None:
                kept = self.folder / "audio.wav"
                shutil.copyfile(audio, kept)
                self.encode(song, kept)


def choose_songs(folder):
    """The dense song (d), which comes last in the order of names, and the two first."""
    songs = sorted(path for path in folder.iterdir() if path.suffix.lower() in (".mid", ".kar"))
    return songs[-1:] + songs[:-1][:2]


def parse_arguments():
    root = Path(__file__).resolve().parent.parent
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("program_folder", type=Path, help="where vexolo-convert and oggenc stand")
    parser.add_argument("songs", type=Path, nargs="*",
                        help="songs to convert (default: the last and the first two of songs/)")
    parser.add_argument("--bank", type=Path, default=Path(DEFAULT_BANK), help="SoundFont for all")
    parser.add_argument("--rounds", type=int, default=5, help="measured rounds (default 5)")
    parser.add_argument("--renderer", metavar="COMMAND",
                        help="another command in our place, with {song}, {out} and {bank}")
    arguments = parser.parse_args()
    if not arguments.songs:
        folder = root / "songs"
        arguments.songs = choose_songs(folder) if folder.is_dir() else []
    if not arguments.songs:
        parser.error("there are no songs")
    if arguments.rounds < 1:
        parser.error("at least one round is needed")
    for path in [arguments.bank] + arguments.songs:
        if not path.is_file():
            parser.error(f"{path}: no such file")
    arguments.bank = arguments.bank.resolve()
    arguments.songs = [song.resolve() for song in arguments.songs]
    return arguments


def main():
    arguments = parse_arguments()
    print(f"## Side by side\n\nBank {arguments.bank.name}, {SAMPLE_RATE} Hz, "
          f"{os.cpu_count()} processors; medians of {arguments.rounds} interleaved rounds. "
          "Ratios below 1: ours is better.")
    with tempfile.TemporaryDirectory(prefix="vexolo-bench-") as folder:
        bench = Bench(arguments, Path(folder))
        bench.run(arguments.songs)
    return 1 if bench.failed else 0


if __name__ == "__main__":
    sys.exit(main())
