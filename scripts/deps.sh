#!/usr/bin/env bash
# Installs the Debian 12 packages the project needs, only those that are missing.
# Used by main-job.sh, build.sh (so test.sh) and .ci/run; safe to run again.
set -euo pipefail

PACKAGES=(
  build-essential cmake ninja-build pkg-config git
  libgtest-dev libgmock-dev libbenchmark-dev
  libssh-dev libsodium-dev libcli11-dev libpugixml-dev
  qt6-base-dev fonts-dejavu-core
  mono-xbuild
  openssh-client openssh-server openssh-sftp-server
  clang libclang-rt-14-dev
  gdbserver
  rsync
)

missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if ((${#missing[@]})); then
  echo "Installing missing packages: ${missing[*]}"
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${missing[@]}" >/dev/null
fi
