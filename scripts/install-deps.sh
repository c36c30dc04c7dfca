#!/usr/bin/env bash
# Installs what Quelm needs to build, run and test on Debian 12. Safe to run again.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config git
  nlohmann-json3-dev libsystemd-dev uuid-dev libicu-dev
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  qt6-base-dev qt6-svg-dev qt6-tools-dev qt6-tools-dev-tools qt6-l10n-tools libqt6svg6
  fonts-inter
  dbus dbus-bin xvfb xauth xdotool
  clang libclang-rt-14-dev
)
# The icons come from the npm registry; a machine that already has node keeps its own.
command -v npm >/dev/null 2>&1 || packages+=(nodejs npm)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done

if ((${#missing[@]})); then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -q
  $sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
fi

# The icon set, pinned by package-lock.json; the build picks its symbols from node_modules.
if [ ! -d "$(dirname "$0")/../node_modules/@phosphor-icons/core" ]; then
  (cd "$(dirname "$0")/.." && npm ci --no-audit --no-fund)
fi
