#!/usr/bin/env bash
# clang-tidy, with the thread-safety analysis, over every source of the compilation database.
#   tidy.sh BUILD-FOLDER
# A file that was clean is not read again until it, a header of the project, the configuration or
# the tool changes.
set -uo pipefail
cd "$(dirname "$0")/.." || exit 1
build="$1"
clean=build/tidy
mkdir -p "$clean"
base=$( { clang-tidy-19 --version; cat .clang-tidy; git ls-files -co --exclude-standard '*.h' |
  LC_ALL=C sort | xargs cat; } | sha256sum | cut -d' ' -f1)

check() {
  local file="$1" key
  key=$(cat "$file" <(cat "${file%%/*}/.clang-tidy" 2>/dev/null) <(echo "$base $file") |
    sha256sum | cut -d' ' -f1)
  [ -f "$clean/$key" ] && return 0
  if clang-tidy-19 --quiet -p "$build" "$file" 2>/dev/null; then
    touch "$clean/$key"
  else
    echo "not clean: $file"
    return 1
  fi
}
export -f check
export base build clean

python3 - "$build/compile_commands.json" <<'P' | xargs -P 2 -I{} bash -c 'check {}'
import json, os, sys
root = os.getcwd() + os.sep
files = {entry["file"] for entry in json.load(open(sys.argv[1]))}
for file in sorted(files):
    if file.startswith(root) and not file.startswith(root + "build"):
        print(file[len(root):])
P
