#!/usr/bin/env bash
# Makes the .deb of a Linux build, with the same bytes for the same build: packaging/debian.sh BUILD OUTPUT
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$(realpath "$1")
output=$(realpath "$2")
: "${SOURCE_DATE_EPOCH:=$(git -c safe.directory="$root" -C "$root" log -1 --format=%ct)}"
export SOURCE_DATE_EPOCH

# Whatever asks for access rights, users get the same.
umask 022
cpack --config "$build/CPackConfig.cmake" -B "$output" >"$output/cpack.log" 2>&1 ||
  { cat "$output/cpack.log" >&2; exit 1; }
rm -rf "$output/cpack.log" "$output/_CPack_Packages"
ls "$output"/norveltl_*.deb
