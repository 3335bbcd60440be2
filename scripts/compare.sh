#!/bin/sh
# Sets the engine beside fluidsynth, both without reverb and chorus, on the demo songs.
# usage: scripts/compare.sh [BUILD [BANK [SONG...]]]
set -eu
build=${1:-build}
bank=${2:-/usr/share/sounds/sf2/FluidR3_GM.sf2}
[ $# -le 2 ] || shift 2
[ $# -gt 2 ] || set -- songs/*.mid songs/*.kar
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
status=0
for song in "$@"; do
  echo "== $song"
  "$build/tools/render_dry" "$bank" "$song" "$folder/ours.wav"
  fluidsynth -ni -q -g 0.5 -R 0 -C 0 -r 44100 -F "$folder/theirs.wav" -T wav "$bank" "$song" \
    >/dev/null 2>&1
  "$build/tools/compare_render" "$folder/ours.wav" "$folder/theirs.wav" || status=1
done
exit $status
