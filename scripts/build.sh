#!/usr/bin/env bash
# Configures and builds presets, showing the compiler's output only when one fails.
# Call it from anywhere, after scripts/setup.sh: scripts/build.sh [--target TARGET] PRESET...
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

case ${1--h} in
  -h | --help) sed -n '2,3s/^# //p' "${BASH_SOURCE[0]}"; exit ;;
esac

target=all
if [ "$1" = --target ]; then
  target=$2
  shift 2
fi

mkdir -p .cache/logs
for preset in "$@"; do
  log=.cache/logs/build-$preset.log
  if ! { cmake --preset "$preset" && cmake --build --preset "$preset" -j "$(nproc)" --target "$target"; } >"$log" 2>&1; then
    tail -n 200 "$log" >&2
    echo "build: $preset failed; all of its output is in $root/$log" >&2
    exit 1
  fi
done
