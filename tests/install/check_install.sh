#!/usr/bin/env bash
# Installs the build into a temporary prefix, builds the examples against it
# with CMake (find_package) and with pkg-config, and runs them against the
# demo databases; with TOVAK_PYTHON (an interpreter), imports the installed
# Python package, which must find the installed library by itself.
#   check_install.sh BUILD_DIR SOURCE_DIR [COMPILER_FLAGS]
set -euo pipefail
build=$1
src=$2
flags=${3:-}
work=$(mktemp -d /tmp/tovak-install.XXXXXX)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null
lib=$(find "$prefix" -name 'libtovak.so.*.*' -type f | head -n 1)
[ -n "$lib" ] || { echo "no libtovak.so installed"; exit 1; }
libdir=$(dirname "$lib")
readelf -d "$lib" | grep -q 'SONAME.*\[libtovak\.so\.0\]' || { echo "SONAME is not libtovak.so.0"; exit 1; }
[ -f "$prefix/include/tovak/tovak.h" ] || { echo "header not installed"; exit 1; }
[ -f "$prefix/share/doc/tovak/cli.md" ] || { echo "documentation not installed"; exit 1; }
"$prefix/bin/tovak" --help >/dev/null
"$prefix/bin/tovak-server" --help >/dev/null

cmake -S "$src/examples" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" >/dev/null
cmake --build "$work/cmake" >/dev/null

export PKG_CONFIG_PATH=$libdir/pkgconfig
# shellcheck disable=SC2046,SC2086
cc $flags -o "$work/params-pc" "$src/examples/params.c" $(pkg-config --cflags --libs tovak)

export LD_LIBRARY_PATH=$libdir
out=$("$work/cmake/timebase" Magnetics 120100 1 1 3)
echo "$out"
grep -q '^trigger at -1.000000000 s, one sample every 0.000001000 s$' <<<"$out"
grep -q '^sample 1 at -1.000999000 s$' <<<"$out"
for program in "$work/cmake/params" "$work/params-pc"; do
  out=$("$program" fdts01 DMODSS0 120100 1 7)
  grep -q '^fdts01 DMODSS0 channel 7: 41 parameters$' <<<"$out"
  grep -Eq '^  CardType +DMODSS$' <<<"$out"
done
if [ -n "${TOVAK_PYTHON:-}" ]; then
  package=$(find "$prefix" -path '*/dist-packages/tovak' -type d)
  out=$(env -u LD_LIBRARY_PATH PYTHONPATH="$(dirname "$package")" ASAN_OPTIONS=detect_leaks=0 \
    LD_PRELOAD="${TOVAK_PYTHON_PRELOAD:-}" "$TOVAK_PYTHON" -c \
    "import tovak; print(tovak.timebase('Magnetics', 120100, 1, 1, 3).axis[:3])")
  [ "$out" = "[-1.000999 -1.000998 -1.000997]" ] || { echo "python: $out"; exit 1; }
fi
echo "install tree OK"
