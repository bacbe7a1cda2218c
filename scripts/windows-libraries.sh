#!/usr/bin/env bash
# Builds the libraries of the Windows program as static libraries, from Debian's source packages, into
# build/windows-libraries. Does nothing for a library that is there already and was built by this script as it is now; to
# take up a newer Debian revision, delete build/windows-libraries.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

# Upstream versions. Debian's revision (what follows the last "-") may move: its security fixes arrive there.
declare -A upstream=([curl]=7.88.1 [libzip]=1.7.3 [pugixml]=1.13)

prefix=$PWD/build/windows-libraries
work=$prefix/.work
logs=build/logs
recipe=$(cat "$0" cmake/mingw64.cmake cmake/mingw64-answers.cmake | sha256sum | cut -c 1-16)

# A package index of our own, so that the machine's stays as it is. Its sources are those of the machine, as deb-src.
apt_options=(-o "Dir::Etc::sourcelist=$work/none.list" -o "Dir::Etc::sourceparts=$work/sources.d"
  -o "Dir::State::Lists=$work/lists" -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache= -o APT::Sandbox::User=root
  -o Acquire::Retries=3)
update_index() {
  mkdir -p "$work/lists/partial" "$work/sources.d"
  if [ -f /etc/apt/sources.list.d/debian.sources ]; then
    sed 's/^Types:.*/Types: deb-src/' /etc/apt/sources.list.d/debian.sources >"$work/sources.d/debian.sources"
  else
    sed -n 's/^deb /deb-src /p' /etc/apt/sources.list >"$work/sources.d/debian.list"
  fi
  quietly "$logs/libraries-index.log" apt-get "${apt_options[@]}" -q update
}

# unpack PACKAGE: its newest packaging of our upstream version, patched, into $work/PACKAGE. apt checks what it downloads
# against the signed index.
unpack() {
  local log=$logs/libraries-$1-unpack.log
  mkdir "$work/$1-download"
  (
    cd "$work/$1-download"
    apt-get "${apt_options[@]}" -q source --download-only "$1=$2"
    dpkg-source --no-check -x ./*.dsc "$work/$1"
  ) >"$log" 2>&1 || fail "cannot unpack $1 (see $log)"
}

# cross_build PACKAGE TARGET CMAKE_OPTION...
cross_build() {
  local package=$1 target=$2 answers=()
  shift 2
  [ "$(x86_64-w64-mingw32-gcc-posix -dumpversion)" != 12-posix ] || answers=(-C cmake/mingw64-answers.cmake)
  quietly "$logs/libraries-$package-configure.log" cmake -DOVS_PACKAGE="$package" "${answers[@]}" -S "$work/$package" \
    -B "$work/$package-build" -G Ninja --toolchain "$PWD/cmake/mingw64.cmake" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_PREFIX_PATH="$prefix" -DBUILD_SHARED_LIBS=OFF "$@"
  quietly "$logs/libraries-$package-build.log" cmake --build "$work/$package-build" --parallel "$(nproc)" --target "$target"
  quietly "$logs/libraries-$package-install.log" cmake --install "$work/$package-build"
}

# Mail alone: TLS is Windows' own (Schannel), NTLM too (SSPI). HTTP stays in although nothing uses it: a security patch of
# Debian's makes the mail code call a function that is compiled with HTTP only. Thirty sources are compiled as one: Windows'
# headers cost more than what includes them.
build_curl() {
  local part off=()
  for part in ALTSVC COOKIES DICT DOH FILE FTP GETOPTIONS GOPHER HSTS HTTP_AUTH IMAP LDAP LDAPS MQTT NETRC PARSEDATE POP3 \
    PROXY RTSP SMB TELNET TFTP; do
    off+=("-DCURL_DISABLE_$part=ON")
  done
  cross_build curl libcurl "${off[@]}" -DCURL_USE_SCHANNEL=ON -DCURL_WINDOWS_SSPI=ON -DENABLE_UNICODE=ON -DCURL_ZLIB=OFF \
    -DCURL_USE_LIBSSH2=OFF -DCURL_USE_LIBPSL=OFF -DUSE_LIBIDN2=OFF -DBUILD_CURL_EXE=OFF -DBUILD_TESTING=OFF \
    -DENABLE_MANUAL=OFF -DPICKY_COMPILER=OFF -DCMAKE_UNITY_BUILD=ON -DCMAKE_UNITY_BUILD_BATCH_SIZE=30
  grep -q 'Enabled protocols: HTTP HTTPS SMTP SMTPS$' "$logs/libraries-curl-configure.log" ||
    fail "curl would be built with other protocols than mail"
  grep -q 'SSL backends: Schannel$' "$logs/libraries-curl-configure.log" || fail "curl would be built without Schannel"
}

build_libzip() {
  cross_build libzip zip -DENABLE_BZIP2=OFF -DENABLE_LZMA=OFF -DENABLE_GNUTLS=OFF -DENABLE_MBEDTLS=OFF -DENABLE_OPENSSL=OFF \
    -DENABLE_COMMONCRYPTO=OFF -DENABLE_WINDOWS_CRYPTO=OFF -DBUILD_TOOLS=OFF -DBUILD_REGRESS=OFF -DBUILD_EXAMPLES=OFF \
    -DBUILD_DOC=OFF
}

build_pugixml() { cross_build pugixml pugixml-static; }

# version PACKAGE: the newest that Debian has of our upstream version.
version() {
  apt-cache "${apt_options[@]}" showsrc "$1" | sed -n 's/^Version: //p' | grep -F -- "${upstream[$1]}-" | sort -V | tail -n 1
}

make_library() { # PACKAGE
  local package=$1 version
  version=$(version "$package") || fail "Debian no longer has $package ${upstream[$package]}: raise the version in $0"
  unpack "$package" "$version"
  "build_$package"
  printf '%s\n' "$package $version" "$recipe" >"$prefix/.$package"
  echo "  $package $version"
}

start=$SECONDS
mkdir -p "$prefix" "$logs"
missing=()
for package in curl libzip pugixml; do
  [ "$(sed -n 2p "$prefix/.$package" 2>/dev/null)" = "$recipe" ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

echo "building for Windows: ${missing[*]}"
rm -rf "$work"
update_index
# All at once: much of it is one program after another.
jobs=()
for package in "${missing[@]}"; do
  (make_library "$package") &
  jobs+=($!)
done
failed=0
for job in "${jobs[@]}"; do wait "$job" || failed=1; done
rm -rf "$work"
[ $failed = 0 ] || exit 1
echo "built in $((SECONDS - start)) s"
took "Windows libraries" "$start"
