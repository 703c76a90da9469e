#!/usr/bin/env bash
# Prepares a Debian 12 machine to build and test Oskal.Lib: the mingw-w64 cross compiler,
# Wine (32-bit), CMake, Ninja, GoogleTest sources, and expat's Debian source package.
# Idempotent: every step checks first and does nothing when it is already done.
set -euo pipefail

here=$(cd "$(dirname "$0")/.." && pwd)
cache="${OSKAL_DEPS_CACHE:-$here/.deps}"

SUDO=""
if [ "$(id -u)" != 0 ]; then SUDO="sudo"; fi

packages=(g++-mingw-w64-i686-posix wine wine32:i386 cmake ninja-build googletest dpkg-dev)

have_packages() {
  local p
  for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}\n' "$p" 2>/dev/null | grep -q '^install ok installed' || return 1
  done
}

need_update=0
if ! dpkg --print-foreign-architectures | grep -qx i386; then
  $SUDO dpkg --add-architecture i386
  need_update=1
fi

# expat comes from Debian's source package, which needs a deb-src entry for the main suite.
src_list=/etc/apt/sources.list.d/oskal-deb-src.sources
if ! grep -rqs '^Types:.*deb-src' /etc/apt/sources.list.d/ && ! grep -qs '^deb-src' /etc/apt/sources.list; then
  printf 'Types: deb-src\nURIs: http://deb.debian.org/debian\nSuites: bookworm\nComponents: main\nSigned-By: /usr/share/keyrings/debian-archive-keyring.gpg\n' \
    | $SUDO tee "$src_list" >/dev/null
  need_update=1
fi

if ! have_packages; then
  need_update=1
fi

if [ "$need_update" = 1 ]; then
  # The i386 index of the security suite can be out of sync on the mirror; that error is not fatal.
  $SUDO apt-get update || true
fi

if ! have_packages; then
  export DEBIAN_FRONTEND=noninteractive
  if ! $SUDO apt-get install -y --no-install-recommends "${packages[@]}"; then
    # amd64 libraries from the security suite have no matching i386 twins on this mirror:
    # prefer the main suite so that both architectures get the same versions.
    printf 'Package: *\nPin: release l=Debian-Security\nPin-Priority: 100\n' \
      | $SUDO tee /etc/apt/preferences.d/oskal-security-pin >/dev/null
    $SUDO apt-get install -y --no-install-recommends --allow-downgrades "${packages[@]}"
  fi
fi

# expat is unpacked from the source package with dpkg-source so that Debian's security patches
# are applied; the bare orig tarball lacks them. A stamp names the package version that was
# unpacked: a tree from an older set-up (no stamp, or another version) is unpacked again.
if ! ls "$cache"/expat_*.dsc >/dev/null 2>&1; then
  mkdir -p "$cache"
  (cd "$cache" && apt-get source --download-only expat)
fi
expat_dsc=$(ls "$cache"/expat_*.dsc | sort -V | tail -n 1)
expat_version=$(sed -n 's/^Version: //p' "$expat_dsc")
expat_stamp="$cache/expat-src/.oskal-unpacked"
if [ "$(cat "$expat_stamp" 2>/dev/null)" != "$expat_version" ] \
  || [ ! -f "$cache/expat-src/expat/CMakeLists.txt" ]; then
  rm -rf "$cache/expat-src"
  dpkg-source --no-check -x "$expat_dsc" "$cache/expat-src"
  # The CVE-2024-8176 backport tests "#if XML_DTD == 1", while the CMake template defines the
  # macro empty.
  sed -i 's/^#cmakedefine XML_DTD$/#cmakedefine XML_DTD 1/' "$cache/expat-src/expat/expat_config.h.cmake"
  grep -qx '#cmakedefine XML_DTD 1' "$cache/expat-src/expat/expat_config.h.cmake"
  echo "$expat_version" >"$expat_stamp"
fi
echo "setup: machine ready"
