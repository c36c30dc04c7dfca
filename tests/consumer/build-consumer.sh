#!/usr/bin/env bash
# Installs this build into a scratch prefix, then builds and runs the consumer against it, once
# through the CMake package and once through pkg-config.
set -euo pipefail
build_dir=$1
source_dir=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build_dir" --prefix "$scratch/prefix" >/dev/null
cmake -S "$source_dir" -B "$scratch/build" -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
cmake --build "$scratch/build" >/dev/null
"$scratch/build/consumer" "$scratch/container"

export PKG_CONFIG_PATH="$scratch/prefix/lib/pkgconfig:$scratch/prefix/lib/x86_64-linux-gnu/pkgconfig"
c++ -o "$scratch/consumer-pc" "$source_dir/main.cpp" $(pkg-config --cflags --libs --static quelm-shared)
"$scratch/consumer-pc" "$scratch/container-pc"
