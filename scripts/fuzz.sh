#!/usr/bin/env bash
# fuzz.sh [SECONDS]: runs every fuzz target for so long (60 unless said otherwise), from the seeds in fuzz/corpus and what
# earlier runs have found (build/fuzz). Fails on the first finding; libFuzzer prints it and leaves it beside the build.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

seconds=${1:-60}
scripts/setup.sh fuzz
say "Fuzz targets, $seconds s each"
build native-fuzz ovs_fuzz
start=$SECONDS
for source in fuzz/fuzz_*.cpp fuzz/posix/fuzz_*.cpp; do
  name=${source##*/fuzz_}
  name=${name%.cpp}
  target=build/native-fuzz/bin/fuzz_$name
  mkdir -p "build/fuzz/$name"
  printf '%s ... ' "$name"
  quietly "build/logs/fuzz-$name.log" "$target" -max_total_time="$seconds" -max_len=65536 -timeout=20 -rss_limit_mb=2048 \
    -dict=fuzz/dictionary.txt -artifact_prefix="build/fuzz/$name-" "build/fuzz/$name" "fuzz/corpus/$name"
  grep -E '^Done' "build/logs/fuzz-$name.log"
done
took "fuzz targets run" "$start"
