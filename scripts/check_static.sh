#!/bin/sh
# Static analysis: clang-tidy (what it looks for stands in .clang-tidy) and cppcheck (what it may
# keep to itself, in .cppcheck). Ends with 1 when either finds anything.
# usage: scripts/check_static.sh [BUILD [FOLDER...]]
#   BUILD: a build folder, for its compile_commands.json; FOLDER: src oggenc tools
set -eu
cd "$(dirname "$0")/.."
scripts/install.sh static
build=${1:-build}
[ $# = 0 ] || shift
[ $# -gt 0 ] || set -- src oggenc tools
jobs=${JOBS:-$(nproc)}
minutes=45  # a guard against hanging
status=0

cmake -S . -B "$build" -G Ninja >/dev/null

version=$(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
cppcheck --quiet -j "$jobs" --std=c++20 --language=c++ --error-exitcode=1 \
  --enable=warning,performance,portability --inline-suppr --suppressions-list=.cppcheck \
  --library=qt --library=googletest -I src -I . \
  -DVEXOLO_VERSION_MAJOR="${version%%.*}" -DVEXOLO_VERSION_MINOR=0 -DVEXOLO_VERSION_REVISION=0 \
  --template='{file}:{line}: {id}: {message}' "$@" || status=1
[ $status = 0 ] && echo "cppcheck: clean"

timeout $((minutes * 60)) python3 scripts/tidy_units.py "$build" "$jobs" "$@" || status=1
exit $status
