#!/usr/bin/env bash
# Measures the module beside the floor on Linux and Windows (under Wine), prints a table, writes docs/performance.md.
# Call it from anywhere, on an idle machine: scripts/bench.sh [PRESET...]; with --quick it only tries every benchmark.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

is_quick=
case ${1-} in
  -h | --help) sed -n '2,3s/^# //p' "${BASH_SOURCE[0]}"; exit ;;
  --quick)
    is_quick=yes
    shift
    ;;
esac
presets=(linux windows)
for preset in "$@"; do
  [[ " ${presets[*]} " == *" $preset "* ]] || { echo "bench: there is no preset $preset" >&2; exit 2; }
done
[ $# -eq 0 ] || presets=("$@")

repetitions=${REPETITIONS:-9}
options=(
  --benchmark_repetitions="$repetitions" --benchmark_enable_random_interleaving=true --benchmark_min_time=0.2
  --benchmark_out=../bench.json --benchmark_out_format=json
)

scripts/setup.sh
# All of them before the first run, so that no compiler runs beside a measurement.
scripts/build.sh --target norveltl_bench "${presets[@]}"
folders=()
for preset in "${presets[@]}"; do
  launch=()
  program=./norveltl_bench
  [ "$preset" != windows ] || launch=("$root/scripts/wine.sh") program=./norveltl_bench.exe
  echo "Measuring $preset ..."
  cd "$root/build/$preset/bin"
  if [ "$is_quick" ]; then
    /usr/bin/python3 "$root/bench/Report.py" smoke "${launch[@]}" "$program"
  else
    "${launch[@]}" "$program" "${options[@]}" >../bench.log 2>&1 || { cat ../bench.log >&2; exit 1; }
  fi
  folders+=("$root/build/$preset")
done

[ "$is_quick" ] && exit
# The page holds both targets, or none.
mode=write
[ "${#presets[@]}" -eq 2 ] || mode=print
/usr/bin/python3 "$root/bench/Report.py" "$mode" "${folders[@]}"
