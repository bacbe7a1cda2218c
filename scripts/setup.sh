#!/usr/bin/env bash
# Installs what a build and its tests need on Debian 12. Does nothing when all of it is there.
#
# The libraries of the Windows program come from the same packages: nlohmann-json and CLI11 are headers, GoogleTest is
# built from the sources that the package googletest installs (see cmake/OvsDependencies.cmake); libcurl, libzip and
# pugixml are built by scripts/windows-libraries.sh.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

packages=(
  build-essential cmake ninja-build python3         # native build, tests
  g++-mingw-w64-x86-64-posix                        # Windows build
  wine wine64                                       # runs it
  libcli11-dev libgtest-dev googletest nlohmann-json3-dev
  libssl-dev                                        # the cipher of the native build
  libcurl4-openssl-dev libzip-dev libpugixml-dev    # mail, archives and XML of the native build
  dpkg-dev libz-mingw-w64-dev                       # the same for Windows, from source packages
  python3-aiosmtpd openssl                          # the mail server of the tests and the demo, its certificates
  libbenchmark-dev                                  # measurements, native only
  gcovr                                             # the coverage report
  clang-format clang-tidy-19 cppcheck               # checks
  clang-19 libclang-rt-19-dev                       # fuzzing
  chromium tmux                                     # the pages and the terminal behaviour of ovsctl
  unicode-data                                      # source of the folding table
)

# A real mail server for the tests, unless the machine has one that it would replace; without it one test is skipped.
dpkg-query -W -f '${Provides} ${db:Status-Status}\n' 2>/dev/null | grep -q 'mail-transport-agent.* installed$' ||
  packages+=(exim4-daemon-heavy)

missing=()
for package in "${packages[@]}"; do
  [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

say "Installing ${missing[*]}"
[ "$(id -u)" = 0 ] || fail "packages are missing; run scripts/setup.sh as root once"
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
