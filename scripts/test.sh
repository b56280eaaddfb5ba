#!/usr/bin/env bash
# Builds every preset, checks formatting, analyses the sources, runs all tests and fuzzes; ends with "N passed,
# N failed". Call it from anywhere: scripts/test.sh [PRESET...]; presets are windows, linux, linux-asan, linux-tsan,
# and linux-fuzz, which fuzzes for a minute each.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

presets=(windows linux linux-asan linux-tsan linux-fuzz)
case ${1-} in
  -h | --help) sed -n '2,4s/^# //p' "${BASH_SOURCE[0]}"; exit ;;
esac
for preset in "$@"; do
  [[ " ${presets[*]} " == *" $preset "* ]] || { echo "test: there is no preset $preset" >&2; exit 2; }
done
[ $# -eq 0 ] || presets=("$@")
fuzzed=
for preset in "${!presets[@]}"; do
  [ "${presets[preset]}" != linux-fuzz ] || { fuzzed=1; unset "presets[preset]"; }
done

export ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1:detect_stack_use_after_return=1:strict_string_checks=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1
export ASAN_SYMBOLIZER_PATH=/usr/lib/llvm-14/bin/llvm-symbolizer

passed=0
failed=0
built=()

# section TITLE COMMAND...: runs the command, whatever its outcome goes on, and tells how long it took.
section() {
  local title=$1 start=$SECONDS outcome=ok
  shift
  echo "== $title"
  "$@" || outcome=FAILED
  echo "== $title: $outcome, $((SECONDS - start)) s"
  [ "$outcome" = ok ]
}

check() {
  if section "$@"; then passed=$((passed + 1)); else failed=$((failed + 1)); fi
}

formatting() {
  local files
  mapfile -d '' -t files < <(git -c safe.directory="$root" ls-files -z \
    --cached --others --exclude-standard -- '*.h' '*.cpp' '*.c')
  [ "${#files[@]}" -gt 0 ] && clang-format --dry-run -Werror "${files[@]}"
}

static_analysis() {
  local folders=() preset
  for preset in linux windows; do
    [[ " ${built[*]} " != *" $preset "* ]] || folders+=("build/$preset")
  done
  [ "${#folders[@]}" -gt 0 ] && scripts/tidy.py "${folders[@]}"
}

# run_tests PRESET: adds the run's cases to the totals.
run_tests() {
  local preset=$1 reports=$root/build/$1/reports launch=() where counts
  rm -rf "$reports"
  mkdir -p "$reports/gtest"
  where=$reports/gtest/
  case $preset in
    windows) where=Z:$where ;;
    # Old sanitizer runtimes collide with the address randomisation of newer kernels.
    *san) ! setarch "$(uname -m)" -R true 2>/dev/null || launch=(setarch "$(uname -m)" -R) ;;
  esac
  ctest --preset "$preset" --show-only=json-v1 >"$reports/inventory.json" || true
  GTEST_OUTPUT=xml:$where "${launch[@]}" ctest --preset "$preset" --no-tests=error -j 2 --timeout 600 \
    --output-junit "$reports/ctest.xml" || true

  if ! scripts/summarise.py "$reports/inventory.json" "$reports/ctest.xml" "$reports/gtest" >"$reports/summary"; then
    failed=$((failed + 1))
    return 1
  fi
  sed '$d' "$reports/summary"
  counts=$(tail -n 1 "$reports/summary")
  echo "$preset: ${counts% *} passed, ${counts#* } failed"
  passed=$((passed + ${counts% *}))
  failed=$((failed + ${counts#* }))
  [ "${counts#* }" -eq 0 ]
}

if section "setup" scripts/setup.sh; then
  check "formatting" formatting
  for preset in "${presets[@]}"; do
    if section "build $preset" scripts/build.sh "$preset"; then
      built+=("$preset")
    else
      failed=$((failed + 1))
    fi
  done
  if [[ " ${presets[*]} " == *" linux "* && " ${presets[*]} " == *" windows "* ]]; then
    check "static analysis" static_analysis
  else
    echo "== static analysis: left out of this run, it needs the presets linux and windows"
  fi
  for preset in "${built[@]}"; do
    section "tests $preset" run_tests "$preset" || true
  done
  [ -z "$fuzzed" ] || check "fuzzing" scripts/fuzz.sh 60
else
  failed=1
fi

echo "== all: $SECONDS s"
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
