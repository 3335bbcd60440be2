#!/bin/sh
# Sets the engine beside fluidsynth, both without reverb and chorus, on the demo songs: level and
# spectrum of the song as it is, then the onsets of each channel alone, its notes played on a wood
# block. Takes some minutes.
# usage: scripts/compare.sh [BUILD [BANK [SONG...]]]
set -eu
build=${1:-build}
bank=${2:-/usr/share/sounds/sf2/FluidR3_GM.sf2}
if [ $# -gt 2 ]; then shift 2; else set -- songs/*.mid songs/*.kar; fi
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
status=0

compare() {  # WHAT SONG
  "$build/tools/render_dry" "$bank" "$2" "$folder/ours.wav"
  fluidsynth -ni -q -g 0.5 -R 0 -C 0 -r 44100 -F "$folder/theirs.wav" -T wav "$bank" "$2" \
    >/dev/null 2>&1
  "$build/tools/compare_render" "$1" "$folder/ours.wav" "$folder/theirs.wav" || status=1
}

for song in "$@"; do
  echo "== $song"
  compare --sound "$song"
  for channel in $("$build/tools/solo_channels" "$song" "$folder" --clicks); do
    echo "-- $song, $channel as clicks"
    compare --onsets "$folder/$channel"
  done
done
exit $status
