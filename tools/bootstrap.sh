#!/usr/bin/env bash
# Installs the Debian packages that building, testing and fuzzing need.
# Returns at once when everything is already present.
set -euo pipefail

packages=(
  cmake make g++ pkg-config
  qtbase5-dev libqt5svg5-dev libqt5sql5-sqlite libqt5sql5-psql libpq-dev
  postgresql sqlite3
  libmseed-dev
  libeigen3-dev
  libgtest-dev googletest
  clang libclang-rt-14-dev clang-format
  fonts-dejavu-core
  zlib1g-dev libgdal-dev
  gmt gmt-gshhg-low marble-qt-data ferret-datasets
  proj-bin
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "bootstrap: installing ${missing[*]}"
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -q
$sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
