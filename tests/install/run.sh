#!/usr/bin/env bash
# run.sh CMAKE BUILD_DIR CONSUMER_DIR CC LIBDIR VERSION: installs into a new prefix and builds and
# runs a consumer against it, through CMake and through pkg-config.
set -euo pipefail
cmake=$1 build=$2 consumer=$3 cc=$4 libdir=$5 version=$6

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
"$cmake" --install "$build" --prefix "$prefix" >/dev/null

check() { [ "$1" = "$2" ] || { echo "expected '$2', got '$1'" >&2; exit 1; }; }
check "$(readlink "$prefix/$libdir/libUxVisa.so")" libUxVisa.so.2
check "$(readlink "$prefix/$libdir/libUxVisa.so.2")" "libUxVisa.so.$version"
export LD_LIBRARY_PATH=$prefix/$libdir

"$cmake" -S "$consumer" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_C_COMPILER="$cc" >/dev/null
"$cmake" --build "$work/cmake" >/dev/null
"$work/cmake/consumer"

# The .pc file names the prefix it was configured for; pkg-config moves it to where the file lies.
export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
pkg() { pkg-config --define-prefix "$@" uxvisa; }
check "$(pkg --modversion)" "$version"
# What the library itself is linked with is no business of a program that links with it.
check "$(pkg --libs | grep -c udev || true)" 0
check "$(pkg --libs --static | grep -c -- -ludev || true)" 1
check "$(grep -rci udev "$prefix/$libdir/cmake" | grep -vc ':0$' || true)" 0
# shellcheck disable=SC2046
"$cc" -std=c99 -Wall -Wextra -Wpedantic -Werror $(pkg --cflags) "$consumer/consumer.c" \
    -o "$work/consumer" $(pkg --libs)
"$work/consumer"
echo "both consumers ran"
