#!/usr/bin/env bash
# Runs every benchmark program of a release build, pinned with its wineserver to one CPU so that
# hand-offs between threads do not bounce between the two cores.
set -euo pipefail
build="$1"
shopt -s nullglob
programs=("$build"/bin/Bench*.exe)
if [ ${#programs[@]} -eq 0 ]; then
  echo "no benchmarks built"
  exit 0
fi
for exe in "${programs[@]}"; do
  taskset -c 0 "$build/wine-run" "$exe"
done
