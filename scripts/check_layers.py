#!/usr/bin/env python3
"""Holds the includes of src/ against the layering: one direction, no cycles."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent / "src"
FEATURES = {"mixer", "lyrics", "convert", "playlist", "about"}
BELOW = {
    "platform": set(),
    "settings": {"platform"},
    "audio": {"settings", "platform"},
    "widgets": {"audio", "settings", "platform"},
    **{name: {"widgets", "audio", "settings", "platform"} for name in FEATURES},
    "app": FEATURES | {"widgets", "audio", "settings", "platform"},
    "engine": set(),
    "resources": set(),
}
EXCEPTIONS = {
    # The engine stands behind the interface, whose one declaration lies in audio/.
    "engine": lambda source, target: target == "audio/bass.h",
    # Only the loader knows that there is an engine.
    "audio": lambda source, target: source.stem == "loader" and target.startswith("engine/"),
}
ONE_FILE_ONLY = {"fluidsynth.h": "engine/fluid_sound_font.cc", "RtAudio.h": "engine/rtaudio_device.cc"}
WINDOW = re.compile(r"_(window|dialog|widget)\.(h|cc)$|^widgets/|^app/(vexolo_main\.cc|guarded_application\.h)$")
OS_HEADERS = re.compile(r"^(unistd|fcntl|dlfcn|spawn|signal|poll|sys/.*|windows|pthread|sched)\.h$")


def problems():
    for source in sorted(ROOT.rglob("*.[hc]*")):
        if source.suffix not in {".h", ".cc"}:
            continue
        name = source.relative_to(ROOT).as_posix()
        folder = name.split("/")[0]
        for number, line in enumerate(source.read_text(encoding="utf-8").splitlines(), 1):
            match = re.match(r'\s*#\s*include\s*([<"])([^>"]+)[>"]', line)
            if not match:
                continue
            quoted, target = match.group(1) == '"', match.group(2)
            where = f"{name}:{number}: includes {target}"
            base = target.split("/")[-1]
            if base in ONE_FILE_ONLY and name != ONE_FILE_ONLY[base]:
                yield f"{where}: only {ONE_FILE_ONLY[base]} may"
            if OS_HEADERS.match(target) and folder != "platform":
                yield f"{where}: calls of the system belong to platform/"
            if re.match(r"Q[A-Z]", target) and not WINDOW.search(name):
                yield f"{where}: only files with a window may use the toolkit"
            if not quoted or "/" not in target:
                continue
            other = target.split("/")[0]
            if other == "widgets" and not WINDOW.search(name):
                yield f"{where}: only files with a window may use the toolkit"
            if other == folder or other not in BELOW:
                continue
            allowed = other in BELOW.get(folder, set())
            if not allowed and not EXCEPTIONS.get(folder, lambda *_: False)(source, target):
                yield f"{where}: {folder}/ may not include {other}/"


found = list(problems())
print("\n".join(found) if found else "layers: ok")
sys.exit(1 if found else 0)
