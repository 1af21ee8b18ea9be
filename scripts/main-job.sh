#!/usr/bin/env bash
# The main job, end to end: build, start a Hestrel server on 127.0.0.1 with a generated
# password, make a small remote SDK tree, and walk through zephprof — add a profile for the
# server (password on standard input), test the connection, give it path items in one run and
# update its local file cache from them in a later one, put a file, run a command remotely,
# list, export and import, deploy the example project (examples/hello) through the build
# engine and show the remote program's output — then
# stop the server and say where the settings and the cache are. Exits non-zero when any
# step fails. Installs the Debian packages it needs when they are missing (scripts/deps.sh).
#
#   bash scripts/main-job.sh            # work folder: a new temporary directory
#   WORK=/tmp/zeph bash scripts/main-job.sh
set -euo pipefail
cd "$(dirname "$0")/.."
ROOT=$PWD
BUILD_DIR=${BUILD_DIR:-build}

step() { printf '\n==> %s\n' "$*"; }
fail() { printf 'main job FAILED: %s\n' "$*" >&2; exit 1; }

step "Install what is missing, build"
bash scripts/deps.sh
cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE="${BUILD_TYPE:-RelWithDebInfo}" >/dev/null
cmake --build "$BUILD_DIR" -j"$(nproc)" --target zephprof hestrel
ZEPHPROF=$ROOT/$BUILD_DIR/apps/zephprof/zephprof
HESTREL=$ROOT/$BUILD_DIR/hestrel/hestrel
[ -x "$ZEPHPROF" ] || fail "zephprof was not built"
[ -x "$HESTREL" ] || fail "hestrel was not built"

WORK=${WORK:-$(mktemp -d "${TMPDIR:-/tmp}/zeph-main-job.XXXXXX")}
mkdir -p "$WORK"
WORK=$(cd "$WORK" && pwd)
SETTINGS=$WORK/config/settings.ini
DATA=$WORK/data
CACHE=$WORK/cache
REMOTE=$WORK/remote          # the "remote machine's" files (the server runs here, on loopback)
SDK=$REMOTE/sdk
PROFILE="Main Job"
# Every zephprof call: this job's own settings file and data directory; questions answered Yes.
z() { "$ZEPHPROF" --settings "$SETTINGS" --data-dir "$DATA" --yes "$@"; }

source scripts/hestrel-server.sh
trap stop_hestrel EXIT

step "Start a Hestrel server on 127.0.0.1 (generated password, work folder $WORK)"
start_hestrel "$HESTREL" "$WORK/server" "$REMOTE" || fail "the server did not start"
echo "hestrel (pid $SERVER_PID) listening on 127.0.0.1:$PORT"

step "Make a small remote SDK tree in $SDK"
mkdir -p "$SDK/usr/include/sys" "$SDK/usr/lib"
printf '#pragma once\nint zeph_answer(void);\n' > "$SDK/usr/include/zeph.h"
printf '#pragma once\ntypedef int zeph_t;\n' > "$SDK/usr/include/sys/types_zeph.h"
printf 'not really a library\n' > "$SDK/usr/lib/libzeph.so"
printf 'ignored\n' > "$SDK/usr/include/notes.txt"

step "Add a profile for the server (password on standard input)"
z add "$PROFILE" --platform Linux64 --host 127.0.0.1 --port "$PORT" --local-root "$CACHE" --password-stdin \
  < "$WORK/server/password"
grep -qF "$(cat "$WORK/server/password")" "$SETTINGS" && fail "the password is in the settings file in clear"
z show "$PROFILE"

step "Test the connection"
z test "$PROFILE"

step "Give the profile its remote SDK path items (kept in the settings file)"
z paths "$PROFILE" add "$SDK/usr/include" '*.h' include --subdirs
z paths "$PROFILE" add "$SDK/usr/lib" libzeph.so library

step "Update the local file cache from the remote tree (a later run: the items were stored)"
z paths "$PROFILE" list
[ "$(z paths "$PROFILE" list | wc -l)" -eq 2 ] || fail "the path items did not outlive the run that added them"
z update-cache "$PROFILE"
for f in "$SDK/usr/include/zeph.h" "$SDK/usr/include/sys/types_zeph.h" "$SDK/usr/lib/libzeph.so"; do
  [ -f "$CACHE$f" ] || fail "the cache lacks $CACHE$f"
done
[ -e "$CACHE$SDK/usr/include/notes.txt" ] && fail "the cache holds a file the mask excludes"
echo "cache holds: $(cd "$CACHE" && find . -type f | sort | tr '\n' ' ')"

step "Put a file on the remote machine"
mkdir -p "$WORK/local" "$REMOTE/deploy"
echo "hello from zephprof $(date -u +%FT%TZ)" > "$WORK/local/hello.txt"
z put "$PROFILE" "$WORK/local/hello.txt" --to "$REMOTE/deploy"
cmp -s "$WORK/local/hello.txt" "$REMOTE/deploy/hello.txt" || fail "the file did not arrive"

step "Run a command remotely"
z run "$PROFILE" --cwd "$REMOTE/deploy" --output "$REMOTE/deploy/run.out" /bin/sh -c 'uname -a; wc -c < hello.txt'
for _ in $(seq 1 50); do [ -s "$REMOTE/deploy/run.out" ] && break; sleep 0.1; done
[ -s "$REMOTE/deploy/run.out" ] || fail "the remote command wrote nothing"
echo "remote output:"; sed 's/^/  /' "$REMOTE/deploy/run.out"

step "Deploy the example project: it needs a profile for Linux64 until one is assigned"
cp -r examples/hello "$WORK/hello"
z ensure "$WORK/hello/hello.proj" && fail "ensure found a profile before one was assigned"
z assign "$WORK/hello/hello.proj" Linux64 "$PROFILE"
z ensure "$WORK/hello/hello.proj"
z env-file
# The project's Deploy target puts the program into RemoteDir and runs it there; --yes
# answers the question to compile it first.
RemoteDir="$REMOTE/deploy" z deploy "$WORK/hello/hello.proj"
for _ in $(seq 1 50); do [ -s "$REMOTE/deploy/hello.out" ] && break; sleep 0.1; done
[ -s "$REMOTE/deploy/hello.out" ] || fail "the deployed program wrote nothing"
echo "the deployed program's output:"; sed 's/^/  /' "$REMOTE/deploy/hello.out"

step "List, export and import"
z list
z export "$PROFILE" "$WORK/main-job.profile"
# Into a second settings file of this user (the same data directory holds the password key).
"$ZEPHPROF" --settings "$WORK/imported/settings.ini" --data-dir "$DATA" import "$WORK/main-job.profile"
"$ZEPHPROF" --settings "$WORK/imported/settings.ini" --data-dir "$DATA" list
"$ZEPHPROF" --settings "$WORK/imported/settings.ini" --data-dir "$DATA" test "$PROFILE"

step "Stop the server"
stop_hestrel

printf '\nMain job done.\n  settings:      %s\n  profile files: %s\n  file cache:    %s\n  exported:      %s\n' \
  "$SETTINGS" "$DATA" "$CACHE" "$WORK/main-job.profile"
