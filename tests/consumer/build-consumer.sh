#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs this build into a scratch prefix, then builds and runs the consumer against it, once
# through the CMake package (with the README's lines) and once through pkg-config.
set -euo pipefail
build_dir=$1
source_dir=$(cd "$(dirname "$0")" && pwd)
readme=$(cd "$source_dir/../.." && pwd)/README.md
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# Staged: the installation also has files outside the prefix (the autostart entry).
DESTDIR=$scratch/stage cmake --install "$build_dir" --prefix /opt/quelm >/dev/null
prefix=$scratch/stage/opt/quelm
cmake -S "$source_dir" -B "$scratch/build" -DCMAKE_PREFIX_PATH="$prefix" -DREADME="$readme" >/dev/null
cmake --build "$scratch/build" >/dev/null
"$scratch/build/my-app" "$scratch/container"

export PKG_CONFIG_PATH="$prefix/lib/pkgconfig:$prefix/lib/x86_64-linux-gnu/pkgconfig"
c++ -o "$scratch/consumer-pc" "$source_dir/main.cpp" $(pkg-config --cflags --libs --static quelm-shared)
"$scratch/consumer-pc" "$scratch/container-pc"
