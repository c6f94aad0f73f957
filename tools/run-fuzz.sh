#!/usr/bin/env bash
# Builds every libFuzzer target with clang and runs each for a bounded time.
#   tools/run-fuzz.sh [seconds-per-target]
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/bootstrap.sh
seconds="${1:-30}"
dir=build-fuzz
CC=clang CXX=clang++ cmake -S . -B "$dir" -DKGRQT_FUZZ=ON -DKGRQT_BUILD_TESTS=OFF \
  -DKGRQT_BUILD_APPS=OFF >/dev/null
cmake --build "$dir" -j"$(nproc)"
export QT_QPA_PLATFORM=offscreen
export LSAN_OPTIONS=suppressions=$PWD/tools/lsan.supp
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
for target in "$dir"/bin/fuzz_*; do
  name=$(basename "$target")
  corpus="$dir/corpus/$name"
  mkdir -p "$corpus"
  seeds=()
  [ -d "fuzz/seeds/$name" ] && seeds=("fuzz/seeds/$name")
  log="$dir/$name.log"
  status=0
  "$target" -max_total_time="$seconds" -print_final_stats=1 -artifact_prefix="$dir/" \
    "$corpus" "${seeds[@]}" >"$log" 2>&1 || status=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  echo "$name: ${runs:-0} executions in ${seconds}s"
  if [ "$status" -ne 0 ]; then
    grep -E -A30 'ERROR|runtime error' "$log" | head -60
    echo "$name failed (exit $status); the input is in $dir/"
    exit 1
  fi
done
