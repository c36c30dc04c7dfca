#!/usr/bin/env bash
# Builds everything with ThreadSanitizer and runs the whole suite, like scripts/test.sh does for
# the plain and the ASan+UBSan builds. Kept apart from CI, which has no time left for a third
# build. Extra arguments go to ctest, e.g. scripts/tsan.sh -R 'SharedStore|CommandStress'.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${BUILD_DIR:-build/tsan}
jobs=$(nproc)
cmake -S . -B "$build" -G Ninja -DQUELM_WERROR=ON -DQUELM_TSAN=ON -DQUELM_BUILD_BENCH=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$build" -j "$jobs"
TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 ${TSAN_OPTIONS:-}" \
    xvfb-run -a dbus-run-session -- ctest --test-dir "$build" --output-on-failure -j "$jobs" "$@"
