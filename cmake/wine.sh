#!/usr/bin/env bash
# Runs a Windows program of the cross build under Wine, in a prefix of the build folder's own.
#   wine.sh --prepare   makes the prefix if it is missing and starts a server that stays for a while
#   wine.sh PROGRAM ARGUMENT...
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
export WINEPREFIX="${ORVU_WINEPREFIX:-$root/build/wine}"
export WINEDEBUG="${WINEDEBUG:--all}" DISPLAY= WINEARCH=win64
export WINEDLLOVERRIDES="winemenubuilder.exe=d;winedbg.exe=d"
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
server=$(command -v wineserver || echo /usr/lib/wine/wineserver64)

# The server and its services inherit every descriptor and would keep a caller's pipes open: what
# may start them gets none.
detached() {
  (
    exec 3>&- 4>&- 9>&- </dev/null >/dev/null 2>&1
    for fd in /proc/self/fd/*; do
      fd=${fd##*/}
      [ "$fd" -gt 2 ] && [ "$fd" -ne 255 ] && eval "exec $fd>&-"
    done
    exec "$@"
  )
}

prepare() {
  mkdir -p "$(dirname "$WINEPREFIX")"
  exec 9>"$WINEPREFIX.lock"
  flock 9
  if [ ! -f "$WINEPREFIX/.ready" ]; then
    rm -rf "$WINEPREFIX"
    mkdir -p "$WINEPREFIX"
    # Without these two, making the prefix would ask for packages from the network. Programs run
    # with them as they are: a disabled library's file could not even be read.
    WINEDLLOVERRIDES="$WINEDLLOVERRIDES;mscoree=d;mshtml=d" detached "$wine" wineboot -i
    detached "$wine" winecfg -v win10
    touch "$WINEPREFIX/.ready"
  fi
  detached "$server" -p600 || true  # one that runs already refuses, which is as good
  detached "$wine" cmd /c exit
  exec 9>&-
}

if [ "${1:-}" = --prepare ]; then
  prepare
  exit 0
fi
[ -f "$WINEPREFIX/.ready" ] || prepare
exec "$wine" "$@"
