#!/usr/bin/env bash
# Shows the main job for real: builds the Windows service, installs and starts it through Wine's service control manager,
# lets recorded real event records arrive, prints the alerts in both logs and stops the service by its stop protocol.
# With --debug the service also writes its debug log and both dumps, which are shown at the end.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

start=$SECONDS
scripts/setup.sh demo
say "The Windows program"
build windows-x64 OrvantaEventService ovsctl svcctl standin-setup wmi_standin
export OVS_BIN=$PWD/build/windows-x64/bin
scripts/with-wine.sh build/demo/prefix /usr/bin/python3 -B demo/demo.py "$@"
say "Demo done in $((SECONDS - start)) s"
