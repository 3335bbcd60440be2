#!/usr/bin/env python3
"""Measures how far the notes of the melody are from the times in the lyrics file.

usage: lyrics.py PROGRAM_FOLDER SONG

The melody (channel 4) is converted alone, on a dry instrument that starts at once, at several
speeds and with and without markers; the onsets of the notes are looked for in the samples. Every
syllable must have a note within 15 ms, and every note a syllable.
"""
import array
import math
import os
import re
import shutil
import statistics
import subprocess
import sys
import tempfile

MELODY = 4  # channel, from 1
TOLERANCE = 0.015
RATE = 44100
HOP = 44  # frames, 1 ms
XYLOPHONE = 13

# Entries of the song's own settings: reverb and chorus sends, program; levels of both units.
SETTINGS = {32 + MELODY - 1: 0, 48 + MELODY - 1: 0, 80 + MELODY - 1: XYLOPHONE, 116: 0, 121: 0}
# Percent of speed; start and end in seconds of the converted song.
RUNS = (
    ("as written", 0, None),
    ("20 % faster", 20, None),
    ("15 % slower", -15, None),
    ("markers", 0, (35.25, 80.5)),
    ("20 % faster, markers", 20, (35.25, 70.5)),
    ("15 % slower, markers", -15, (40.125, 90)),
)


def convert(program, song, folder, speed, markers):
    options = [f"--tempo={speed}"]
    if markers:
        options += [f"--start={markers[0]}", f"--end={markers[1]}"]
    others = ",".join(str(channel) for channel in range(1, 17) if channel != MELODY)
    subprocess.run([program, "-q", "-y", "-f", "wav", "-o", folder, "-n", "melody", "--mute", others,
                    "--no-auto-mute", *options, song], check=True)
    base = os.path.join(folder, "melody")
    with open(base + ".kok", encoding="cp1252", newline="") as file:
        times = [float(time.replace(",", ".")) for time in re.findall(r";(\d+,\d{4});", file.read())]
    with open(base + ".wav", "rb") as file:
        samples = array.array("h", file.read()[44:])
    if sys.byteorder == "big":
        samples.byteswap()
    return times, samples


def loudness(samples):
    """Mean square of each millisecond, of both sides, in decibels."""
    levels = []
    for at in range(0, len(samples) - 2 * HOP, 2 * HOP):
        energy = sum(value * value for value in samples[at:at + 2 * HOP])
        levels.append(10 * math.log10(energy / (2 * HOP) + 1))
    return levels


def onsets(samples):
    """Seconds at which a rise begins that ends 6 dB or more above the 15 ms before it."""
    levels = loudness(samples)
    found = []
    quiet_until = 0
    for i in range(len(levels) - 5):
        before = max(levels[max(0, i - 15):i], default=0)
        if i < quiet_until or levels[i] < before + 3:
            continue
        if max(levels[i:i + 6]) < max(before + 6, 30):
            continue
        found.append(i * HOP / RATE)
        quiet_until = i + 50
    return found


def distances(points, others):
    return [min((abs(point - other) for other in others), default=math.inf) for point in points]


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    program = os.path.join(sys.argv[1], "vexolo-convert")
    failed = False
    with tempfile.TemporaryDirectory() as folder:
        song = shutil.copy(sys.argv[2], folder)
        with open(os.path.splitext(song)[0] + ".zvn", "w", encoding="ascii") as file:
            file.write("[CC]\r\n" + "".join(f"CC{k}={v}\r\n" for k, v in SETTINGS.items()))
        for name, speed, markers in RUNS:
            times, samples = convert(program, song, folder, speed, markers)
            notes = onsets(samples)
            if markers:  # what sounds in the fade has no words
                notes = [note for note in notes if note <= markers[1] - markers[0]]
            late = distances(times, notes)
            stray = [note for note, off in zip(notes, distances(notes, times)) if off > TOLERANCE]
            good = times and max(late) <= TOLERANCE and not stray
            failed |= not good
            print(f"{name}: {len(times)} syllables, {len(notes)} notes, median"
                  f" {1000 * statistics.median(late):.1f} ms, most {1000 * max(late):.1f} ms"
                  + ("" if good else f"  WRONG, without a syllable: {stray[:9]}"))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
