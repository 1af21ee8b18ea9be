# Sourced by scripts/main-job.sh, bench/transfer/run.sh and bench/reliability/server.sh: a
# local `hestrel` for a script.
#
#   start_hestrel HESTREL_BINARY SERVER_DIR ROOT [MORE OPTIONS...]
#
# Writes a generated password to SERVER_DIR/password (mode 0600), starts the server on an
# ephemeral 127.0.0.1 port with its host key and log in SERVER_DIR and its commands in ROOT
# (and --allow-root when run as root), and sets SERVER_PID and PORT once it listens. Returns 1
# (log on stderr) if it does not start.
# stop_hestrel stops it and waits; safe to call twice (for an EXIT trap).

start_hestrel() {
  local Binary=$1 Dir=$2 Root=$3
  shift 3
  mkdir -p "$Dir" "$Root"
  ( umask 077; head -c 24 /dev/urandom | base64 | tr -d '/+=\n' > "$Dir/password"; echo >> "$Dir/password" )
  local AsRoot=()
  [ "$(id -u)" -ne 0 ] || AsRoot=(--allow-root)  # CI runs as root; hestrel refuses root otherwise
  "$Binary" --port 0 --listen 127.0.0.1 --password-file "$Dir/password" \
    --host-key "$Dir/host_key" --root "$Root" "${AsRoot[@]}" "$@" > "$Dir/log" 2>&1 &
  SERVER_PID=$!
  PORT=""
  for _ in $(seq 1 100); do
    PORT=$(sed -n 's/^hestrel listening on .*:\([0-9][0-9]*\)$/\1/p' "$Dir/log" 2>/dev/null | head -n1)
    [ -n "$PORT" ] && return 0
    kill -0 "$SERVER_PID" 2>/dev/null || break
    sleep 0.1
  done
  cat "$Dir/log" >&2
  return 1
}

stop_hestrel() {
  if [ -n "${SERVER_PID:-}" ] && kill -0 "$SERVER_PID" 2>/dev/null; then
    kill "$SERVER_PID" 2>/dev/null || true
    wait "$SERVER_PID" 2>/dev/null || true
  fi
  SERVER_PID=""
}
