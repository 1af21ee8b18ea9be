#!/usr/bin/env bash
# The whole reliability run (not a test): builds zephprof, hestrel and the load driver, then
# runs the settings-store part (kills during saves, parallel writers) and the server part
# (password flood, idle connections, a burst of logins). Figures go to standard output;
# BENCHMARKS.md keeps the latest ones.
#
#   bash bench/reliability/run.sh [KILL_TRIALS] [PARALLEL_PAIRS] [SECONDS_PER_LOAD]
set -euo pipefail
cd "$(dirname "$0")/../.."
BUILD_DIR=${BUILD_DIR:-build}
bash scripts/deps.sh
cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE="${BUILD_TYPE:-RelWithDebInfo}" >/dev/null
cmake --build "$BUILD_DIR" -j"$(nproc)" --target zephprof hestrel hestrel_server_load >/dev/null
bash bench/reliability/store.sh "$BUILD_DIR/apps/zephprof/zephprof" "${1:-300}" "${2:-50}"
bash bench/reliability/server.sh "$BUILD_DIR/hestrel/hestrel" "$BUILD_DIR/bench/hestrel_server_load" "${3:-30}"
