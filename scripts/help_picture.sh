#!/bin/sh
# Takes the pictures of the window that the help pages put their numbers on: twice the size, a song
# playing with its title at rest. Run it again whenever the panel has changed.
# usage: scripts/help_picture.sh PROGRAM_FOLDER          needs a built program, and a bank in its folder
set -eu
if [ $# -ne 1 ]; then
  sed -n 's/^# usage: //p' "$0" >&2
  exit 2
fi
here=$(cd "$(dirname "$0")/.." && pwd)
if [ -z "${VEXOLO_PICTURE_DISPLAY:-}" ]; then
  "$here/scripts/install.sh" pictures
  VEXOLO_PICTURE_DISPLAY=1 exec xvfb-run -a -s "-screen 0 1920x1080x24" "$0" "$@"
fi

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cp -a "$1" "$folder/program"
cp "$here/songs/au-clair-de-la-lune.kar" "$folder/"

for language in fr en es de; do
  rm -f "$folder/program/Vexolo.zvp"  # the last list
  printf '[Vexolo]\r\nLng=%s\r\n' "$language" >"$folder/program/Vexolo.ini"
  QT_SCALE_FACTOR=2 "$folder/program/vexolo" "$folder/au-clair-de-la-lune.kar" 2>"$folder/log" &
  program=$!
  window=""
  for attempt in $(seq 60); do
    sleep 1
    window=$(xdotool search --pid "$program" --onlyvisible --name "clair de la lune" | tail -1) || true
    [ -z "$window" ] || break
  done
  if [ -z "$window" ]; then
    kill "$program" || true
    cat "$folder/log" >&2
    echo "help_picture.sh: the window did not open with the song" >&2
    exit 1
  fi
  xdotool windowmove "$window" 60 40
  xdotool mousemove 1919 1079
  sleep 26.2  # the title has gone through the display once and rests
  import -window "$window" "$folder/window.png"
  kill "$program"
  wait "$program" 2>/dev/null || true
  # 256 colours: the panel is grey and amber, and the page stays light.
  convert "$folder/window.png" -strip +dither -colors 256 \
    -define png:compression-level=9 "PNG8:$here/src/resources/help/window-$language.png"
done
