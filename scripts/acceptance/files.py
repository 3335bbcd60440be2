#!/usr/bin/env python3
"""Converts songs into every format, twice, and asks other programs what is in the files.

usage: files.py PROGRAM_FOLDER SONG...

For each file: ffprobe and the format's own reader (id3v2 and mp3info, ogginfo) must agree with
vexolo-convert on duration, sample rate and tags, and the second run must give the same bytes.
"""
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import wave

TAGS = {
    "artist": "Édith Żółć",
    "title": "L'Été à Noël",
    "album": "Œuvres çhoisies",
    "year": "1938",
    "track": "7",
    "genre": "Chanson réaliste",
    "comment": "Ça va où ? Là-bas",
}
TOLERANCE = {"wav": 0.001, "ogg": 0.020, "mp3": 0.080}  # seconds
RATE = 44100
MP3_FRAME = 1152  # samples

ID3_FRAMES = {"TPE1": "artist", "TIT2": "title", "TALB": "album", "TYER": "year", "TRCK": "track",
              "TCON": "genre", "COMM": "comment"}
VORBIS_COMMENTS = {"ARTIST": "artist", "TITLE": "title", "ALBUM": "album", "DATE": "year",
                   "TRACKNUMBER": "track", "GENRE": "genre", "comment": "comment"}
# What ffprobe calls them, by container. It skips the comment frame that lame writes.
FFPROBE_TAGS = {
    "mp3": {"artist": "artist", "title": "title", "album": "album", "date": "year",
            "track": "track", "genre": "genre"},
    "ogg": {"ARTIST": "artist", "TITLE": "title", "ALBUM": "album", "DATE": "year",
            "track": "track", "GENRE": "genre", "comment": "comment"},
    "wav": {},
}


def output_of(*command):
    environment = dict(os.environ, LC_ALL="C.UTF-8")
    return subprocess.run(command, check=True, capture_output=True, env=environment).stdout


def convert(program, song, audio_format, folder, name):
    """The path of the new file, and the seconds of audio that the program speaks of."""
    options = [f"--{key}={value}" for key, value in TAGS.items()]
    out = output_of(program, "-y", "--json", "-f", audio_format, "-o", folder, "-n", name, *options,
                    song)
    report = json.loads(out.splitlines()[0])
    return report["output"], report["seconds"]


def ffprobe(path, audio_format):
    answer = json.loads(output_of("ffprobe", "-v", "quiet", "-of", "json", "-show_format",
                                  "-show_streams", path))
    stream = answer["streams"][0]
    found = {**stream.get("tags", {}), **answer["format"].get("tags", {})}
    tags = {ours: found.get(theirs) for theirs, ours in FFPROBE_TAGS[audio_format].items()}
    return float(answer["format"]["duration"]), int(stream["sample_rate"]), tags


def wav_reader(path):
    with wave.open(path) as sound:
        return sound.getnframes() / sound.getframerate(), sound.getframerate(), {}


def ogginfo(path):
    text = output_of("ogginfo", path).decode()
    minutes, seconds = re.search(r"Playback length: (\d+)m:([\d.]+)s", text).groups()
    rate = int(re.search(r"Rate: (\d+)", text).group(1))
    found = dict(re.findall(r"^\t([^=\n]+)=(.*)$", text, re.MULTILINE))
    tags = {ours: found.get(theirs) for theirs, ours in VORBIS_COMMENTS.items()}
    return int(minutes) * 60 + float(seconds), rate, tags


def id3v2(path):
    """The tags, and the length that stands among them (None: there is none)."""
    text = output_of("id3v2", "-R", path).decode(errors="replace")
    found = dict(re.findall(r"^(\w{4}): (.*)$", text, re.MULTILINE))
    found["COMM"] = re.sub(r"^\(.*?\)\[.*?\]: ", "", found.get("COMM", ""))
    found["TCON"] = re.sub(r" \(255\)$", "", found.get("TCON", ""))
    tags = {ours: found.get(theirs) for theirs, ours in ID3_FRAMES.items()}
    length = int(found.get("TLEN", 0))
    return (length / 1000 if length else None), tags


def mp3info(path):
    """From the frames' headers; of the short tags at the end, those that Latin-1 can hold."""
    text = output_of("mp3info", "-p", r"%u|%Q|%t|%y|%n|%c", path).decode("latin-1")
    frames, rate, *values = text.split("|")
    tags = dict(zip(("title", "year", "track", "comment"), values))
    return int(frames) * MP3_FRAME / RATE, int(rate), tags


def require_readers():
    missing = [name for name in ("ffprobe", "id3v2", "mp3info", "ogginfo") if not shutil.which(name)]
    if missing:
        sys.exit("Please install " + ", ".join(missing) + " first.")


class Checks:
    def __init__(self):
        self.failures = 0

    def expect(self, good, text):
        if not good:
            self.failures += 1
            print("  WRONG:", text)

    def reader(self, name, reading, seconds, tolerance):
        duration, rate, tags = reading
        self.expect(abs(duration - seconds) <= tolerance, f"{name}: {duration} s, not {seconds} s")
        self.expect(rate == RATE, f"{name}: {rate} Hz")
        return f"{name} {1000 * (duration - seconds):+.1f} ms, {self.tags(name, tags)}"

    def tags(self, name, tags):
        for key, value in tags.items():
            self.expect(value == TAGS[key], f"{name}: {key} is {value!r}, not {TAGS[key]!r}")
        return f"{len(tags)} tags"

    def id3(self, path, seconds, tolerance):
        """The tags alone: of durations they may hold none or the right one."""
        length, tags = id3v2(path)
        if length is not None:
            self.expect(abs(length - seconds) <= tolerance, f"id3v2: a length of {length} s")
        return f"id3v2 {self.tags('id3v2', tags)}"

    def file(self, path, audio_format, seconds):
        tolerance = TOLERANCE[audio_format]
        notes = [self.reader("ffprobe", ffprobe(path, audio_format), seconds, tolerance)]
        if audio_format == "wav":
            notes.append(self.reader("wave", wav_reader(path), seconds, tolerance))
        elif audio_format == "ogg":
            notes.append(self.reader("ogginfo", ogginfo(path), seconds, tolerance))
        else:
            notes.append(self.reader("mp3info", mp3info(path), seconds, tolerance))
            notes.append(self.id3(path, seconds, tolerance))
        return "; ".join(notes)


def contents(path):
    with open(path, "rb") as file:
        return file.read()


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    require_readers()
    program = os.path.join(sys.argv[1], "vexolo-convert")
    checks = Checks()
    with tempfile.TemporaryDirectory() as folder:
        for song in sys.argv[2:]:
            for audio_format in ("wav", "mp3", "ogg"):
                path, seconds = convert(program, song, audio_format, folder, "first")
                print(f"{os.path.basename(song)} {audio_format} {seconds} s:",
                      checks.file(path, audio_format, seconds))
                again, _ = convert(program, song, audio_format, folder, "second")
                checks.expect(contents(path) == contents(again), "the second run gives other bytes")
                for done in (path, again):
                    os.remove(done)
    print(f"{checks.failures} wrong" if checks.failures else "All agree, byte for byte.")
    return 1 if checks.failures else 0


if __name__ == "__main__":
    sys.exit(main())
