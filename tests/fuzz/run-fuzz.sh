#!/bin/sh
# Fuzzes the profile-file reader (docs/profile-file-format.md) with libFuzzer.
#   tests/fuzz/run-fuzz.sh [seconds]      (default 60)
# Configures a separate clang build directory (ZEPH_FUZZ_BUILD_DIR, default build-fuzz),
# builds profile_reader_fuzz, and runs it for the given time on a copy of the seed corpus
# tests/fuzz/corpus (new inputs go to a scratch directory, not into the repository).
# A crash is saved under tests/fuzz/regressions/ and the script exits non-zero; commit the
# file there: ProfileFileRegressionTest feeds every file of it to the reader.
set -eu
Seconds=${1:-60}
Here=$(cd "$(dirname "$0")" && pwd)
Source=$(cd "$Here/../.." && pwd)
Build=${ZEPH_FUZZ_BUILD_DIR:-$Source/build-fuzz}
Cxx=${CXX_FUZZ:-$(command -v clang++-14 || command -v clang++)}

cmake -S "$Source" -B "$Build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER="$Cxx" \
  -DZEPH_BUILD_FUZZ=ON -DZEPH_BUILD_BENCH=OFF >/dev/null
cmake --build "$Build" --target profile_reader_fuzz

Work=$(mktemp -d "${TMPDIR:-/tmp}/zeph-fuzz-XXXXXX")
trap 'rm -rf "$Work"' EXIT INT TERM
cp "$Here"/corpus/* "$Work"/
mkdir -p "$Here/regressions"
"$Build/tests/fuzz/profile_reader_fuzz" -max_total_time="$Seconds" -max_len=16384 -timeout=10 \
  -dict="$Here/profile.dict" -artifact_prefix="$Here/regressions/" -print_final_stats=1 "$Work"
