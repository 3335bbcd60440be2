#!/bin/sh
# Installs what is missing of the packages that the named groups need, and only that.
# usage: scripts/install.sh GROUP...      groups: build run test bench acceptance fuzz pictures style
#                                       static coverage
set -eu

packages_of() {
  case "$1" in
    build) echo "g++ cmake ninja-build pkg-config libfluidsynth-dev librtaudio-dev libvorbis-dev libogg-dev librsvg2-dev libgtest-dev libgmock-dev qt6-base-dev libqt6opengl6-dev libgl-dev libglu1-mesa-dev" ;;
    run) echo "fluid-soundfont-gm lame libgl1-mesa-dri qt6-translations-l10n fonts-comic-neue" ;;
    test) echo "python3 timgm6mb-soundfont fluid-soundfont-gm lame xvfb xauth libgl1-mesa-dri fonts-dejavu-core fonts-comic-neue" ;;
    bench) echo "fluidsynth timidity fluid-soundfont-gm timgm6mb-soundfont lame python3 xvfb xauth libxtst6" ;;
    acceptance) echo "python3 ffmpeg id3v2 mp3info vorbis-tools sox lame xvfb xauth" ;;
    fuzz) echo "clang libclang-rt-14-dev" ;;
    pictures) echo "xvfb xauth xdotool imagemagick" ;;
    style) echo "clang-format python3" ;;
    static) echo "clang clang-tidy cppcheck python3" ;;
    coverage) echo "gcovr python3" ;;
    *) echo "install.sh: no group '$1'" >&2; exit 2 ;;
  esac
}

missing=""
for group in "$@"; do
  for package in $(packages_of "$group"); do
    case " $missing " in *" $package "*) continue ;; esac
    state=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$state" = installed ] || missing="$missing $package"
  done
done
[ -n "$missing" ] || exit 0

if [ "$(id -u)" != 0 ]; then
  echo "These packages are missing, and installing them takes root:$missing" >&2
  echo "Run this as root once: $0 $*" >&2
  exit 1
fi

log=$(mktemp)
trap 'rm -f "$log"' EXIT
export DEBIAN_FRONTEND=noninteractive
fail() { cat "$log" >&2; echo "install.sh: $1" >&2; exit 1; }

echo "install: reading the list of packages"
apt-get update >"$log" 2>&1 || fail "the list of packages cannot be read"
count=0
total=$(echo $missing | wc -w)
for package in $missing; do
  count=$((count + 1))
  echo "install: $package ($count of $total)"
  apt-get install -y --no-install-recommends "$package" >"$log" 2>&1 || fail "cannot install $package"
done
