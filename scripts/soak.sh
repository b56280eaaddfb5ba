#!/usr/bin/env bash
# Streams from four simulated cameras with random faults, restarts and pulled plugs, accounts for every image and event,
# and watches memory, threads and handles. Call it from anywhere:
# scripts/soak.sh [--windows] [--standard] [MINUTES] [SEED]; --standard streams through NorvelTL40-standard.cti.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

preset=linux
launch=()
program=norveltl_soak
options=()
while [[ ${1-} == -* ]]; do
  case $1 in
    -h | --help) sed -n '2,4s/^# //p' "${BASH_SOURCE[0]}"; exit ;;
    --windows) preset=windows launch=("$root/scripts/wine.sh") program=norveltl_soak.exe ;;
    --standard) options=(--standard) ;;
    *) echo "soak: there is no option $1" >&2; exit 2 ;;
  esac
  shift
done
minutes=${1-10}
seed=${2-1}

scripts/setup.sh
scripts/build.sh "$preset"
cd "build/$preset/bin"
"${launch[@]}" "./$program" "${options[@]}" "$((minutes * 60))" "$seed"
