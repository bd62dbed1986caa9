#!/usr/bin/env bash
# Fills build/deps/windows with the libraries of the cross build: Jansson and libdeflate built from
# the distribution's source packages, GoogleTest from its packaged sources, header-only libraries
# staged one by one, so that the native include folder never reaches the cross compiler.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
prefix="$root/build/deps/windows"
stamp="$prefix/.done-1"
[ -f "$stamp" ] && exit 0
"$root/cmake/native-deps.sh"
echo "cross-building dependencies into build/deps/windows (about a minute)"
. "$root/cmake/sources.sh"
work=$(mktemp -d)
mkdir -p "$prefix/include"

# cross NAME SOURCE-DIR CMAKE-ARGUMENT...: configure, build and install into the prefix.
cross() {
  local name="$1" source="$2"
  shift 2
  cmake -S "$source" -B "$work/build-$name" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/windows.toolchain.cmake" \
    -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR=lib -DBUILD_SHARED_LIBS=OFF "$@"
  cmake --build "$work/build-$name"
  cmake --install "$work/build-$name"
}

# deflate SOURCE-DIR: its makefile of this version guesses the system from the compiler's name, and
# the objects are few: compile them directly.
deflate() {
  local source="$1" object="$work/build-libdeflate"
  mkdir -p "$object"
  local file
  for file in "$source"lib/*.c "$source"lib/x86/*.c; do
    x86_64-w64-mingw32-gcc-posix -O2 -std=gnu11 -I"$source" -I"$source/lib" \
      -c "$file" -o "$object/$(echo "${file#"$source"}" | tr / _).o"
  done
  x86_64-w64-mingw32-ar rcs "$prefix/lib/libdeflate.a" "$object"/*.o
  cp "$source/libdeflate.h" "$prefix/include/"
}

# Everything below reports into a log that is shown when a step fails.
exec 3>&1 4>&2 >"$work/log" 2>&1
trap 'status=$?; exec >&3 2>&4; [ $status -eq 0 ] || tail -n 30 "$work/log" >&2; rm -rf "$work"' EXIT

orvu_apt_setup "$work/apt"
(cd "$work" && orvu_apt_get source jansson libdeflate)
cross jansson "$(echo "$work"/jansson-*/)" -DJANSSON_BUILD_SHARED_LIBS=OFF \
  -DJANSSON_BUILD_DOCS=OFF -DJANSSON_WITHOUT_TESTS=ON -DJANSSON_EXAMPLES=OFF
deflate "$(echo "$work"/libdeflate-*/)"
cross googletest /usr/src/googletest -DBUILD_GMOCK=ON

for headers in fmt spdlog CLI; do
  rm -rf "${prefix:?}/include/$headers"
  cp -r "/usr/include/$headers" "$prefix/include/"
done
cp -r "$root/build/deps/native/include/valijson" "$prefix/include/"
touch "$stamp"
