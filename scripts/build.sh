#!/usr/bin/env bash
# Configures and builds presets, showing the compiler's output only when one fails.
# Call it from anywhere, after scripts/setup.sh: scripts/build.sh [--progress] [--target TARGET] PRESET...
# With --progress it tells how far it is: in one line of a terminal, elsewhere at each tenth.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

case ${1--h} in
  -h | --help) sed -n '2,4s/^# //p' "${BASH_SOURCE[0]}"; exit ;;
esac

progress=
if [ "$1" = --progress ]; then
  progress=yes
  shift
fi
target=all
if [ "$1" = --target ]; then
  target=$2
  shift 2
fi

build() { cmake --preset "$1" && cmake --build --preset "$1" -j "$(nproc)" --target "$target"; }

# Passes everything on to a file, and shows what Ninja says that it is at: "[12/345] Building CXX object folder/file.cpp.o".
show_progress() {
  local line done_ all tenth last=0 terminal=
  [ -t 1 ] && terminal=yes
  while IFS= read -r line; do
    printf '%s\n' "$line" >&3
    if [[ $line =~ ^\[([0-9]+)/([0-9]+)\]\ (.*) ]]; then
      done_=${BASH_REMATCH[1]} all=${BASH_REMATCH[2]}
      tenth=$((10 * done_ / all))
      if [ "$terminal" ]; then
        printf '\r\e[K%.78s' "  $done_ of $all  ${BASH_REMATCH[3]##*/}"
      elif [ "$tenth" -gt "$last" ]; then
        printf '  %s of %s  %s\n' "$done_" "$all" "${BASH_REMATCH[3]##*/}"
        last=$tenth
      fi
    fi
  done 3>"$1"
  [ -z "$terminal" ] || printf '\r\e[K'
}

mkdir -p .cache/logs
for preset in "$@"; do
  log=.cache/logs/build-$preset.log
  if [ "$progress" ]; then
    build "$preset" 2>&1 | show_progress "$log" && code=0 || code=$?
  else
    build "$preset" >"$log" 2>&1 && code=0 || code=$?
  fi
  if [ "$code" -ne 0 ]; then
    tail -n 200 "$log" >&2
    echo "build: $preset failed; all of its output is in $root/$log" >&2
    exit 1
  fi
done
