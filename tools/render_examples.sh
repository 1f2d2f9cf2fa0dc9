#!/usr/bin/env bash
# Renders every project of examples/ into a folder: render_examples.sh VELORIN OUT
set -euo pipefail
velorin=$1
out=$2
mkdir -p "$out"
# The frame of a still: that which shows most of an animation, else the first.
frame_of() {
  case $1 in
    mark) echo 38 ;;
    exploded) echo 60 ;;
    whirl) echo 12 ;;
    *) echo 0 ;;
  esac
}
for project in "$(dirname "$0")"/../examples/*.json; do
  name=$(basename "$project" .json)
  echo "Rendering $name"
  "$velorin" render "$project" --frames "$(frame_of "$name")" -o "$out/$name.png"
done
