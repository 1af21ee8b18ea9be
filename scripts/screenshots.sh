#!/usr/bin/env bash
# Makes the README's pictures of zephprof-gui's windows again (docs/screenshots/*.png): the GUI
# tests drive every window on Qt's offscreen platform against a hestrel on loopback and save
# each one as it looks at that moment.
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=${BUILD_DIR:-build}
bash scripts/build.sh
mkdir -p docs/screenshots
ZEPH_SCREENSHOT_DIR="$PWD/docs/screenshots" "$BUILD_DIR/tests/gui_tests" -silent
ls docs/screenshots
