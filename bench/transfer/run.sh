#!/usr/bin/env bash
# Transfer benchmark (issue 4): the Hestrel client against rsync, tar over ssh and scp, all
# talking to the same local `hestrel` server on loopback, measured in the same run.
#
#   bash bench/transfer/run.sh [REPETITIONS]      (default 3; medians are reported)
#
# Workload (perf-baselines.md): a synthetic SDK of 20,000 files of 1-8 KiB in 400 folders
# plus 20 files of 5-50 MiB, pulled into an empty cache, then pulled again with nothing
# changed; and one 1 GiB file pushed. Everything lives in tmpfs (/dev/shm) so the disk does
# not decide. Every reference uses the cipher the Hestrel client prefers (aes128-gcm), so the
# comparison is of transfer designs, not of ciphers. Times are whole commands (process start,
# connection and login included) for every contender. Needs about 4 GB of /dev/shm.
set -euo pipefail
cd "$(dirname "$0")/../.."
ROOT=$PWD
REPS=${1:-3}
BUILD_DIR=${BUILD_DIR:-build-bench}

bash scripts/deps.sh
cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=Release -DZEPH_BUILD_TESTS=OFF \
  -DCMAKE_CXX_FLAGS=-Wno-restrict >/dev/null
cmake --build "$BUILD_DIR" -j"$(nproc)" --target hestrel hestrel_transfer >/dev/null
DRIVER=$ROOT/$BUILD_DIR/bench/hestrel_transfer
HESTREL=$ROOT/$BUILD_DIR/hestrel/hestrel

WORK=$(mktemp -d /dev/shm/zeph-transfer-bench.XXXXXX)
source scripts/hestrel-server.sh
trap 'stop_hestrel; rm -rf "$WORK"' EXIT

REMOTE=$WORK/remote
mkdir -p "$REMOTE" "$WORK/server" "$WORK/appdata"
echo "== making the data in $WORK"
"$DRIVER" make-sdk "$REMOTE/sdk"
"$DRIVER" make-file "$WORK/big.bin" 1024
start_hestrel "$HESTREL" "$WORK/server" "$REMOTE" || { echo "the server did not start" >&2; exit 1; }

# OpenSSH clients log in with the server's password through SSH_ASKPASS.
printf '#!/bin/sh\ncat %q\n' "$WORK/server/password" > "$WORK/askpass"
chmod 700 "$WORK/askpass"
export SSH_ASKPASS=$WORK/askpass SSH_ASKPASS_REQUIRE=force DISPLAY=${DISPLAY:-:0}
SSH_OPTS=(-o StrictHostKeyChecking=no -o "UserKnownHostsFile=$WORK/known_hosts" -o LogLevel=ERROR
          -o PreferredAuthentications=password,keyboard-interactive -o BatchMode=no
          -c aes128-gcm@openssh.com)
printf '#!/bin/sh\nexec ssh %s -p %s "$@"\n' "$(printf '%q ' "${SSH_OPTS[@]}")" "$PORT" > "$WORK/ssh"
chmod 700 "$WORK/ssh"
SSH=$WORK/ssh

# seconds COMMAND...: runs the command, prints its wall time in seconds.
seconds() {
  local T0 T1
  T0=$(date +%s.%N)
  "$@" >"$WORK/last.out" 2>"$WORK/last.err" || { cat "$WORK/last.err" >&2; echo "FAILED: $*" >&2; exit 1; }
  T1=$(date +%s.%N)
  awk -v a="$T0" -v b="$T1" 'BEGIN {printf "%.3f", b - a}'
}
median() { printf '%s\n' "$@" | sort -g | awk '{a[NR]=$1} END {print (NR%2) ? a[(NR+1)/2] : (a[NR/2]+a[NR/2+1])/2}'; }
fresh() { rm -rf "$WORK/local"; mkdir -p "$WORK/local"; sync; }

pull_hestrel() { "$DRIVER" pull "$PORT" "$WORK/server/password" "$WORK/appdata" "$REMOTE/sdk" "$WORK/local"; }
pull_rsync() { rsync -a -e "$SSH" "127.0.0.1:$REMOTE/sdk/" "$WORK/local/"; }
pull_tar() { "$SSH" 127.0.0.1 "cd '$REMOTE/sdk' && tar cf - ." | tar xf - -C "$WORK/local"; }
pull_scp() { scp -q -r -P "$PORT" "${SSH_OPTS[@]}" "127.0.0.1:$REMOTE/sdk" "$WORK/local/"; }
push_hestrel() {
  rm -rf "$REMOTE/in"; mkdir -p "$REMOTE/in"
  "$DRIVER" push "$PORT" "$WORK/server/password" "$WORK/appdata" "$WORK/big.bin" "$REMOTE/in"
}
push_scp() { rm -rf "$REMOTE/in"; mkdir -p "$REMOTE/in"; scp -q -P "$PORT" "${SSH_OPTS[@]}" "$WORK/big.bin" "127.0.0.1:$REMOTE/in/"; }

# fresh_pull NAME: an empty cache, a moment for the kernel to settle after freeing the last
# copy, then the timed pull (hestrel and rsync: also the unchanged refresh right after).
declare -A T
fresh_pull() {
  fresh; sleep 1
  T[${1}_fresh]+=" $(seconds "pull_$1")"
  case $1 in
    hestrel)
      STATS=$(cat "$WORK/last.out")
      # The Hestrel cache lands under LOCAL_ROOT + remote path; compare with the source.
      diff -rq "$REMOTE/sdk" "$WORK/local$REMOTE/sdk" >/dev/null || { echo "hestrel pull differs" >&2; exit 1; }
      T[hestrel_again]+=" $(seconds pull_hestrel)"; STATS_AGAIN=$(cat "$WORK/last.out") ;;
    rsync) T[rsync_again]+=" $(seconds pull_rsync)" ;;
  esac
}
CONTENDERS=(hestrel rsync tar scp)
for R in $(seq 1 "$REPS"); do
  echo "== repetition $R of $REPS"
  # The order rotates each repetition, so no contender always follows the same one.
  for I in 0 1 2 3; do fresh_pull "${CONTENDERS[$(( (I + R - 1) % 4 ))]}"; done
  fresh; sleep 1
  if (( R % 2 )); then
    T[hestrel_push]+=" $(seconds push_hestrel)"; T[scp_push]+=" $(seconds push_scp)"
  else
    T[scp_push]+=" $(seconds push_scp)"; T[hestrel_push]+=" $(seconds push_hestrel)"
  fi
  cmp -s "$WORK/big.bin" "$REMOTE/in/big.bin" || { echo "push differs" >&2; exit 1; }
done

declare -A M
for K in "${!T[@]}"; do
  # shellcheck disable=SC2086
  M[$K]=$(median ${T[$K]})
done
ratio() { awk -v a="$1" -v b="$2" 'BEGIN {printf "%.2f", a / b}'; }
mbps() { awk -v t="$1" 'BEGIN {printf "%.0f", 1073.741824 / t}'; }
percent() { awk -v a="$1" -v b="$2" 'BEGIN {printf "%.0f", 100 * a / b}'; }

cat <<EOF

Transfer benchmark, $(date -u +%F), $REPS repetitions (medians, seconds), $(nproc) cores, tmpfs
Hestrel client last fresh pull: $STATS
Hestrel client last refresh:    $STATS_AGAIN

| workload | Hestrel client | rsync -a | tar \| ssh \| tar | scp -r | goal | ratio |
|---|---|---|---|---|---|---|
| SDK, fresh pull | ${M[hestrel_fresh]} | ${M[rsync_fresh]} | ${M[tar_fresh]} | ${M[scp_fresh]} | <= 1.5 x rsync | $(ratio "${M[hestrel_fresh]}" "${M[rsync_fresh]}") x rsync |
| SDK, unchanged refresh | ${M[hestrel_again]} | ${M[rsync_again]} | | | <= 2 x rsync | $(ratio "${M[hestrel_again]}" "${M[rsync_again]}") x rsync |

| 1 GiB push | Hestrel client | scp | goal | ratio |
|---|---|---|---|---|
| seconds | ${M[hestrel_push]} | ${M[scp_push]} | | |
| MB/s | $(mbps "${M[hestrel_push]}") | $(mbps "${M[scp_push]}") | >= 70 % of scp | $(percent "${M[scp_push]}" "${M[hestrel_push]}") % of scp |

All runs: $(for K in $(printf '%s\n' "${!T[@]}" | sort); do printf '%s:%s; ' "$K" "${T[$K]}"; done)
EOF
