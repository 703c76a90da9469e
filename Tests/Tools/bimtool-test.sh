#!/usr/bin/env bash
# bimtool end to end under Wine: create, info (text and JSON), verify, extract, demo, and the
# error paths with their exit codes.
set -euo pipefail
run="$1"      # the build tree's Wine runner
tool="$2"     # bimtool.exe
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

fail() { echo "FAIL: $*" >&2; exit 1; }
bimtool() { "$run" "$tool" "$@"; }
winpath() { echo "Z:$(pwd)/$1" | tr / '\\'; }

key=000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f
iv=f0e0d0c0b0a090807060504030201000
wrongkey=ff0102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f

python3 - <<'PY'
import random
r = random.Random(7)
open("a.bin", "wb").write(bytes(r.randrange(256) for _ in range(4096)))
open("b.bin", "wb").write(bytes(r.randrange(256) for _ in range(1000)))
PY

bimtool create "$(winpath out.bim)" --short "Gerät Ω" --long "long text" --date 2024-05-06T07:08:09 \
  --target 0102030405060708 --region "0x08000000=$(winpath a.bin)" --region "0x20000000=$(winpath b.bin)" \
  --windows --key $key --iv $iv --quiet || fail "create"

bimtool info "$(winpath out.bim)" --key $key --iv $iv --json > info.json || fail "info --json"
python3 - <<'PY' || fail "info --json content"
import json
info = json.load(open("info.json", encoding="utf-8"))
params = info["header"]["parameters"]
assert [p["kind"] for p in params] == ["ShortDescription", "LongDescription", "DateOfCreation", "TargetSystem"], params
assert [p["tag"] for p in params] == [3, 4, 5, 1], params
assert params[0]["value"] == "Gerät Ω", params[0]
assert params[1]["value"] == "long text"
assert params[2]["value"] == "2024-05-06T07:08:09"
assert params[3]["value"] == "0102030405060708"
containers = info["containers"]
assert len(containers) == 2, containers
fw, win = containers
assert (fw["index"], fw["type"], fw["encryption"], fw["raw"]) == (0, 1, 2, False), fw
assert fw["plainSize"] == 8 + 4096 + 8 + 1000, fw
assert fw["storedSize"] == (fw["plainSize"] + 15) // 16 * 16, fw
assert fw["regions"] == [{"address": 0x08000000, "length": 4096}, {"address": 0x20000000, "length": 1000}], fw
assert (win["index"], win["type"], win["encryption"], win["plainSize"], win["raw"]) == (1, 2, 1, 0, False), win
total = sum(12 + (c["storedSize"] + 3) // 4 * 4 + 20 for c in containers)
assert info["header"]["payloadLength"] == total, info["header"]
PY

bimtool info "$(winpath out.bim)" --key $key --iv $iv > info.txt || fail "info"
grep -q "0x08000000" info.txt || fail "info text lists the regions"

bimtool verify "$(winpath out.bim)" --key $key --iv $iv || fail "verify with the right key"
set +e
bimtool verify "$(winpath out.bim)" --key $wrongkey --iv $iv; code=$?
set -e
[ $code -eq 2 ] || fail "verify with a wrong key gives 2, got $code"

bimtool info "$(winpath out.bim)" --key $wrongkey --iv $iv --json > raw.json || fail "info with a wrong key"
python3 -c '
import json; c = json.load(open("raw.json"))["containers"]
assert c[0]["raw"] is True and c[0]["regions"] == [], c' || fail "a wrong key leaves the container raw"

mkdir out
bimtool extract "$(winpath out.bim)" "$(winpath out)" --key $key --iv $iv --quiet || fail "extract"
cmp out/c0-08000000.bin a.bin || fail "extracted region 0x08000000"
cmp out/c0-20000000.bin b.bin || fail "extracted region 0x20000000"

set +e
bimtool extract "$(winpath out.bim)" "$(winpath raw)" --key $wrongkey --iv $iv --quiet 2> err.txt; code=$?
set -e
[ $code -eq 2 ] && grep -q 'container 0 stays raw' err.txt || fail "extract with a wrong key gives 2 and says why"

cp a.bin overlap.bin
set +e
bimtool create "$(winpath o.bim)" --region "0x1000=$(winpath a.bin)" --region "0x1800=$(winpath overlap.bin)" 2> err.txt; code=$?
set -e
[ $code -eq 1 ] && grep -q "overlaps another region" err.txt || fail "overlapping regions are refused"

# A damaged file: the checksum check fails with the library's message.
cp out.bim bad.bim
printf '\x55' | dd of=bad.bim bs=1 seek=30 conv=notrunc status=none
set +e
bimtool verify "$(winpath bad.bim)" 2> err.txt; code=$?
set -e
[ $code -eq 1 ] || fail "verify of a damaged file gives 1, got $code"
grep -q '^bimtool: Checksum error\.' err.txt || fail "damaged file message: $(cat err.txt)"

# A missing file: the system's text for the code, and the code.
set +e
bimtool info "$(winpath missing.bim)" 2> err.txt; code=$?
set -e
[ $code -eq 1 ] || fail "missing file gives 1"
grep -q '^bimtool: .*(2)' err.txt || fail "missing file message: $(cat err.txt)"

set +e
bimtool create "$(winpath x.bim)" --key 1234 --iv $iv 2> err.txt; code=$?
set -e
[ $code -eq 1 ] && grep -q '^bimtool: ' err.txt || fail "a short key is refused"

bimtool --help | grep -q 'extract FILE DIR' || fail "--help"

mkdir demo
bimtool demo "$(winpath demo)" > demo.txt || fail "demo"
ls demo/*.bim >/dev/null || fail "demo writes a file"
grep -q "0x" demo.txt || fail "demo shows the image"

echo "bimtool: all checks passed"
