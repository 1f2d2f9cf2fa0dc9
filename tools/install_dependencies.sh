#!/usr/bin/env bash
# Installs the Debian packages that Velorin is built with, those that are missing and nothing else.
set -euo pipefail

packages=(
  cmake ninja-build g++ ccache pkg-config git make python3
  libglew-dev libegl-dev libgl-dev libglu1-mesa-dev libgl1-mesa-dri libegl1 libegl-mesa0
  zlib1g-dev libpng-dev libopenexr-dev libimath-dev libjpeg62-turbo-dev libfreetype-dev libfontconfig-dev libharfbuzz-dev
  nlohmann-json3-dev libcli11-dev libgtest-dev libgmock-dev
  fonts-dejavu-core
  libcairo2-dev poppler-utils qpdf # tests only: pages to read and the viewer they are held against
)
# What only some builds need: make bench, make fuzz, clang-format and clang-tidy.
case "${1:-}" in
  bench) packages+=(libbenchmark-dev libtinyobjloader-dev libassimp-dev libmeshoptimizer-dev) ;;
  fuzz) packages+=(clang libclang-rt-14-dev) ;;
  lint) packages+=(clang-format clang-tidy) ;;
esac

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

run=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "Missing packages: ${missing[*]}; install them as root." >&2; exit 1; }
  run=(sudo)
fi
echo "Installing ${missing[*]}"
"${run[@]}" apt-get update -qq </dev/null
"${run[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" </dev/null
