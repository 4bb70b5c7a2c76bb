#!/usr/bin/env bash
# exported_symbols.sh LIBRARY LIST: compares what the library exports with the committed list.
#   exported_symbols.sh --print LIBRARY prints the list, to be committed after a wanted change.
set -euo pipefail

symbols() { nm -D --defined-only "$1" | awk '{ print $2, $3 }' | LC_ALL=C sort; }

if [ "$1" = --print ]; then
    symbols "$2"
    exit
fi
diff <(symbols "$1") "$2"
if nm -D "$1" | grep ' u '; then
    echo "a unique symbol keeps the library loaded for ever" >&2
    exit 1
fi
