#!/usr/bin/env bash
# Makes a release in build/release/VERSION/: builds everything twice, compares the bytes, sums them up; tags and pushes nothing.
# Call it from anywhere in a clean tree whose CHANGELOG.md has the version: scripts/release.sh VERSION
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

die() {
  echo "release: $*" >&2
  exit 1
}

case ${1--h} in
  -h | --help) sed -n '2,3s/^# //p' "${BASH_SOURCE[0]}"; exit ;;
esac
version=$1
[[ $version =~ ^[0-9]+\.[0-9]+\.[0-9]+\.[0-9]+$ ]] || die "a version has four numbers, as 4.0.1.0 has"
[ -z "$(git status --porcelain)" ] || die "the tree has changes that are not committed"
grep -qE "^## \[${version//./\\.}\] - [0-9]{4}-[0-9]{2}-[0-9]{2}\$" CHANGELOG.md ||
  die "CHANGELOG.md has no version $version with its day"

# The project's version is where every other one comes from; pages and tests quote it.
current=$(sed -nE 's/^project\(NorvelTL VERSION ([0-9.]+).*/\1/p' CMakeLists.txt)
if [ "$current" != "$version" ]; then
  sed -i "s/^project(NorvelTL VERSION $current /project(NorvelTL VERSION $version /" CMakeLists.txt
  git grep -lF "$current" -- docs examples tests README.md | xargs -r sed -i "s/\b${current//./\\.}\b/$version/g"
  git commit -qam "Call this version $version"
  echo "The version was $current; it is $version now, in a commit of its own."
fi

scripts/setup.sh
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH
work=$root/build/release/work
rm -rf "$work"
mkdir -p "$work"

# build_in FOLDER: everything that is released, from the committed sources alone, into FOLDER/out.
build_in() {
  local preset build=$1/build
  mkdir -p "$1" "$1/out"
  git archive HEAD | tar -x -C "$1"
  ln -s "$root/.cache" "$1/.cache"
  for preset in windows linux; do
    cmake -S "$1" --preset "$preset" -DNORVELTL_BUILD_TESTS=OFF
    cmake --build "$build/$preset" -j "$(nproc)" --target product
  done
  "$1/packaging/package.py" "$build/windows" "$1/out"
  "$1/packaging/debian.sh" "$build/linux" "$1/out"
  mkdir "$1/out/programs"
  cp "$build"/windows/bin/{{NorvelTL40,standard/NorvelTL40-standard}.cti,norveltl.exe,Optivo40.dll} "$1/out/programs"
  cp "$build"/linux/bin/{{NorvelTL40,standard/NorvelTL40-standard}.cti,norveltl,libOptivo40.so} \
    "$build/linux/vision/libOptivo40.so" \
    "$1/out/programs" --backup=numbered
}

for folder in "$work/first" "$work/second-in-a-longer-folder"; do
  echo "Building in $folder ..."
  build_in "$folder" >"$work/log" 2>&1 || { tail -n 100 "$work/log" >&2; die "the build failed"; }
done
diff -r "$work/first/out" "$work/second-in-a-longer-folder/out" >&2 || die "two builds differ"

release=$root/build/release/$version
rm -rf "$release"
mkdir -p "$release"
cp "$work"/first/out/norveltl[-_]*.{exe,zip,deb} "$release"
packaging/bill_of_materials.py "$version" "$work/bill" "$release"/*
mv "$work/bill" "$release/norveltl-$version.spdx.json"
(cd "$release" && sha256sum -- * >"$work/sums" && mv "$work/sums" SHA256SUMS)
rm -rf "$work"
cat "$release/SHA256SUMS"
echo "The release is in $release"
