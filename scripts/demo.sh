#!/usr/bin/env bash
# Builds the producer, lists the cameras it finds and grabs 100 images into out/.
# Call it from anywhere: scripts/demo.sh [--linux]; without --linux the Windows build runs, under Wine.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

preset=windows
tool=(scripts/wine.sh build/windows/bin/norveltl.exe)
setup=()
case ${1-} in
  '') ;;
  --linux)
    preset=linux
    tool=(build/linux/bin/norveltl)
    setup=(--linux)
    ;;
  -h | --help) sed -n '2,3s/^# //p' "${BASH_SOURCE[0]}"; exit ;;
  *) echo "demo: unknown argument $1" >&2; exit 2 ;;
esac

scripts/setup.sh "${setup[@]}"
echo "Building for $preset ..."
scripts/build.sh --target product "$preset"

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
"${tool[@]}" list
"${tool[@]}" grab --first -n 100 -o out | tee build/demo.log

# Other images in out/ make the tool take another folder.
folder=$(sed -n 's/\r$//; s/^files .* raw in //p' build/demo.log)
mkdir -p out
find "$folder" -maxdepth 1 -name 'image_[0-9]*' | sort | xargs -d '\n' -r sha256sum >"$made"
count=$(wc -l <"$made")
[ "$count" -gt 0 ] || { echo "demo: no image was written" >&2; exit 1; }
echo "$count images are in $root/$folder"
