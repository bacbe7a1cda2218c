#!/usr/bin/env bash
# mutate.sh [-w] [TEXT...]: breaks a copy of the project in the ways that tests/mutations describes, one at a time, and tells
# which of them no test notices. With TEXT only those whose title or file holds one of the texts; -w takes those that need Wine
# too. Takes about 20 s a mutation; ends with 1 when one survived or could not be tried.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh test
exec python3 scripts/mutate.py build/mutants "$@"
