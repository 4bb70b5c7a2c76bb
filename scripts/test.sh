#!/usr/bin/env bash
# Installs what is missing, builds and runs every test.
#   scripts/test.sh              plain build, and a short run of the fuzz targets
#   scripts/test.sh PRESET...    the presets named: dev, asan, tsan, fuzz
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-deps.sh
[ $# -gt 0 ] || set -- dev fuzz

jobs=$(nproc)
failed=()
for preset in "$@"; do
    echo "== $preset"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$jobs"
    # Most tests wait for something most of the time, so twice as many run as there are cores.
    ctest --preset "$preset" -j $((jobs * 2)) || failed+=("$preset")
done
[ ${#failed[@]} -eq 0 ] || { echo "failed: ${failed[*]}" >&2; exit 1; }
