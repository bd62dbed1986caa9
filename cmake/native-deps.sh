#!/usr/bin/env bash
# Stages into build/deps/native what the native build needs and what is not installed as a package:
# the schema validator's headers, whose package would bring in dozens of others.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
prefix="$root/build/deps/native"
stamp="$prefix/.done-1"
[ -f "$stamp" ] && exit 0
echo "staging header-only libraries in build/deps/native"
. "$root/cmake/sources.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$prefix/include"
(
  orvu_apt_setup "$work/apt" && cd "$work" && orvu_apt_get download libvalijson-dev &&
    dpkg-deb -x libvalijson-dev_*.deb valijson
) >"$work/log" 2>&1 || { tail -n 20 "$work/log" >&2; exit 1; }
cp -r "$work/valijson/usr/include/." "$prefix/include/"
touch "$stamp"
