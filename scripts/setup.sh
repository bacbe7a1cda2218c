#!/usr/bin/env bash
# setup.sh PURPOSE: installs what the script of that name needs on Debian 12. Does nothing when all of it is there.
#
# The libraries of the Windows program come from the same packages: nlohmann-json and CLI11 are headers, GoogleTest is
# built from the sources that the package googletest installs (see cmake/OvsDependencies.cmake); libcurl, libzip and
# pugixml are built by scripts/windows-libraries.sh.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

both=(cmake ninja-build python3 libcli11-dev nlohmann-json3-dev)
windows=(
  g++-mingw-w64-x86-64-posix wine wine64            # builds the programs and runs them
  dpkg-dev libz-mingw-w64-dev                       # mail, archives and XML, from source packages
  python3-aiosmtpd openssl                          # the mail server of the demo and the tests, its certificates
)
native=(
  build-essential googletest
  libssl-dev libcurl4-openssl-dev libzip-dev libpugixml-dev    # the cipher; mail, archives and XML
)
bench=(libbenchmark-dev)
fuzz=(clang-19 libclang-rt-19-dev)
coverage=(gcovr)
analyze=(clang-tidy-19)
checks=("${analyze[@]}" clang-format cppcheck)
seen=(chromium tmux)                                # the pages and the terminal behaviour of ovsctl
# A real mail server, unless the machine has one that it would replace; without it one test is skipped.
dpkg-query -W -f '${Provides} ${db:Status-Status}\n' 2>/dev/null | grep -q 'mail-transport-agent.* installed$' ||
  seen+=(exim4-daemon-heavy)

case ${1:-} in
  demo) packages=("${both[@]}" "${windows[@]}") ;;
  test) packages=("${both[@]}" "${windows[@]}" "${native[@]}" "${bench[@]}" "${fuzz[@]}" "${checks[@]}" "${seen[@]}") ;;
  bench) packages=("${both[@]}" "${native[@]}" "${bench[@]}") ;;
  fuzz) packages=("${both[@]}" "${native[@]}" "${fuzz[@]}") ;;
  threads) packages=("${both[@]}" "${native[@]}") ;;
  analyze) packages=("${both[@]}" "${native[@]}" "${bench[@]}" "${analyze[@]}") ;;
  # The tests that it runs include those that start a browser and a mail server.
  coverage) packages=("${both[@]}" "${native[@]}" "${coverage[@]}" "${seen[@]}" python3-aiosmtpd openssl) ;;
  *) fail "usage: scripts/setup.sh demo | test | bench | fuzz | threads | analyze | coverage" ;;
esac

missing=()
for package in "${packages[@]}"; do
  [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

say "Installing ${missing[*]}"
[ "$(id -u)" = 0 ] || fail "packages are missing; run scripts/setup.sh $1 as root once"
start=$SECONDS
export DEBIAN_FRONTEND=noninteractive
quietly build/logs/apt-update.log apt-get -q update
# Nothing that comes along, such as the mail server, shall run on this machine by itself.
policy=/usr/sbin/policy-rc.d
if [ ! -e $policy ]; then
  printf '#!/bin/sh\nexit 101\n' >$policy
  chmod +x $policy
  trap 'rm -f $policy' EXIT
fi
quietly build/logs/apt-install.log apt-get -q install -y --no-install-recommends "${missing[@]}"
case " ${missing[*]} " in
  *" exim4-daemon-heavy "*) update-rc.d exim4 disable >/dev/null 2>&1 || true ;;
esac
echo "installed in $((SECONDS - start)) s"
took packages "$start"
