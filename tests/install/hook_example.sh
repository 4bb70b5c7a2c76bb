#!/usr/bin/env bash
# hook_example.sh CMAKE BUILD_DIR SOURCE_DIR CXX LIBDIR: installs into a new prefix, builds
# examples/hook against it, and watches a query to the emulator from a second program.
set -euo pipefail
cmake=$1 build=$2 source=$3 cxx=$4 libdir=$5

work=$(mktemp -d)
emulator= watcher=
finish() {
    for process in $emulator $watcher; do
        kill "$process" 2>/dev/null || true
    done
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap finish EXIT
prefix=$work/prefix
"$cmake" --install "$build" --prefix "$prefix" >/dev/null
export LD_LIBRARY_PATH=$prefix/$libdir

check() { [ "$1" = "$2" ] || { echo "expected '$2', got '$1'" >&2; exit 1; }; }
# await FILE PATTERN [COUNT]: until so many lines of the file match.
await() {
    for _ in $(seq 600); do
        [ "$(grep -c "$2" "$1")" -lt "${3:-1}" ] || return 0
        sleep 0.05
    done
    echo "no '$2' in $(cat "$1")" >&2
    exit 1
}

"$cmake" -S "$source/examples/hook" -B "$work/hook" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_CXX_FLAGS="-Wconversion -Wshadow -Werror" >/dev/null
"$cmake" --build "$work/hook" >/dev/null

# The headers alone, through pkg-config, in every language level that programs use.
export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
for header in uxvisa/hook.h uxvisa/logfile.h hook.h logfile.h; do
    for standard in c++17 c++20; do
        # shellcheck disable=SC2046
        echo "#include <$header>" | "$cxx" -std=$standard -Wall -Wextra -Wpedantic -Wconversion \
            -Wshadow -Werror $(pkg-config --define-prefix --cflags uxvisa) -fsyntax-only -x c++ -
    done
done

"$prefix/bin/uxvisa-emulator" --port 0 >"$work/emulator" &
emulator=$!
await "$work/emulator" '^listening on'
port=$(sed -n 's/^listening on .*:\([0-9]*\)$/\1/p' "$work/emulator")
resource=TCPIP::127.0.0.1::$port::SOCKET

"$work/hook/watcher" "$resource" >"$work/seen" &
watcher=$!
await "$work/seen" '^watching'
check "$("$work/hook/measure" "$resource" '*IDN?' '*IDN?')" \
    "$(printf 'Orvane,Emulator,0,%s\n' "2.0.0" "2.0.0")"
await "$work/seen" '^<-' 2
kill -INT "$watcher"
wait "$watcher"
watcher=
check "$(cat "$work/seen")" "watching $resource
-> \"*IDN?\\n\"
<- \"Orvane,Emulator,0,2.0.0\\n\"
-> \"*IDN?\\n\"
<- \"Orvane,Emulator,0,2.0.0\\n\""
[ ! -e "/dev/shm/${resource}_v2_Map" ] || { echo "the block was left behind" >&2; exit 1; }
echo "the example ran and was watched"
