#!/usr/bin/env bash
# Checks the layer order of the library's areas: every #include <Oskal/Lib/...> in Oskal/Lib/
# must name a header of the file's own area, of the core (Oskal/Lib/*.h), of Internal/, or of an
# area that the table below lets it use. Tests, tools and benchmarks are not checked. A CTest
# test runs this; it prints every forbidden include and fails when there is one.
set -euo pipefail
src=$(cd "$(dirname "$0")/.." && pwd)

# The areas (or single headers) each area may use besides itself, the core and Internal/.
# Lowest first: the core, Collections, Math, Text, IO, Cryptography, BIM; Threading, Ipc,
# Logging, Xml, Messaging and FileBasedWriteFilter above what they name.
allowed() {
  case "$1" in
    Core) echo "Collections/UVector.h Threading/UCriticalSection.h Threading/UCriticalSectionAutoLock.h" ;;
    # Private helpers: the stream read helper, the serializers' wire helpers, and the DLL's
    # start-up and shut-down, which reach the logging classes.
    Internal) echo "IO/UStream.h Text Messaging/USerializationException.h Logging/ULogLevel.h Logging/ULogSource.h" ;;
    Collections) echo "Threading/UCriticalSection.h Threading/UCriticalSectionAutoLock.h" ;;
    Math) echo "" ;;
    Text) echo "Collections" ;;
    IO) echo "Collections Text" ;;
    Cryptography) echo "Collections IO Text" ;;
    BIM) echo "Collections Math Text IO Cryptography" ;;
    # The pool logs: Threading sees only the logging interface.
    Threading) echo "Collections Logging/ULog.h Logging/ILogger.h Logging/ULogSeverity.h" ;;
    Ipc) echo "Collections Threading" ;;
    Logging) echo "Collections Math Text IO Threading Ipc Xml" ;;
    Xml | Messaging) echo "Collections Math Text IO" ;;
    FileBasedWriteFilter) echo "Collections Threading/UCriticalSection.h Threading/UCriticalSectionAutoLock.h" ;;
    *) return 1 ;;
  esac
}

status=0
cd "$src"
while IFS= read -r file; do
  rel=${file#Oskal/Lib/}
  case "$rel" in */*) area=${rel%%/*} ;; *) area=Core ;; esac
  if ! uses=$(allowed "$area"); then
    echo "$file: the area '$area' has no place in the layer order (scripts/check-layers.sh)"
    status=1
    continue
  fi
  while IFS= read -r target; do
    case "$target" in */*) to=${target%%/*} ;; *) to=Core ;; esac
    if [ "$to" = "$area" ] || [ "$to" = Core ] || [ "$to" = Internal ]; then
      continue
    fi
    ok=0
    for use in $uses; do
      if [ "$use" = "$to" ] || [ "$use" = "$target" ]; then
        ok=1
      fi
    done
    if [ $ok = 0 ]; then
      echo "$file: $area may not include Oskal/Lib/$target"
      status=1
    fi
  done < <(sed -n 's|^[[:space:]]*#[[:space:]]*include[[:space:]]*<Oskal/Lib/\([^>]*\)>.*|\1|p' "$file")
done < <(find Oskal/Lib -name '*.h' -o -name '*.cpp' -o -name '*.inl' | LC_ALL=C sort)

if [ $status = 0 ]; then
  echo "every include between areas follows the layer order"
fi
exit $status
