#!/usr/bin/env bash
# Line and branch coverage of the code by the whole test suite, per top folder.
# Builds with --coverage into ${BUILD_DIR:-build-coverage} (never the normal build), runs every
# test there, and prints one row per folder of code plus their total. Extra arguments go to
# ctest (for instance -R core_tests to see what one program alone covers).
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=${BUILD_DIR:-build-coverage}

bash scripts/deps.sh
if ! command -v gcovr >/dev/null; then
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq gcovr >/dev/null
fi

cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DZEPH_BUILD_BENCH=OFF \
  -DCMAKE_CXX_FLAGS="--coverage -fprofile-update=atomic" -DCMAKE_EXE_LINKER_FLAGS="--coverage" >/dev/null
cmake --build "$BUILD_DIR" -j"$(nproc)" >/dev/null
find "$BUILD_DIR" -name '*.gcda' -delete
ctest --test-dir "$BUILD_DIR" -j2 --timeout 300 "$@" >/dev/null || echo "(some tests failed; figures cover what ran)"

# Only the code's own folders count; throw branches and unreachable ones are the compiler's.
gcovr -r . "$BUILD_DIR" --json "$BUILD_DIR/coverage.json" \
  --exclude-throw-branches --exclude-unreachable-branches \
  -f 'src/' -f 'hosts/' -f 'hestrel/' -f 'apps/' >/dev/null

python3 - "$BUILD_DIR/coverage.json" <<'EOF'
import json, sys
from collections import defaultdict
report = json.load(open(sys.argv[1]))
totals = defaultdict(lambda: [0, 0, 0, 0])  # lines covered, lines, branches taken, branches
for f in report["files"]:
    top = f["file"].split("/")[0]
    t = totals[top]
    for line in f["lines"]:
        if line.get("gcovr/noncode"):
            continue
        t[1] += 1
        t[0] += line["count"] > 0
        for b in line.get("branches", []):
            t[3] += 1
            t[2] += b["count"] > 0
def pct(a, b):
    return f"{100.0 * a / b:5.1f} %" if b else "    -  "
print(f"{'folder':10} {'lines':>9} {'of':>7} {'branches':>9} {'of':>7}")
all_ = [0, 0, 0, 0]
for top in sorted(totals):
    t = totals[top]
    all_ = [x + y for x, y in zip(all_, t)]
    print(f"{top + '/':10} {pct(t[0], t[1]):>9} {t[1]:>7} {pct(t[2], t[3]):>9} {t[3]:>7}")
print(f"{'all':10} {pct(all_[0], all_[1]):>9} {all_[1]:>7} {pct(all_[2], all_[3]):>9} {all_[3]:>7}")
EOF
