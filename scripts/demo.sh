#!/usr/bin/env bash
# Builds the producer, lists the cameras it finds and grabs 100 images into out/.
# Call it from anywhere: scripts/demo.sh [--linux | --gige]; without either the Windows build runs, under Wine.
# With --gige the camera speaks GigE Vision, in a network that is its own, so that no packet leaves the machine.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

preset=windows
tool=(scripts/wine.sh build/windows/bin/norveltl.exe)
setup=()
target=product
case ${1-} in
  '') ;;
  --linux)
    preset=linux
    tool=(build/linux/bin/norveltl)
    setup=(--linux)
    ;;
  --gige)
    preset=linux
    tool=(build/linux/vision/norveltl)
    setup=(--linux)
    target=camera_host
    ;;
  -h | --help) sed -n '2,4s/^# //p' "${BASH_SOURCE[0]}"; exit ;;
  *) echo "demo: unknown argument $1" >&2; exit 2 ;;
esac

scripts/setup.sh "${setup[@]}"
echo "Building for $preset; the first time takes some minutes ..."
scripts/build.sh --progress --target "$target" "$preset"

# What the last call made is listed there, and removed as long as it is still that.
made=out/.made-by-demo
if [ -s "$made" ]; then
  while IFS= read -r line; do
    file=${line:66}
    if sha256sum --status -c <<<"$line" 2>/dev/null; then rm -f -- "$file"; fi
  done <"$made"
  folder=${file%/*}
  [ "$folder" = out ] || rmdir "$folder" 2>/dev/null || true
fi

show() {
  "${tool[@]}" list
  "${tool[@]}" grab --first -n 100 -o out | tee build/demo.log
}
if [ "${1-}" = --gige ]; then
  namespaces=(--net --pid --fork --kill-child)
  [ "$(id -u)" -eq 0 ] || namespaces+=(--map-root-user)
  unshare "${namespaces[@]}" true || { echo "demo: it needs a network namespace of its own (unshare --net)" >&2; exit 1; }
  export -f show
  # shellcheck disable=SC2016 # the shell inside is to expand it
  tool_line=${tool[*]} unshare "${namespaces[@]}" bash -euo pipefail -c '
    ip link set lo up
    tool=($tool_line)
    coproc build/linux/tests/vision/camera_host 127.0.0.1 Demo
    read -r -u "${COPROC[0]}" _
    show'
else
  show
fi

# Other images in out/ make the tool take another folder.
folder=$(sed -n 's/\r$//; s/^files .* raw in //p' build/demo.log)
mkdir -p out
find "$folder" -maxdepth 1 \( -name 'image_[0-9]*' -o -name grab.json \) | sort | xargs -d '\n' -r sha256sum >"$made"
count=$(grep -c '/image_' "$made" || true)
[ "$count" -gt 0 ] || { echo "demo: no image was written" >&2; exit 1; }
echo "$count images are in $root/$folder"
