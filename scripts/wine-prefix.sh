#!/usr/bin/env bash
# Creates the build tree's Wine prefix (null graphics driver, no Mono or Gecko) once, and keeps
# one wineserver alive so that test programs start quickly.
set -u
build="$1"
export WINEPREFIX="$build/wineprefix"
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml="
if [ ! -f "$WINEPREFIX/.oskal-ready" ]; then
  mkdir -p "$WINEPREFIX"
  wineboot -i </dev/null >/dev/null 2>&1
  wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f </dev/null >/dev/null 2>&1
  wineserver -w
  touch "$WINEPREFIX/.oskal-ready"
fi
# A server that already runs makes this exit 2; that is fine.
wineserver -p </dev/null >/dev/null 2>&1 || true
# The first program on a fresh server starts Wine's services, which inherit its output streams:
# start one with every stream redirected before anything runs with a pipe.
wine cmd /c exit 0 </dev/null >/dev/null 2>&1 || true
exit 0
