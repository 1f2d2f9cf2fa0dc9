#!/usr/bin/env bash
# One picture of all outputs of a project: sheet_outputs.sh VELORIN PROJECT SHEET
# Needs montage of ImageMagick.
set -euo pipefail
velorin=$1
project=$2
sheet=$3
command -v montage >/dev/null || { echo "sheet_outputs.sh: install imagemagick" >&2; exit 1; }
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
outputs=(Composite "Z Depth" "Z Depth no AA" Normals "Ambient Occlusion" Diffuse Specular Refraction Reflection Lighting
  Illumination Focus Glow "World Position" Shadows SSS Shading "Blend Mode" Wireframe "Dynamic Reflection")
tiles=()
for i in "${!outputs[@]}"; do
  output=${outputs[i]}
  tile=$(printf '%s/%02d.png' "$folder" "$i")
  options=(--set "Output/Show=$output")
  # The lens is open where it is what is shown.
  if [ "$output" = Focus ]; then options+=(--set "Depth of Field/Depth of Field=Comp Settings"); fi
  "$velorin" render "$project" --quiet "${options[@]}" -o "$tile"
  tiles+=(-label "$output" "$tile")
done
montage "${tiles[@]}" -background '#202226' -fill '#e0e0e0' -tile 4x -geometry 320x180+6+4 "$sheet"
