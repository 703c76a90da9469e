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
# The wine server takes part in every hand-off between threads and processes: keep it on the
# same CPU as the programs (it was started unpinned when the prefix was made).
for pid in $(pgrep wineserver || true); do
  taskset -cp 0 "$pid" >/dev/null 2>&1 || true
done
for exe in "${programs[@]}"; do
  taskset -c 0 "$build/wine-run" "$exe"
done
