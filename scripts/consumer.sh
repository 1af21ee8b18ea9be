#!/usr/bin/env bash
# The profile service as a library: installs the libraries, public headers and CMake package
# of ${BUILD_DIR:-build} into a fresh prefix, builds examples/consumer against that installed
# tree alone, and runs it against a hestrel on 127.0.0.1 — it must list the profile zephprof
# added and connect with it. Exits non-zero when any step fails.
set -euo pipefail
cd "$(dirname "$0")/.."
ROOT=$PWD
BUILD_DIR=${BUILD_DIR:-build}
WORK=$(mktemp -d "${TMPDIR:-/tmp}/zeph-consumer.XXXXXX")
fail() { printf 'consumer check FAILED: %s\n' "$*" >&2; exit 1; }

cmake --build "$BUILD_DIR" -j"$(nproc)" --target zephcore zephhost hestrel_client zephprof hestrel
cmake --install "$BUILD_DIR" --prefix "$WORK/prefix" >/dev/null
cmake -S examples/consumer -B "$WORK/build" -G Ninja -DCMAKE_PREFIX_PATH="$WORK/prefix" >/dev/null
cmake --build "$WORK/build"
# Built from the installed headers only.
grep -q -- "-I$ROOT" "$WORK/build/build.ninja" && fail "the consumer was built against the source tree"

source scripts/hestrel-server.sh
trap stop_hestrel EXIT
start_hestrel "$WORK/prefix/bin/hestrel" "$WORK/server" "$WORK/remote" || fail "the server did not start"
"$WORK/prefix/bin/zephprof" --settings "$WORK/settings.ini" --data-dir "$WORK/data" add Loop --platform Linux64 \
  --host 127.0.0.1 --port "$PORT" --password-stdin < "$WORK/server/password" >/dev/null
OUT=$("$WORK/build/zephprof-consumer" --settings "$WORK/settings.ini" --data-dir "$WORK/data" Loop)
echo "$OUT"
grep -q "^Linux64  Loop  127.0.0.1:$PORT$" <<<"$OUT" || fail "the profile was not listed"
grep -q "^Connection to '127.0.0.1' on port $PORT succeeded$" <<<"$OUT" || fail "the connection test failed"
stop_hestrel
rm -rf "$WORK"
echo "consumer check passed"
