#!/usr/bin/env bash
# The main job of `make demo`: bimtool's demo where the tool is built, else the example program
# built against the installed package.
set -euo pipefail
src=$(cd "$(dirname "$0")/.." && pwd)
build="$1"
if [ -f "$build/bin/bimtool.exe" ]; then
  exec "$build/wine-run" "$build/bin/bimtool.exe" demo
fi
exec "$src/scripts/test-installed-package.sh" "$src" "$build"
