#!/bin/sh
# Builds the tests with sanitizers and runs them on a display of their own.
# usage: scripts/sanitize.sh address|thread [TESTS]                  TESTS as for ctest -R
#        scripts/sanitize.sh address|thread run PROGRAM [ARGUMENT]... a program of the build
# "address" looks for wrong use of memory, undefined behaviour and leaks; "thread" for data races.
# TARGETS="core_tests ..." in the environment builds and runs no other programs of tests; JOBS=2
# says how many processors they take.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
case "${1:-}" in
  address) sanitizers=address,undefined; build=$root/build-asan ;;
  thread) sanitizers=thread; build=$root/build-tsan ;;
  *) sed -n '2,7s/^# //p' "$0" >&2; exit 2 ;;
esac
shift
targets=${TARGETS:-engine_tests core_tests gui_tests tool_tests}
jobs=${JOBS:-$(nproc)}

export ASAN_OPTIONS="detect_stack_use_after_return=1:${ASAN_OPTIONS:-}"
export LSAN_OPTIONS="suppressions=$root/tests/leak_sanitizer.supp:print_suppressions=0:${LSAN_OPTIONS:-}"
export UBSAN_OPTIONS="print_stacktrace=1:${UBSAN_OPTIONS:-}"
export TSAN_OPTIONS="suppressions=$root/tests/thread_sanitizer.supp:${TSAN_OPTIONS:-}"
# The locks of OpenMP, by which FluidSynth shares its work out, are hidden from the sanitizer.
export OMP_NUM_THREADS=1
# Drawn by the processor: the drivers of graphics cards are none of our code.
export LIBGL_ALWAYS_SOFTWARE=1

build() {
  cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -g1 -D_GLIBCXX_ASSERTIONS" \
    "-DVEXOLO_SANITIZE=$sanitizers" >/dev/null
  # The build runs the programs of the tests to list them, and the one that draws the skin, by a
  # library with threads of its own that wait in ways hidden from the sanitizer: no judging yet.
  ASAN_OPTIONS="$ASAN_OPTIONS:detect_leaks=0" TSAN_OPTIONS="$TSAN_OPTIONS:report_bugs=0" \
    cmake --build "$build" -j "$jobs" --target "$@"
}

if [ "${1:-}" = run ]; then
  program=$2
  shift 2
  build "$program" oggenc languages
  # What is freed is held back for so long only, that growing memory can be told from it.
  export ASAN_OPTIONS="quarantine_size_mb=32:$ASAN_OPTIONS"
  path=$(find "$build" -name "$program" -type f -perm -u+x | head -1)
  exec xvfb-run -a -s "-screen 0 1600x1200x24" "$path" "$@"
fi

# shellcheck disable=SC2086
build $targets oggenc languages
exec xvfb-run -a -s "-screen 0 1600x1200x24" ctest --test-dir "$build" -j "$jobs" \
  --output-on-failure -R "${1:-.}" -E 'NOT_BUILT$'
