#!/usr/bin/env bash
# logsink end to end under Wine: the demo (two writer processes, text and JSON lines), --count
# with --out, --help and the exit code for bad arguments.
set -euo pipefail
run="$1"   # the build tree's Wine runner
tool="$2"  # logsink.exe
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

fail() { echo "FAIL: $*" >&2; exit 1; }
logsink() { "$run" "$tool" "$@"; }

logsink --demo > demo.txt 2> demo.err || fail "demo exited $?"
[ "$(grep -c ' demo writer [12] \[Plant\.' demo.txt)" = 12 ] || { cat demo.txt; fail "demo: 12 entries expected"; }
grep -q 'demo writer 2 \[Plant.Pump\] Error: pump 2 pressure above limit → shutting down' demo.txt || fail "demo: error line"
grep -q 'sensor 39=73; $' demo.txt || fail "demo: multi-block entry cut"

logsink --demo --json > demo.json 2>/dev/null || fail "demo --json"
python3 - <<'PY' || fail "demo --json: fields"
import json
lines = [json.loads(l) for l in open("demo.json", encoding="utf-8")]
assert len(lines) == 12, len(lines)
for e in lines:
    assert set(e) == {"pid", "application", "class", "level", "time", "text", "lost"}, e
    assert e["application"] in ("demo writer 1", "demo writer 2") and e["lost"] == 0, e
assert sum(1 for e in lines if "readings" in e["text"] and len(e["text"]) > 500) == 2
PY

logsink --help | grep -q -- '--count N' || fail "--help"
set +e
logsink --count 0 > /dev/null 2>&1; [ $? = 2 ] || fail "--count 0 must exit 2"
logsink --frobnicate > /dev/null 2>&1; [ $? = 2 ] || fail "unknown argument must exit 2"
set -e
echo "logsink: all checks passed"
