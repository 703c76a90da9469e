#!/usr/bin/env bash
# Installs the build tree into a staging prefix, builds Examples/ against it with
# find_package(OskalLib CONFIG) and runs each example under Wine.
set -euo pipefail
src="$1"
build="$2"
stage="$build/stage"
examples="$build/examples"
rm -rf "$stage"
cmake --install "$build" --prefix "$stage" >/dev/null
cmake -S "$src/Examples" -B "$examples" -G Ninja \
  -DCMAKE_TOOLCHAIN_FILE="$src/cmake/mingw-i686.cmake" -DCMAKE_PREFIX_PATH="$stage" >/dev/null
cmake --build "$examples" >/dev/null
# Programs run from the installed bin/, where the DLL and the run-time DLLs are.
for exe in "$examples"/*.exe; do
  cp "$exe" "$stage/bin/"
  echo "== $(basename "$exe")"
  OSKAL_BUILD_DIR="$build" WINEPATH="$stage/bin" "$src/scripts/wine-run.sh" "$stage/bin/$(basename "$exe")"
done
