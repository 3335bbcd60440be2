#!/bin/sh
# Builds the fuzz targets and runs them, JOBS of them at a time (1).
# usage: scripts/fuzz.sh MINUTES [TARGET...]
# What is found stands in build-fuzz/NAME-crash-... (or -timeout-, -oom-); exit status 1 then.
set -eu
minutes=$1
shift
targets=${*:-$(cd fuzz && ls ./*_fuzz.cc | sed 's|^\./||; s|\.cc$||')}
cmake -S . -B build-fuzz -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DVEXOLO_FUZZ=ON -DBUILD_TESTING=OFF \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1" >/dev/null
# shellcheck disable=SC2086
cmake --build build-fuzz -j "${COMPILE_JOBS:-$(nproc)}" --target $targets

# Some write files again and again, and wait for the disk each time.
if [ -z "${TMPDIR:-}" ] && [ -w /dev/shm ]; then export TMPDIR=/dev/shm; fi

# Run by xargs below, once for each target.
run_one='
  minutes=$1
  name=${2%_fuzz}
  mkdir -p "build-fuzz/corpus/$name"
  dictionary=""
  [ ! -e "fuzz/$name.dict" ] || dictionary="-dict=fuzz/$name.dict"
  log=build-fuzz/$name.log
  if "build-fuzz/fuzz/$2" -max_total_time=$((minutes * 60)) -timeout=10 -rss_limit_mb=2048 \
    -print_final_stats=1 "-artifact_prefix=build-fuzz/$name-" $dictionary \
    "build-fuzz/corpus/$name" "fuzz/corpus/$name" 2>"$log"; then
    executions=$(sed -n "s/^stat::number_of_executed_units: *//p" "$log")
    memory=$(sed -n "s/^stat::peak_rss_mb: *//p" "$log")
    echo "$name: clean, $minutes minutes, $executions executions, at most $memory MB"
  else
    echo "$name: FOUND SOMETHING, see $log"
    tail -n 50 "$log" >&2
    exit 1
  fi
'
# shellcheck disable=SC2086
printf '%s\n' $targets | xargs -n 1 -P "${JOBS:-1}" sh -c "$run_one" fuzz.sh "$minutes"
