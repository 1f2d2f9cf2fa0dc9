#!/usr/bin/env bash
# Runs every fuzz target for some seconds, with its seeds from fuzz/corpus/NAME when there: run_fuzzers.sh BIN SECONDS
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for target in "$1"/Fuzz*; do
  name=$(basename "$target")
  mkdir -p "$work/$name"
  seeds=()
  [ -d "$here/fuzz/corpus/$name" ] && seeds=("$here/fuzz/corpus/$name")
  echo "== $name"
  "$target" -max_total_time="$2" -rss_limit_mb=2048 -timeout=10 -print_final_stats=1 "$work/$name" "${seeds[@]}" 2>&1 | tail -8
done
