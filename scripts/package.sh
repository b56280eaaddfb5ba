#!/usr/bin/env bash
# Builds what users get into build/package/: the Windows installer and archive, or with --deb the .deb of the Linux
# development build. Call it from anywhere: scripts/package.sh [--deb]
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

preset=windows
case ${1-} in
  '') ;;
  --deb) preset=linux ;;
  -h | --help) sed -n '2,3s/^# //p' "${BASH_SOURCE[0]}"; exit ;;
  *) echo "package: unknown argument $1" >&2; exit 2 ;;
esac

scripts/setup.sh
scripts/build.sh --target product "$preset"
mkdir -p build/package
if [ "$preset" = windows ]; then
  packaging/package.py build/windows build/package
else
  packaging/debian.sh build/linux build/package
fi
