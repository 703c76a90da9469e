#!/usr/bin/env bash
# The DLL may import only Windows system DLLs and the compiler's three run-time DLLs.
set -euo pipefail
dll="$1"
allowed='^(kernel32|user32|advapi32|bcrypt|msvcrt|ntdll|ole32|oleaut32|shell32|version|libgcc_s_dw2-1|libstdc\+\+-6|libwinpthread-1|api-ms-win-[a-z0-9-]+)\.dll$'
imports=$(i686-w64-mingw32-objdump -p "$dll" | sed -n 's/^\s*DLL Name: //p' | tr 'A-Z' 'a-z')
[ -n "$imports" ] || { echo "no imports found in $dll" >&2; exit 1; }
bad=0
for name in $imports; do
  if [[ ! "$name" =~ $allowed ]]; then
    echo "unexpected import: $name" >&2
    bad=1
  fi
done
echo "imports: $(echo $imports | tr '\n' ' ')"
exit $bad
