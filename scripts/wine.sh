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
exec /usr/lib/wine/wine64 "$@"
