#!/usr/bin/env bash
# Installs the Debian packages that the build, the tests and the benchmarks need and that are
# missing; does nothing, and needs no rights, when all are there.
set -euo pipefail

packages=(
    g++ cmake ninja-build pkg-config git
    libasio-dev libcli11-dev nlohmann-json3-dev libudev-dev libexpat1-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    clang libclang-rt-14-dev
    python3 python3-pyvisa python3-typing-extensions umockdev libumockdev-dev
    iproute2 procps util-linux binutils
)

missing=()
for package in "${packages[@]}"; do
    state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$state" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
echo "Installing: ${missing[*]}"
"${as_root[@]}" apt-get update -q
DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -q -y --no-install-recommends "${missing[@]}"
