#!/bin/sh
# Builds and runs every fuzz target in turn.     usage: scripts/fuzz.sh MINUTES [TARGET...]
set -eu
minutes=$1
shift
cmake -S . -B build-fuzz -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DVEXOLO_FUZZ=ON -DBUILD_TESTING=OFF >/dev/null
cmake --build build-fuzz
targets=${*:-$(ls build-fuzz/fuzz/*_fuzz | xargs -n 1 basename)}
for target in $targets; do
  name=${target%_fuzz}
  mkdir -p "build-fuzz/corpus/$name" "fuzz/corpus/$name"
  dictionary=""
  [ ! -e "fuzz/$name.dict" ] || dictionary="-dict=fuzz/$name.dict"
  echo "fuzz: $name, $minutes minutes"
  # shellcheck disable=SC2086
  "build-fuzz/fuzz/$target" -max_total_time=$((minutes * 60)) -timeout=10 -rss_limit_mb=2048 \
    -print_final_stats=1 -artifact_prefix=build-fuzz/ $dictionary \
    "build-fuzz/corpus/$name" "fuzz/corpus/$name" 2>"build-fuzz/$name.log" || { tail -50 "build-fuzz/$name.log"; exit 1; }
  grep -E 'number_of_executed_units|peak_rss' "build-fuzz/$name.log" || true
done
