#!/usr/bin/env bash
# Installs the library into a scratch prefix and builds a small outside
# project against it with find_package(kgrqt).
set -euo pipefail
cd "$(dirname "$0")/.."
prefix=$(mktemp -d)
trap 'rm -rf "$prefix" build-consumer' EXIT
cmake --install build --prefix "$prefix" >/dev/null
cmake -S tests/package-consumer -B build-consumer -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build build-consumer >/dev/null
QT_QPA_PLATFORM=offscreen build-consumer/consumer
