#!/usr/bin/env bash
# Configures and builds everything into ${BUILD_DIR:-build}. Extra arguments go to cmake.
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=${BUILD_DIR:-build}
bash scripts/deps.sh
cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE="${BUILD_TYPE:-RelWithDebInfo}" "$@" >/dev/null
cmake --build "$BUILD_DIR" -j"$(nproc)"
