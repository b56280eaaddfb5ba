#!/usr/bin/env bash
# Runs a Windows program under Wine in a prefix of its own, quietly: scripts/wine.sh PROGRAM [ARGUMENT...]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export WINEPREFIX=${WINEPREFIX:-$root/.cache/wine}
export WINEDEBUG=${WINEDEBUG:--all}
# Without a display and these components no dialog can wait for somebody to answer it.
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml,winemenubuilder.exe=}
unset DISPLAY WAYLAND_DISPLAY
mkdir -p "$WINEPREFIX"
# Where the system places a program at random, one start in some thousands finds an address taken that Wine must have,
# and ends with 1 and without a word.
if setarch "$(uname -m)" -R true 2>/dev/null; then
  exec setarch "$(uname -m)" -R /usr/lib/wine/wine64 "$@"
fi
exec /usr/lib/wine/wine64 "$@"
