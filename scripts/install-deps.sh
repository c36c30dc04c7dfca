#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs what Quelm needs on Debian 12. Safe to run again.
#   scripts/install-deps.sh run     what building and running needs (scripts/run.sh)
#   scripts/install-deps.sh test    that, plus what the tests, benchmarks, fuzzers and the package
#                                   check need (scripts/test.sh); the default
#   scripts/install-deps.sh --print run|test    list the packages of a set, install nothing
set -euo pipefail

print=""
if [ "${1:-}" = "--print" ]; then
  print=yes
  shift
fi
set_name=${1:-test}

run_packages=(
  build-essential cmake ninja-build pkg-config git
  nlohmann-json3-dev libsystemd-dev uuid-dev libicu-dev libtomlplusplus-dev
  qt6-base-dev qt6-svg-dev qt6-tools-dev qt6-tools-dev-tools qt6-l10n-tools libqt6svg6 libxcb1-dev
  libwayland-dev wayland-protocols qt6-wayland
  fonts-inter fonts-noto-color-emoji fonts-noto-cjk
  dbus dbus-bin python3
  help2man
)
test_packages=(
  googletest libgtest-dev libgmock-dev libbenchmark-dev libsimdjson-dev
  xvfb xauth xdotool x11-utils
  sway grim
  clang libclang-rt-14-dev
  dpkg-dev file desktop-file-utils appstream man-db bash-completion zsh systemd dbus-user-session util-linux curl procps
  strace
)

case $set_name in
  run) packages=("${run_packages[@]}") ;;
  test) packages=("${run_packages[@]}" "${test_packages[@]}") ;;
  *) echo "install-deps.sh: unknown set \"$set_name\"; use run or test" >&2; exit 2 ;;
esac

if [ -n "$print" ]; then
  printf '%s\n' "${packages[@]}"
  exit 0
fi

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

# The icon set, pinned by package-lock.json; the build picks its symbols from node_modules
# (a build given -DQUELM_ICONS_DIR= an unpacked copy does not need it).
if [ ! -d "$(dirname "$0")/../node_modules/@phosphor-icons/core" ]; then
  (cd "$(dirname "$0")/.." && npm ci --no-audit --no-fund)
fi
