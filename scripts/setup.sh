#!/usr/bin/env bash
# Installs what the builds and tests need on Debian 12 and makes .cache/: libraries from sources, a Wine prefix.
# Call it from anywhere, as root or as a user with sudo, as often as you like: scripts/setup.sh [--linux]
# With --linux it leaves out what only the Windows build needs.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cache=$root/.cache
prefix=$cache/windows
wine_prefix=${WINEPREFIX:-$cache/wine}

packages=(
  binutils ca-certificates cmake git ninja-build python3 python3-jsonschema xz-utils
  gcc g++ clang clang-format clang-tidy libclang-14-dev libclang-rt-14-dev llvm-14 llvm-14-dev dpkg-dev
  file pkg-config
  libboost1.81-dev libboost-thread1.81-dev nlohmann-json3-dev libcli11-dev libstb-dev zlib1g-dev libtiff-dev
  googletest libbenchmark-dev libxml2-utils iproute2 util-linux zsh fish
  libaravis-dev libusb-1.0-0-dev libxml2-dev libglib2.0-dev aravis-tools-cli udev ffmpeg
  chromium chromium-driver python3-selenium
)
windows_packages=(
  g++-mingw-w64-x86-64-posix libz-mingw-w64-dev wine64 nsis clang-tools-14 lld-14 python3-pefile
  python3-markdown-it python3-mdit-py-plugins
)
header_folders=(boost nlohmann CLI stb benchmark)

keyring=/usr/share/keyrings/debian-archive-keyring.gpg
compiler=x86_64-w64-mingw32-g++-posix
flags=(-std=c++20 -O2 -w -D_WIN32_WINNT=0x0A00 -DBOOST_ALL_NO_LIB)
# Timed waits read the chrono clocks, so the archive holds those too.
sources=(
  libs/thread/src/win32/thread.cpp libs/thread/src/win32/thread_primitives.cpp
  libs/thread/src/win32/tss_dll.cpp libs/thread/src/win32/tss_pe.cpp libs/thread/src/future.cpp
  libs/chrono/src/chrono.cpp
)

benchmark_flags=(-DBENCHMARK_STATIC_DEFINE -DHAVE_STD_REGEX -DHAVE_STEADY_CLOCK -DNDEBUG)
# Files need no compression that other libraries do.
tiff_flags=(
  -Dcxx=OFF -Dtiff-tools=OFF -Dtiff-tests=OFF -Dtiff-contrib=OFF -Dtiff-docs=OFF -Dzlib=OFF -Dlibdeflate=OFF
  -Djpeg=OFF -Dold-jpeg=OFF -Djbig=OFF -Dlerc=OFF -Dlzma=OFF -Dzstd=OFF -Dwebp=OFF
)
source_packages=(boost1.81 benchmark tiff)

say() { echo "setup: $*" >&2; }
die() {
  say "$*"
  exit 1
}

as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    die "packages are missing; run this as root or install sudo"
  fi
}

# try_often COMMAND...: up to three attempts, for what depends on the network.
try_often() {
  local attempt
  for attempt in 1 2 3; do
    "$@" && return
    say "attempt $attempt of 3 failed: $*"
    sleep $((attempt * 3))
  done
  return 1
}

missing_packages() {
  local installed
  # shellcheck disable=SC2016 # the braces are dpkg-query's
  installed=$(dpkg-query -W -f '${db:Status-Status} ${Package}\n' "${packages[@]}" 2>/dev/null |
    sed -n 's/^installed //p' || true)
  comm -23 <(printf '%s\n' "${packages[@]}" | sort -u) <(sort -u <<<"$installed")
}

install_once() {
  local apt=(env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=300)
  # An unrelated source that cannot be reached is no reason to stop; the installation itself is.
  as_root "${apt[@]}" update || say "apt-get update complained; going on"
  as_root "${apt[@]}" install -y --no-install-recommends "$@"
}

install_packages() {
  local missing
  mapfile -t missing < <(missing_packages)
  if [ "${#missing[@]}" -gt 0 ]; then
    say "installing ${missing[*]}"
    try_often install_once "${missing[@]}" >&2 || die "apt-get could not install: ${missing[*]}"
    mapfile -t missing < <(missing_packages)
    [ "${#missing[@]}" -eq 0 ] || die "still missing: ${missing[*]}"
  fi
  require_file /usr/src/googletest/CMakeLists.txt
}

require_file() { [ -e "$1" ] || die "$1 is not there although its package is installed"; }

# The Debian mirrors to ask for source packages: the system's own first.
mirrors() {
  # shellcheck disable=SC2016 # the parentheses are apt's
  { apt-get indextargets --format '$(REPO_URI)' \
      'Created-By: Packages' 'Release: bookworm' 'Component: main' 2>/dev/null || true
    echo http://deb.debian.org/debian/
  } | grep -E '^https?:' | awk '!seen[$0]++'
}

# fetch_from MIRROR FOLDER PACKAGE...: Debian's sources of the packages, without touching the system's package lists.
fetch_from() {
  local mirror=$1 folder=$2
  shift 2
  mkdir -p "$folder/lists/partial" "$folder/archives/partial"
  echo "deb-src [signed-by=$keyring] $mirror bookworm main" >"$folder/sources.list"
  cat >"$folder/apt.conf" <<CONF
Dir::Etc::SourceList "$folder/sources.list";
Dir::Etc::SourceParts "/dev/null";
Dir::State::Lists "$folder/lists";
Dir::Cache "$folder";
APT::Sandbox::User "root";
APT::Update::Error-Mode "any";
CONF
  (
    cd "$folder"
    export APT_CONFIG=$folder/apt.conf
    apt-get -q update && apt-get -q source --download-only --tar-only "$@"
  )
}

# fetch_sources FOLDER PACKAGE...: from the first mirror that has them.
fetch_sources() {
  local mirror
  [ -r "$keyring" ] || die "$keyring is missing: install debian-archive-keyring"
  say "fetching the sources of ${*:2}"
  while read -r mirror; do
    try_often fetch_from "$mirror" "$@" >"$1.log" 2>&1 && return
  done < <(mirrors)
  cat "$1.log" >&2
  die "the sources of ${*:2} could not be fetched"
}

# unpack FOLDER PACKAGE PATTERN...: those files of a fetched source package, into the folder's subfolder of that name.
unpack() {
  local work=$1 package=$2
  shift 2
  mkdir -p "$work/$package"
  tar -xf "$work"/download/"$package"_*.orig.tar.?z* -C "$work/$package" --strip-components=1 --wildcards "$@"
}

# The package of the HTTP server's library holds it compiled, for Linux only; its source is one header.
get_http_library() {
  [ ! -e "$cache/httplib/release.txt" ] || return 0
  local work=$cache/httplib.partial
  rm -rf "$work"
  mkdir -p "$work"
  fetch_sources "$work/download" cpp-httplib
  unpack "$work" cpp-httplib '*/httplib.h' '*/LICENSE'
  basename "$work"/download/cpp-httplib_*.orig.tar.* | sed 's/.*_//; s/\.orig.*//' >"$work/cpp-httplib/release.txt"
  rm -rf "$cache/httplib"
  mv -T "$work/cpp-httplib" "$cache/httplib"
  rm -rf "$work"
}

# archive FOLDER NAME FLAG... -- SOURCE...: compiles sources into a static library of the folder's new prefix.
archive() {
  local work=$1 name=$2 own=() source objects=()
  shift 2
  while [ "$1" != -- ]; do
    own+=("$1")
    shift
  done
  shift
  for source in "$@"; do
    objects+=("$work/objects/$(basename "${source%.*}").o")
    # Assertions name their files: the same on every machine.
    "$compiler" "${flags[@]}" "${own[@]}" "-ffile-prefix-map=$work/=" -I "$work/new/include" -c "$source" -o "${objects[-1]}"
  done
  x86_64-w64-mingw32-ar rcs "$work/new/lib/$name" "${objects[@]}"
}

# make_tiff FOLDER: by its own build system, which finds out what Windows has.
make_tiff() {
  local work=$1
  unpack "$work" tiff '*' &&
    cmake -S "$work/tiff" -B "$work/tiff-build" -G Ninja "${tiff_flags[@]}" \
      -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64.cmake" -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF \
      -DCMAKE_C_FLAGS="-w -D_WIN32_WINNT=0x0A00 -ffile-prefix-map=$work/=" &&
    cmake --build "$work/tiff-build" --target tiff &&
    cp "$work/tiff-build/libtiff/libtiff.a" "$work/new/lib/" &&
    cp "$work"/tiff/libtiff/{tiff,tiffio,tiffvers}.h "$work/tiff-build/libtiff/tiffconf.h" "$work/new/include/"
}

check_boost() {
  cat >"$1/probe.cpp" <<'CPP'
#include <boost/thread.hpp>
#include <boost/thread/tss.hpp>

static int s_cleaned = 0;

int main() {
    bool interrupted = false;
    boost::thread_specific_ptr<int> local([](int*) { ++s_cleaned; });
    boost::thread sleeper([&] {
        local.reset(&s_cleaned);
        try {
            boost::this_thread::sleep_for(boost::chrono::minutes(1));
        } catch (const boost::thread_interrupted&) {
            interrupted = true;
        }
    });
    sleeper.interrupt();
    sleeper.join();

    boost::mutex mutex;
    boost::condition_variable changed;
    boost::unique_lock<boost::mutex> lock(mutex);
    const auto waited = changed.wait_for(lock, boost::chrono::milliseconds(20));
    return interrupted && s_cleaned == 1 && waited == boost::cv_status::timeout ? 0 : 1;
}
CPP
  "$compiler" "${flags[@]}" -DBOOST_THREAD_USE_LIB -isystem "$1/include" "$1/probe.cpp" \
    "$1/lib/libboost_thread.a" -static -o "$1/probe.exe"
}

stamp() {
  # shellcheck disable=SC2016 # the braces are dpkg-query's
  dpkg-query -W -f '${Package} ${Version}\n' libboost1.81-dev libbenchmark-dev libtiff-dev g++-mingw-w64-x86-64-posix
  printf '%s\n' "${flags[*]}" "${sources[@]}" "${benchmark_flags[*]}" "${tiff_flags[*]}" "${header_folders[*]}" "no folders in them"
}

make_windows_libraries() {
  [ "$(cat "$prefix/built-from" 2>/dev/null)" != "$(stamp)" ] || return 0
  local work=$cache/windows.partial folder
  rm -rf "$work"
  mkdir -p "$work/download" "$work/objects" "$work/new/include" "$work/new/lib"
  for folder in "${header_folders[@]}"; do
    [ -d "/usr/include/$folder" ] || die "/usr/include/$folder is missing"
    ln -s "/usr/include/$folder" "$work/new/include/$folder"
  done

  fetch_sources "$work/download" "${source_packages[@]}"
  say "building Boost.Thread for Windows"
  unpack "$work" boost1.81 '*/libs/thread/src/*' '*/libs/chrono/src/*'
  archive "$work" libboost_thread.a -DBOOST_THREAD_BUILD_LIB -- "${sources[@]/#/$work/boost1.81/}"
  check_boost "$work/new"
  say "building Google Benchmark for Windows"
  unpack "$work" benchmark '*/src/*'
  rm "$work/benchmark/src/benchmark_main.cc"
  archive "$work" libbenchmark.a "${benchmark_flags[@]}" -- "$work"/benchmark/src/*.cc

  say "building libtiff for Windows"
  make_tiff "$work" >"$work/tiff.log" 2>&1 || { cat "$work/tiff.log" >&2; die "libtiff could not be built"; }

  stamp >"$work/new/built-from"
  rm -rf "$prefix"
  mv -T "$work/new" "$prefix"
  rm -rf "$work"
}

# Wine keeps background processes: they get neither our lock nor our standard streams.
wine() { "$root/scripts/wine.sh" "$@" </dev/null >"$cache/wine.log" 2>&1 9>&-; }

warm_wine() {
  if [ ! -e "$wine_prefix/norvel-ready" ]; then
    say "making the Wine prefix $wine_prefix"
    wine wineboot --init || { cat "$cache/wine.log" >&2; die "Wine does not start"; }
    touch "$wine_prefix/norvel-ready"
  fi
  wine "$prefix/probe.exe" || { cat "$cache/wine.log" >&2; die "Boost.Thread fails under Wine"; }
}

windows=yes
case ${1-} in
  '') packages+=("${windows_packages[@]}") ;;
  --linux) windows= ;;
  -h | --help) sed -n '2,4s/^# //p' "${BASH_SOURCE[0]}"; exit ;;
  *) die "unknown argument $1" ;;
esac

mkdir -p "$cache"
exec 9>"$cache/setup.lock"
flock 9
install_packages
get_http_library
[ "$windows" ] || exit 0
require_file /usr/lib/wine/wine64
require_file "/usr/bin/$compiler"
make_windows_libraries
warm_wine
