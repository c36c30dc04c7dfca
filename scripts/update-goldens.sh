#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Regenerates the golden view trees and images in tests/golden/ from the sample entry, with the
# clock and locale the view tests use. Look at every image before keeping them.
#   scripts/update-goldens.sh [BUILD_DIR]     (default build/goldens)
set -euo pipefail
cd "$(dirname "$0")/.."

build=${1:-build/goldens}
cmake -S . -B "$build" -G Ninja >/dev/null
cmake --build "$build" --target quelm-widget -j "$(nproc)"
widget="$build/QuelmWidget/App/quelm-widget"

export QT_QPA_PLATFORM=offscreen LC_ALL=pt_BR.UTF-8
now=1700000000
mkdir -p tests/golden
for family in small medium large extraLarge; do
    for status in running notRunning noAccess; do
        "$widget" render --family "$family" --sample --status "$status" --now "$now" --format json \
            -o "tests/golden/$family-$status.json"
    done
    "$widget" render --family "$family" --sample --now "$now" --scale 2 -o "tests/golden/$family.png"
done
echo "tests/golden: $(ls tests/golden | wc -l) files written"
