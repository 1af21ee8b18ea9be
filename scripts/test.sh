#!/usr/bin/env bash
# Builds everything and runs all tests (the README's test command).
# BUILD_DIR and extra cmake arguments select another build (e.g. the sanitizer build of .ci/run).
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=${BUILD_DIR:-build}
bash scripts/build.sh "$@"
ctest --test-dir "$BUILD_DIR" --output-on-failure -j2 --timeout 300
