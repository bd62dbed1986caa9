# Sourced by the dependency scripts: the distribution's packages, fetched into a private folder. The
# machine's own package configuration is neither used for writing nor changed.

# orvu_apt_setup DIR: prepares DIR as apt's private state, with source packages switched on.
orvu_apt_setup() {
  ORVU_APT_DIR="$1"
  mkdir -p "$ORVU_APT_DIR"/{lists/partial,cache/archives/partial}
  : >"$ORVU_APT_DIR/sources.list"
  local file
  for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    [ -f "$file" ] || continue
    grep -E '^deb .*debian' "$file" | grep -v cloud | sed 's/^deb /deb-src /' \
      >>"$ORVU_APT_DIR/sources.list" || true
    grep -E '^deb .*debian' "$file" | grep -v cloud >>"$ORVU_APT_DIR/sources.list" || true
  done
  # The newer stanza form: one line for each suite of a stanza that serves Debian itself.
  for file in /etc/apt/sources.list.d/*.sources; do
    [ -f "$file" ] || continue
    awk -v RS= '
      { uris = suites = components = signed = ""; n = split($0, line, "\n")
        for (i = 1; i <= n; i++) {
          if (line[i] ~ /^URIs:/) { uris = line[i]; sub(/^URIs: */, "", uris) }
          if (line[i] ~ /^Suites:/) { suites = line[i]; sub(/^Suites: */, "", suites) }
          if (line[i] ~ /^Components:/) { components = line[i]; sub(/^Components: */, "", components) }
          if (line[i] ~ /^Signed-By:/) { signed = line[i]; sub(/^Signed-By: */, "", signed) }
        }
        if (components !~ /main/ || uris !~ /debian/) next
        option = signed != "" ? "[signed-by=" signed "] " : ""
        m = split(suites, suite, " ")
        for (j = 1; j <= m; j++) {
          print "deb " option uris " " suite[j] " main"
          print "deb-src " option uris " " suite[j] " main"
        } }' "$file" >>"$ORVU_APT_DIR/sources.list"
  done
  sort -u -o "$ORVU_APT_DIR/sources.list" "$ORVU_APT_DIR/sources.list"
  orvu_apt_get -q update
}

orvu_apt_get() {
  apt-get -q -o Dir::Etc::sourcelist="$ORVU_APT_DIR/sources.list" \
    -o Dir::Etc::sourceparts=/dev/null -o Dir::State::lists="$ORVU_APT_DIR/lists" \
    -o Dir::Cache="$ORVU_APT_DIR/cache" -o APT::Sandbox::User=root "$@"
}
