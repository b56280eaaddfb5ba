#!/usr/bin/env bash
# Runs a Windows program under Wine in a prefix of its own, quietly: scripts/wine.sh PROGRAM [ARGUMENT...]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export WINEPREFIX=${WINEPREFIX:-$root/.cache/wine}
export WINEDEBUG=${WINEDEBUG:--all}
mkdir -p "$WINEPREFIX"
exec /usr/lib/wine/wine64 "$@"
