#!/usr/bin/env bash
# Reliability run of the settings store (not a test): zephprof killed with SIGKILL while it
# saves, and writers run at the same time; prints what was kept.
#
#   bash bench/reliability/store.sh PATH/TO/zephprof [KILL_TRIALS] [PARALLEL_PAIRS]
#
# Kill trials (default 300): a change (set a profile's host and port, add a profile, remove
# the one added before) is started and killed with SIGKILL, in turn: after a random delay
# within a run's usual length; as soon as a profile file's temporary appears (mid-write); as
# soon as the settings file's temporary appears (profile files written, commit not yet
# done). After each one:
#   torn       the settings file does not load, or a profile file is cut short (no "End")
#   lost       the change was reported (exit 0) but a later load does not show it
#   split      a load shows a profile other than the committed settings file holds it
#   leftovers  temporary files (.*.tmp-XXXXXX, settings.ini.adding) still there after the next
#              writer ran
# and at the end, how many profile files no profile of the store names (what a killed add,
# copy or rename wrote for a name it never committed).
# Parallel writers (default 50 pairs each): two adds at once, then a remove racing an add;
# a change counts as kept when a later load shows it (and a removed profile's file is gone).
set -uo pipefail

if [ $# -lt 1 ] || [ ! -x "$1" ]; then
  echo "usage: $0 PATH/TO/zephprof [KILL_TRIALS] [PARALLEL_PAIRS]" >&2
  exit 2
fi
ZEPHPROF=$(readlink -f "$1")
TRIALS=${2:-300}
PAIRS=${3:-50}
WORK=$(mktemp -d "${TMPDIR:-/tmp}/zeph-store-reliability.XXXXXX")
trap 'rm -rf "$WORK"' EXIT
SETTINGS=$WORK/config/settings.ini
DATA=$WORK/data

z() { "$ZEPHPROF" --settings "$SETTINGS" --data-dir "$DATA" --yes "$@" </dev/null 2>/dev/null; }
# The host name a load shows for a profile ("" when it has none).
shown_host() { z --json show "$1" | sed -n 's/.*"hostName":"\([^"]*\)".*/\1/p'; }
# The host name the committed settings file holds for a profile.
stored_host() {
  awk -v section="[RemoteProfiles\\\\$1]" '
    $0 == section { inside = 1; next }
    /^\[/ { inside = 0 }
    inside && /^HostName=/ { sub(/^HostName=/, ""); print; exit }' "$SETTINGS"
}
# Kills PID as soon as a file matching PATTERN exists (busy wait); false when PID ended first.
kill_at() {
  local pid=$1 pattern=$2
  while kill -0 "$pid" 2>/dev/null; do
    if compgen -G "$pattern" >/dev/null; then
      kill -9 "$pid" 2>/dev/null
      return 0
    fi
  done
  return 1
}
# Temporary files of atomic writes in both folders, and the list of names a commit is adding.
temporaries() { find "$WORK/config" "$DATA" -maxdepth 1 \( -name '.*.tmp-??????' -o -name '*.adding' \) | wc -l; }
# Profile files that no profile of the store names.
unlisted() {
  local count=0 file name
  for file in "$DATA"/*.profile; do
    [ -e "$file" ] || continue
    name=$(basename "$file" .profile)
    grep -qxF "[RemoteProfiles\\$name]" "$SETTINGS" || count=$((count + 1))
  done
  echo "$count"
}

# ---- kill -9 during saves ------------------------------------------------------------------
z add P1 --platform Linux64 --host h0 >/dev/null
z add P2 --platform Linux64 --host p2 >/dev/null
# A run's usual length in microseconds (ten unkilled runs), for the random delays.
start=$(date +%s%N)
for ((i = 0; i < 10; i++)); do z set P2 --port $((3000 + i)) >/dev/null; done
length=$((($(date +%s%N) - start) / 10000))
torn=0 lost=0 split=0 leftovers=0 reported=0 killed=0 mid_save=0
for ((i = 1; i <= TRIALS; i++)); do
  case $((i % 3)) in
    1) args=(set P1 --host "h$i" --port $((1000 + i))) ;;
    2) args=(add "T$i" --platform Linux64 --host "t$i") ;;
    0) args=(remove "T$((i - 1))") ;;
  esac
  # The program itself in the background (not a subshell around it), so the kill reaches it.
  "$ZEPHPROF" --settings "$SETTINGS" --data-dir "$DATA" --yes "${args[@]}" </dev/null >/dev/null 2>&1 &
  pid=$!
  case $(((i / 3) % 3)) in
    0) sleep "$(printf '0.%06d' $(((RANDOM * 32768 + RANDOM) % length)))"; kill -9 "$pid" 2>/dev/null ;;
    1) kill_at "$pid" "$DATA/.*.profile.tmp-*" && mid_save=$((mid_save + 1)) ;;
    2) kill_at "$pid" "$WORK/config/.settings.ini.tmp-*" && mid_save=$((mid_save + 1)) ;;
  esac
  wait "$pid" 2>/dev/null
  status=$?
  ((status == 137)) && killed=$((killed + 1))

  damaged=0
  z list >/dev/null || damaged=1
  for file in "$DATA"/*.profile; do
    [ -e "$file" ] && [ "$(tail -n 1 "$file")" != "End" ] && damaged=1
  done
  torn=$((torn + damaged))

  if ((status == 0)); then
    reported=$((reported + 1))
    case $((i % 3)) in
      1) [ "$(shown_host P1)" = "h$i" ] || lost=$((lost + 1)) ;;
      2) z show "T$i" >/dev/null || lost=$((lost + 1)) ;;
      0) { ! z show "T$((i - 1))" >/dev/null && [ ! -e "$DATA/T$((i - 1)).profile" ]; } || lost=$((lost + 1)) ;;
    esac
  fi
  [ "$(shown_host P1)" = "$(stored_host P1)" ] || split=$((split + 1))

  z set P2 --port $((2000 + i)) >/dev/null  # the next writer
  (($(temporaries) > 0)) && leftovers=$((leftovers + 1))
done
echo "kill -9 during saves: $TRIALS trials, a run taking ~$((length / 1000)) ms: $killed killed ($mid_save of them" \
  "while a temporary file was there), $reported reported success"
echo "  torn settings or profile file:       $torn"
echo "  reported change lost:                $lost"
echo "  load differs from committed settings: $split"
echo "  leftovers after the next writer:     $leftovers"
echo "  unlisted profile files at the end:   $(unlisted) (of $(find "$DATA" -maxdepth 1 -name '*.profile' | wc -l))"

# ---- parallel writers ------------------------------------------------------------------------
# race LABEL: each pair runs first_change I and second_change I at once, then counts the changes
# that first_kept I and second_kept I find in the store ("listed" holds its list for them).
race() {
  local i kept=0 reported listed
  for ((i = 0; i < PAIRS; i++)); do
    (first_change "$i" >/dev/null; echo $? >>"$WORK/statuses") &
    (second_change "$i" >/dev/null; echo $? >>"$WORK/statuses") &
    wait
  done
  reported=$(grep -cx 0 "$WORK/statuses")
  rm -f "$WORK/statuses"
  listed=$(z list)
  for ((i = 0; i < PAIRS; i++)); do
    first_kept "$i" && kept=$((kept + 1))
    second_kept "$i" && kept=$((kept + 1))
  done
  echo "$1: $kept of $((2 * PAIRS)) changes kept ($reported reported success)"
}
rm -rf "$WORK/config" "$DATA"
first_change() { z add "A$1" --platform Linux64 --host a; }
second_change() { z add "B$1" --platform Linux64 --host b; }
first_kept() { grep -q " A$1  " <<<"$listed"; }
second_kept() { grep -q " B$1  " <<<"$listed"; }
race "parallel adds in pairs"

for ((i = 0; i < PAIRS; i++)); do z add "R$i" --platform Linux64 --host r >/dev/null; done
first_change() { z remove "R$1"; }
second_change() { z add "N$1" --platform Linux64 --host n; }
first_kept() { ! grep -q " R$1  " <<<"$listed" && [ ! -e "$DATA/R$1.profile" ]; }
second_kept() { grep -q " N$1  " <<<"$listed"; }
race "remove racing add"
