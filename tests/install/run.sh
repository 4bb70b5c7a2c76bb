#!/usr/bin/env bash
# run.sh CMAKE BUILD_DIR SOURCE_DIR CC LIBDIR VERSION: installs into a new prefix and builds and
# runs a consumer and the examples against it, through CMake and through pkg-config.
set -euo pipefail
cmake=$1 build=$2 source=$3 cc=$4 libdir=$5 version=$6
consumer=$source/tests/install/consumer

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
"$cmake" --install "$build" --prefix "$prefix" >/dev/null

check() { [ "$1" = "$2" ] || { echo "expected '$2', got '$1'" >&2; exit 1; }; }
check "$(readlink "$prefix/$libdir/libUxVisa.so")" libUxVisa.so.2
check "$(readlink "$prefix/$libdir/libUxVisa.so.2")" "libUxVisa.so.$version"
# Sessions load this one by its whole name; a shorter one would only be in the way.
check "$(cd "$prefix/$libdir" && echo libProtoDesc*)" libProtoDesc.so.1.0.0
[ -f "$prefix/share/uxvisa/brix/Protocol.xml" ]
check "$(stat -c %a "$prefix/lib/udev/rules.d/70-uxvisa.rules")" 644
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

driver=$source/examples/driver
ask_the_driver() {
    check "$(LD_LIBRARY_PATH=$LD_LIBRARY_PATH:$1 "$prefix/bin/uxvisa" query TCPIP::4711::ECAL '*IDN?')" \
        "Example,Memory Source,4711,1.0"
}
"$cmake" -S "$driver" -B "$work/driver" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_C_COMPILER="$cc" >/dev/null
"$cmake" --build "$work/driver" >/dev/null
ask_the_driver "$work/driver"
mkdir "$work/byhand"
# shellcheck disable=SC2046
"$cc" -std=c99 -fPIC -shared -fvisibility=hidden -pthread $(pkg --cflags) \
    "$driver/example_driver.c" -o "$work/byhand/ecalbridge.dll"
ask_the_driver "$work/byhand"
echo "the consumers and the example driver ran"
