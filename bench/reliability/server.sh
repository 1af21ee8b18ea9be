#!/usr/bin/env bash
# Reliability run of the hestrel server (not a test): hostile loads on a local server while a
# real user logs in from another loopback address, and a burst of simultaneous logins. Builds
# nothing: give it the built server and the load driver (bench/CMakeLists.txt builds it).
#
#   bash bench/reliability/server.sh HESTREL HESTREL_SERVER_LOAD [SECONDS]
#
# SECONDS (default 30) is the length of each hostile load. Each part runs against a fresh
# server with the default options (so the default login waits and --max-startups 16), the
# burst against one with --max-startups 32: its 32 logins, then 32 new connections held at
# once, fill exactly the room for connections not logged in yet.
set -euo pipefail
HESTREL=$(realpath "$1")
DRIVER=$(realpath "$2")
SECONDS_EACH=${3:-30}
FLOOD_CONNECTIONS=67 IDLE_CONNECTIONS=64 BURST=32
cd "$(dirname "$0")/../.."
source scripts/hestrel-server.sh
WORK=$(mktemp -d /tmp/hestrel-reliability.XXXXXX)
trap 'stop_hestrel; rm -rf "$WORK"' EXIT

figure() { sed -n "s/.*\b$1=\([^ ]*\).*/\1/p" <<<"$2"; }

run_part() {  # NAME DRIVER_ARGS... ; starts a server, runs the driver, leaves its output in OUT
  local Name=$1
  shift
  start_hestrel "$HESTREL" "$WORK/$Name" "$WORK/$Name/root" "${SERVER_OPTIONS[@]}" ||
    { echo "the server did not start" >&2; exit 1; }
  OUT=$("$DRIVER" "$1" "$PORT" "$WORK/$Name/password" "${@:2}")
  stop_hestrel
  LOG=$WORK/$Name/log
}

echo "hestrel reliability run: $HESTREL, ${SECONDS_EACH} s per load, on $(nproc) cores"

SERVER_OPTIONS=()
run_part flood flood "$SECONDS_EACH" "$FLOOD_CONNECTIONS"
Judged=$(grep -c 'failed (attempt' "$LOG" || true)
echo "wrong-password flood, $FLOOD_CONNECTIONS connections from 127.0.0.2, user from 127.0.0.3:"
echo "  real logins refused / attempted: $(figure user_refused "$OUT") / $(figure user_attempts "$OUT")" \
  "(slowest $(figure user_slowest_s "$OUT") s)"
echo "  guesses judged by the server: $Judged in $SECONDS_EACH s =" \
  "$(awk -v n="$Judged" -v s="$SECONDS_EACH" 'BEGIN { printf "%.2f", n / s }') per second" \
  "($(figure answered_guesses "$OUT") answers to the flood, $(figure hostile_connections "$OUT") connections tried)"

run_part idle idle "$SECONDS_EACH" "$IDLE_CONNECTIONS"
echo "idle TCP connections, $IDLE_CONNECTIONS held from 127.0.0.2, user from 127.0.0.3:"
echo "  real logins refused / attempted: $(figure user_refused "$OUT") / $(figure user_attempts "$OUT")" \
  "(slowest $(figure user_slowest_s "$OUT") s; $(figure hostile_connections "$OUT") idle connections opened)"

SERVER_OPTIONS=(--max-startups "$BURST")
run_part burst burst "$BURST"
echo "burst of $BURST simultaneous logins from 127.0.0.4, then $BURST new connections held:"
echo "  logins failed: $(figure burst_failed "$OUT") / $BURST;" \
  "refused new connections: $(figure new_refused "$OUT") (must be 0);" \
  "logged-in sessions lost: $(figure logged_in_lost "$OUT")"
