#!/usr/bin/env bash
# Renders every project of examples/ into a folder: render_examples.sh VELORIN OUT
set -euo pipefail
velorin=$1
out=$2
mkdir -p "$out"
for project in "$(dirname "$0")"/../examples/*.json; do
  name=$(basename "$project" .json)
  echo "Rendering $name"
  "$velorin" render "$project" -o "$out/$name.png"
done
