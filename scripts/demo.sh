#!/usr/bin/env bash
# Installs what is missing, builds, starts the instrument emulator on a free port and shows a real
# instrument session with the uxvisa tool.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target uxvisa uxvisa-emulator >/dev/null
build=$PWD/build/release
work=$(mktemp -d)
emulator=

finish() {
    [ -z "$emulator" ] || kill "$emulator" 2>/dev/null || true
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap finish EXIT

"$build/tools/emulator/uxvisa-emulator" --port 0 --curve-length 8388608 >"$work/emulator" &
emulator=$!
port=
for _ in $(seq 100); do
    port=$(sed -n 's/^listening on .*:\([0-9]*\)$/\1/p' "$work/emulator")
    [ -z "$port" ] || break
    sleep 0.05
done
[ -n "$port" ] || { echo "the emulator did not start" >&2; exit 1; }
resource=TCPIP::127.0.0.1::$port::SOCKET

cd "$work"
show() {
    local words=()
    for word in "$@"; do
        case $word in
            *[\*\?]*) words+=("'$word'") ;;
            *) words+=("$word") ;;
        esac
    done
    echo "\$ uxvisa ${words[*]}"
    "$build/tools/uxvisa/uxvisa" "$@"
}

show query "$resource" '*IDN?'
show query "$resource" 'MEAS:VOLT?' --time
show query "$resource" 'CURV?' --block -o curve.bin --time
echo '$ wc -c curve.bin'
wc -c curve.bin
