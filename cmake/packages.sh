#!/usr/bin/env bash
# Installs the distribution's packages that the build ("build") or the whole test run ("test") needs
# and that are missing. Says what it does, asks for no answer. Without the rights to install it
# names the one line to run and exits 1.
set -euo pipefail

kind="${1:-build}"
build=(g++ cmake ninja-build ccache pkg-config dpkg-dev
  g++-mingw-w64-x86-64-posix python3 osslsigncode openssl
  libjansson-dev libssl-dev libdeflate-dev libspdlog-dev libfmt-dev libcli11-dev
  libgtest-dev libgmock-dev googletest)
test=(clang-19 clang-tidy-19 clang-format-19 libclang-rt-19-dev
  wine wine64 libimage-exiftool-perl icoutils pev
  libbenchmark-dev libre2-dev libvectorscan-dev)

wanted=("${build[@]}")
[ "$kind" = test ] && wanted+=("${test[@]}")

missing=()
for package in "${wanted[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
  [ "$status" = "install ok installed" ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

line="apt-get update && apt-get install -y --no-install-recommends ${missing[*]}"
if [ "$(id -u)" -ne 0 ]; then
  if command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
    sudo=(sudo -n)
  else
    echo "These packages are missing, and only root may install them. Run this once:" >&2
    echo "  sudo sh -c '$line'" >&2
    exit 1
  fi
else
  sudo=()
fi
echo "installing ${#missing[@]} packages: ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { "${sudo[@]}" apt-get update &&
       "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive \
         apt-get install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
  tail -n 20 "$log" >&2
  echo "the packages could not be installed; the line was: $line" >&2
  exit 1
fi
