# Shared by the scripts beside it; they source it from the repository's root.

say() { printf '\n== %s\n' "$*"; }
fail() {
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  exit 1
}

# took PART START: a part that began at START (a value of SECONDS) is done; test.sh shows all parts at its end.
took() { printf '%5d s  %s\n' "$((SECONDS - $2))" "$1" >>"${OVS_PARTS:-/dev/null}"; }

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
  local preset=$1 start
  shift
  mkdir -p build/logs
  [ "$preset" != windows-x64 ] || scripts/windows-libraries.sh
  start=$SECONDS
  printf 'building %s ... ' "$preset"
  quietly "build/logs/$preset-configure.log" cmake --preset "$preset"
  quietly "build/logs/$preset-build.log" cmake --build "build/$preset" --parallel "$(nproc)" ${1:+--target "$@"}
  echo "$((SECONDS - start)) s"
  took "build $preset${1:+: $*}" "$start"
}

# joint_sources BUILD_FOLDER: src and tools as that build compiles them: joint sources, and those that are compiled alone.
joint_sources() {
  sed -n 's/^ *"file": "\(.*\)".*/\1/p' "$1/compile_commands.json" | grep -E "^$PWD/(src|tools)/|/unity_(src|tools|ovsctl)_"
}
