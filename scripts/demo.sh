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

images() { find out -maxdepth 1 -type f -regextype posix-extended -iregex '.*\.(png|bmp|jpg|tga|p[gpn]m|tiff?|raw)' "$@"; }

scripts/setup.sh "${setup[@]}"
echo "Building for $preset ..."
scripts/build.sh --target product "$preset"

mkdir -p out
images -delete
"${tool[@]}" list
"${tool[@]}" grab --first -n 100 -o out

count=$(images | wc -l)
[ "$count" -gt 0 ] || { echo "demo: no image was written" >&2; exit 1; }
echo "$count images are in $root/out"
