#!/usr/bin/env bash
# Builds the release and runs the benchmarks. Each row is printed beside its bare baseline from the
# same run, as a ratio.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" >/dev/null
exec ./build/release/bench/uxvisa-bench "$@"
