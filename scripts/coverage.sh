#!/bin/sh
# Which share of the lines of engine and core the tests run through. Ends with 1 when either share is
# below LEAST percent (90), or when a program of tests dies, whose counts are lost then. A test that
# fails is named and no more: make test is the judge of what has to pass, in a build as fast as the
# program. build-coverage/lines names the lines that no test runs.
# usage: scripts/coverage.sh [LEAST]
# TARGETS="engine_tests ..." in the environment runs no other programs of tests.
set -eu
cd "$(dirname "$0")/.."
build=build-coverage
jobs=${JOBS:-$(nproc)}
targets=${TARGETS:-engine_tests core_tests gui_tests tool_tests}
# Drawn by the processor: the drivers of graphics cards are none of our code.
export LIBGL_ALWAYS_SOFTWARE=1

# Weakly optimised: songs have to play in time, and every line still has instructions of its own. The
# type is none of CMake's own, which would optimise the engine further.
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Coverage "-DCMAKE_CXX_FLAGS=-O1" \
  -DVEXOLO_COVERAGE=ON -DVEXOLO_FAULTS=OFF >/dev/null
# shellcheck disable=SC2086
cmake --build "$build" -j "$jobs" --target $targets vexolo vexolo-convert oggenc languages
# Counts of another run, and of the build itself, which lists the tests.
find "$build" -name '*.gcda' -delete

status=0
for target in $targets; do
  ended=0
  xvfb-run -a -s "-screen 0 1600x1200x24" "$build/tests/$target" --gtest_brief=1 || ended=$?
  case $ended in
    0) ;;
    1) echo "coverage: tests of $target failed" ;;
    *) echo "coverage: $target died ($ended)"; status=1 ;;
  esac
done

gcovr --root . --object-directory "$build" -j "$jobs" --filter 'src/' --exclude-throw-branches \
  --json "$build/coverage.json" "$build"
python3 scripts/coverage_table.py "$build" "$@" || status=1
exit $status
