#!/usr/bin/env bash
# Runs a Windows program under Wine with the build tree's own prefix; CTest's emulator.
# WINEPREFIX defaults to <build dir>/wineprefix, found from this script's configured copy or
# from OSKAL_BUILD_DIR.
set -u
build="${OSKAL_BUILD_DIR:-}"
if [ -z "$build" ]; then
  echo "wine-run: OSKAL_BUILD_DIR is not set" >&2
  exit 125
fi
export WINEPREFIX="${WINEPREFIX:-$build/wineprefix}"
export WINEDEBUG="${WINEDEBUG:--all}"
export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}"
export WINEPATH="${WINEPATH:-$build/bin}"
exec wine "$@"
