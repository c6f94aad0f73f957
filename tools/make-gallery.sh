#!/usr/bin/env bash
# Renders the gallery (one picture per widget class and feature, from the
# scenes in apps/kgrqt-gallery) into docs/gallery. The maps need the map
# data, which it makes when missing; the catalogue scene reads
# data/catalogue.txt (tools/gen_catalogue.sh).
#   tools/make-gallery.sh [directory [scene ...]]
# Scenes named after the directory (file names without ".png") are the
# only ones rendered.
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/bootstrap.sh
cmake -S . -B build >/dev/null
cmake --build build -j"$(nproc)" --target kgrqt-gallery
bash tools/install-mapdata.sh build
build/bin/kgrqt-gallery "${1:-docs/gallery}" "${@:2}"
