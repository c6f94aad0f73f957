#!/usr/bin/env bash
# Builds the library and runs the whole test suite.
#   tools/run-tests.sh                      plain build in build/
#   tools/run-tests.sh address,undefined    sanitized build in build-address-undefined/
#   tools/run-tests.sh thread 'Regex' target   ThreadSanitizer build of one target, tests matching Regex
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/bootstrap.sh

sanitize="${1:-}"
filter="${2:-}"
target="${3:-}"
dir=build
[ -n "$sanitize" ] && dir="build-${sanitize//,/-}"
jobs=$(nproc)

cmake -S . -B "$dir" -DKGRQT_SANITIZE="$sanitize" >/dev/null
cmake --build "$dir" -j"$jobs" ${target:+--target "$target"}
# The map-data files from Debian's data packages, once (plain builds only).
[ -z "$sanitize" ] && [ -z "$target" ] && bash tools/install-mapdata.sh "$dir"
export QT_QPA_PLATFORM=offscreen
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export TSAN_OPTIONS=halt_on_error=1
export LSAN_OPTIONS=suppressions=$PWD/tools/lsan.supp
ctest --test-dir "$dir" -j"$jobs" --output-on-failure ${filter:+-R "$filter"}
