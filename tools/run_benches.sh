#!/usr/bin/env bash
# Runs every benchmark of a folder: run_benches.sh BIN
set -euo pipefail
for bench in "$1"/bench_*; do
  echo "== $(basename "$bench")"
  "$bench"
done
