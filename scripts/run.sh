#!/bin/sh
# Runs the main job: opens the window with a song; without a display, converts the song.
# usage: scripts/run.sh PROGRAM_FOLDER SONG
set -eu
program=$1
song=$2
if [ -x "$program/vexolo" ] && [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  exec "$program/vexolo" "$song"
fi
mkdir -p out
echo "No display: converting $song"
"$program/vexolo-convert" -y -f wav -o out "$song"
"$program/vexolo-convert" -y -f mp3 -o out "$song"
echo "The finished files are in $(pwd)/out:"
ls -l out
