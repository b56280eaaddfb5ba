#!/usr/bin/env bash
# Feeds random bytes to the module and the simulated camera library, two targets at a time, and fails on any finding.
# Call it from anywhere: scripts/fuzz.sh [--keep] [SECONDS [TARGET...]]; 60 seconds each and all
# targets unless told otherwise. --keep takes what was learnt into tests/fuzz/corpus, as little as covers it all.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

all=(calls description ids register_map standard world)
keep=
case ${1-} in
  -h | --help) sed -n '2,4s/^# //p' "${BASH_SOURCE[0]}"; exit ;;
  --keep) keep=1; shift ;;
esac
seconds=${1-60}
shift $(($# > 0 ? 1 : 0))
[[ $seconds =~ ^[1-9][0-9]*$ ]] || { echo "fuzz: $seconds is no number of seconds" >&2; exit 2; }
for target in "$@"; do
  [[ " ${all[*]} " == *" $target "* ]] || { echo "fuzz: there is no target $target" >&2; exit 2; }
done
targets=("$@")
[ $# -gt 0 ] || targets=("${all[@]}")

export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export ASAN_SYMBOLIZER_PATH=/usr/lib/llvm-14/bin/llvm-symbolizer

programs=$root/build/linux-fuzz/bin
work=$root/build/linux-fuzz/fuzz

# Old sanitizer runtimes collide with the address randomisation of newer kernels.
launch() {
  if setarch "$(uname -m)" -R true 2>/dev/null; then setarch "$(uname -m)" -R "$@"; else "$@"; fi
}

# The folder of the corpus from which a target begins.
corpus_of() {
  case $1 in
    standard) echo calls ;;
    *) echo "$1" ;;
  esac
}

longest_input() {
  case $1 in
    calls | standard) echo 400 ;;
    description) echo 2000 ;;
    world) echo 4096 ;;
    *) echo 600 ;;
  esac
}

# fuzz TARGET: leaves what it says in TARGET/log, its exit code in TARGET/code.
fuzz() {
  local target=$1 folder=$work/$1 options=() code=0
  rm -rf "$folder/findings"
  mkdir -p "$folder/corpus" "$folder/findings"
  [ ! -e "tests/fuzz/$target.dict" ] || options+=("-dict=$root/tests/fuzz/$target.dict")
  launch "$programs/fuzz_$target" -max_total_time="$seconds" -max_len="$(longest_input "$target")" -len_control=0 \
    -entropic=0 -timeout=10 -rss_limit_mb=2048 -detect_leaks=1 -print_final_stats=1 \
    -artifact_prefix="$folder/findings/" "${options[@]}" "$folder/corpus" "tests/fuzz/corpus/$(corpus_of "$target")" \
    >"$folder/log" 2>&1 || code=$?
  echo "$code" >"$folder/code"
}

statistic() { sed -n "s/^stat::$2: *//p" "$work/$1/log" | tail -n 1; }

# tell TARGET: fails when something was found.
tell() {
  local target=$1 folder=$work/$1 findings covered
  findings=$(find "$folder/findings" -type f | wc -l)
  covered=$(grep -o 'cov: [0-9]*' "$folder/log" | tail -n 1 || true)
  printf '%-13s %9s executions, %6s/s, %5s inputs in the corpus, %5s edges covered, %s findings\n' "$target:" \
    "$(statistic "$target" number_of_executed_units)" "$(statistic "$target" average_exec_per_sec)" \
    "$(find "$folder/corpus" "tests/fuzz/corpus/$(corpus_of "$target")" -type f | wc -l)" "${covered#cov: }" "$findings"
  if [ "$(cat "$folder/code")" -ne 0 ] || [ "$findings" -gt 0 ]; then
    grep -v -E 'NEW|REDUCE|RELOAD|pulse|# Uses' "$folder/log" | tail -n 80 >&2
    echo "fuzz: $target failed; all of its output is in $folder/log, its inputs in $folder/findings" >&2
    return 1
  fi
}

# keep TARGET: as few inputs as cover the same edges. A target that begins from another one's keeps none.
keep() {
  local target=$1 folder=$work/$1
  [ "$(corpus_of "$target")" = "$target" ] || return 0
  rm -rf "$folder/kept"
  mkdir -p "$folder/kept"
  launch "$programs/fuzz_$target" -merge=1 -use_counters=0 -use_cmp=0 -max_len="$(longest_input "$target")" \
    "$folder/kept" "tests/fuzz/corpus/$target" "$folder/corpus" >"$folder/merge.log" 2>&1 ||
    { tail -n 40 "$folder/merge.log" >&2; return 1; }
  rm -rf "tests/fuzz/corpus/$target"
  cp -r "$folder/kept" "tests/fuzz/corpus/$target"
}

scripts/setup.sh
scripts/build.sh linux-fuzz
for target in "${targets[@]}"; do
  while [ "$(jobs -rp | wc -l)" -ge 2 ]; do wait -n; done
  fuzz "$target" &
done
wait

outcome=0
for target in "${targets[@]}"; do
  tell "$target" || outcome=1
done
if [ -n "$keep" ] && [ "$outcome" -eq 0 ]; then
  for target in "${targets[@]}"; do
    keep "$target"
  done
fi
exit "$outcome"
