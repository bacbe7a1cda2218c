#!/usr/bin/env bash
# with-wine.sh PREFIX COMMAND...: runs COMMAND with a Wine prefix that has no display; the prefix is made if missing. When
# the command ends, everything that still runs in the prefix is ended too.
#
# Wine's services live only as long as some program of the prefix does, and they inherit the output of whatever program
# started them. So a program that waits on a pipe starts them with their output thrown away and keeps them alive; without
# it whoever reads a test's output through a pipe waits 2 s more each time.
set -euo pipefail
[ $# -ge 2 ] || { echo "usage: with-wine.sh PREFIX COMMAND..." >&2; exit 2; }
mkdir -p "$1"
WINEPREFIX=$(cd "$1" && pwd)
shift
export WINEPREFIX WINEDEBUG=${WINEDEBUG:--all} WINEDLLOVERRIDES='mscoree=;mshtml='
# Texts and arguments of programs are UTF-8.
export LC_ALL=C.UTF-8
unset DISPLAY WAYLAND_DISPLAY

if [ ! -f "$WINEPREFIX/system.reg" ]; then
  timeout 300 wine wineboot -i </dev/null >/dev/null 2>&1
  # Windows exist without a screen, so message boxes can be found and answered. Programs see that from the next start on.
  timeout 60 wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f </dev/null >/dev/null 2>&1
  # The control manager of the set-up must be gone: two of them would not know of each other's services.
  timeout 60 wineserver -k >/dev/null 2>&1 || true
  timeout 60 wineserver -w
fi
hold=$(mktemp -d)
mkfifo "$hold/pipe"
wine cmd <"$hold/pipe" >/dev/null 2>&1 &
exec 9>"$hold/pipe"
rm -r "$hold"
# Not before the services run: the first program to want them starts them, and they would hold its output open.
timeout 120 wine cmd /c exit </dev/null >/dev/null 2>&1 9>&-

finish() {
  exec 9>&-
  timeout 20 wineserver -k >/dev/null 2>&1 || true
  timeout 20 wineserver -w >/dev/null 2>&1 || true
}
trap finish EXIT
trap 'exit 130' INT TERM

status=0
"$@" 9>&- || status=$?
exit "$status"
