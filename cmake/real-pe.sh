#!/usr/bin/env bash
# Stages into build/deps/real-pe PE files that others made: those of a few small packages of the
# distribution, each under build/deps/real-pe/PACKAGE/ with its path inside the package kept.
# build/deps/real-pe/list.txt names them, one relative path a line, sorted. Nothing is installed.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
target="$root/build/deps/real-pe"
stamp="$target/.done-1"
packages=(shim-signed grub-efi-amd64-signed fwupd-amd64-signed python3-distlib win32-loader
  nsis-common libz-mingw-w64 mono-mcs)

[ -f "$stamp" ] && exit 0
mkdir -p "$root/build/deps"
exec 9>"$target.lock"
flock 9
[ -f "$stamp" ] && exit 0  # another build made it meanwhile

echo "staging PE files of ${#packages[@]} packages in build/deps/real-pe"
. "$root/cmake/sources.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# is_pe FILE: has the two signatures of a PE file.
is_pe() {
  local offset
  [ "$(head -c 2 "$1" | tr -d '\0')" = MZ ] || return 1
  offset=$(od -An -tu4 -j60 -N4 "$1" | tr -d ' ')
  [ -n "$offset" ] && [ "$offset" -lt "$(stat -c %s "$1")" ] || return 1
  [ "$(od -An -tx1 -j"$offset" -N4 "$1" | tr -d ' ')" = 50450000 ]
}

(
  orvu_apt_setup "$work/apt" || exit 1
  for package in "${packages[@]}"; do
    mkdir "$work/$package" && cd "$work/$package" && orvu_apt_get download "$package" &&
      dpkg-deb -x ./*.deb files || exit 1
  done
) >"$work/log" 2>&1 9>&- || { tail -n 20 "$work/log" >&2; exit 1; }

rm -rf "$target"
mkdir -p "$target"
for package in "${packages[@]}"; do
  found=0
  while IFS= read -r -d '' file; do
    is_pe "$file" || continue
    relative="$package/${file#"$work/$package/files/"}"
    mkdir -p "$target/$(dirname "$relative")"
    cp "$file" "$target/$relative"
    echo "$relative" >>"$target/list.txt"
    found=$((found + 1))
  done < <(find "$work/$package/files" -type f -print0)
  [ "$found" -gt 0 ] || { echo "no PE file in the package $package" >&2; exit 1; }
done
LC_ALL=C sort -o "$target/list.txt" "$target/list.txt"
touch "$stamp"
