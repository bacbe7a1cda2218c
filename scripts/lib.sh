# Shared by the scripts beside it; they source it from the repository's root.

say() { printf '\n== %s\n' "$*"; }
fail() {
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  exit 1
}

# quietly LOG COMMAND...: output goes to LOG; when the command fails its end is shown.
quietly() {
  local log=$1
  shift
  mkdir -p "${log%/*}"
  "$@" >"$log" 2>&1 && return
  tail -n 60 "$log" >&2
  fail "failed: $* (whole output: $log)"
}

# build PRESET [TARGET...]: configures when needed and builds, saying how long it took.
build() {
  local preset=$1 start=$SECONDS
  shift
  mkdir -p build/logs
  [ "$preset" != windows-x64 ] || scripts/windows-libraries.sh
  printf 'building %s ... ' "$preset"
  quietly "build/logs/$preset-configure.log" cmake --preset "$preset"
  quietly "build/logs/$preset-build.log" cmake --build "build/$preset" --parallel "$(nproc)" ${1:+--target "$@"}
  echo "$((SECONDS - start)) s"
}
