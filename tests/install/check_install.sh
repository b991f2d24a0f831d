#!/usr/bin/env bash
# Installs the build into a temporary prefix, builds the examples against it with CMake and with
# pkg-config and runs them on the demo databases.
#   check_install.sh BUILD_DIR SOURCE_DIR [COMPILER_FLAGS]
set -euo pipefail
build=$1 src=$2 flags=${3:-} work=$(mktemp -d /tmp/tovak-install.XXXXXX)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
fail() { echo "$*"; exit 1; }
cmake --install "$build" --prefix "$prefix" >/dev/null
lib=$(find "$prefix" -name 'libtovak.so.*.*' -type f | head -n 1) && libdir=${lib%/*}
readelf -d "${lib:?no libtovak.so installed}" | grep -q 'SONAME.*\[libtovak\.so\.0\]' || fail SONAME
"$prefix/bin/tovak" --help >/dev/null && "$prefix/bin/tovak-server" --help >/dev/null

cmake -S "$src/examples" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" >/dev/null
cmake --build "$work/cmake" >/dev/null
export PKG_CONFIG_PATH=$libdir/pkgconfig LD_LIBRARY_PATH=$libdir
# shellcheck disable=SC2046,SC2086
cc $flags -o "$work/params-pc" "$src/examples/params.c" $(pkg-config --cflags --libs tovak)
# Runs a program (from $3 on): $1 of its lines must match the pattern $2.
expect() { local out; out=$("${@:3}"); [ "$(grep -Ec "$2" <<<"$out")" = "$1" ] || fail "$3: $out"; }
expect 2 '^(trigger at -1.000000000 s, one sample every 0.000001000 s|sample 1 at -1.000999000 s)$' \
  "$work/cmake/timebase" Magnetics 120100 1 1 3
for program in "$work/cmake/params" "$work/params-pc"; do
  expect 2 '^(fdts01 DMODSS0 channel 7: 41 parameters|  CardType +DMODSS)$' \
    "$program" fdts01 DMODSS0 120100 1 7
done
