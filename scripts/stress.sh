#!/usr/bin/env bash
# The long runs behind docs/RELIABILITY.md: the crash-consistency kills and the multi-process
# command stress at full strength (CI runs both smaller). Prints the figures each run reports.
#   scripts/stress.sh                 1000 kills per operation, 10000 taps
#   KILLS=5000 TOGGLES=40000 scripts/stress.sh
#   BUILD_DIR=build/stress by default; SANITIZE=address or SANITIZE=thread for a sanitized build
set -euo pipefail
cd "$(dirname "$0")/.."

build=${BUILD_DIR:-build/stress}
options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo)
case "${SANITIZE:-}" in
    address) options=(-DCMAKE_BUILD_TYPE=Debug -DQUELM_SANITIZE=ON) ;;
    thread) options=(-DQUELM_TSAN=ON) ;;
    "") ;;
    *) echo "SANITIZE is address or thread" >&2; exit 2 ;;
esac

cmake -S . -B "$build" -G Ninja -DQUELM_WERROR=ON -DQUELM_BUILD_BENCH=OFF "${options[@]}" >/dev/null
cmake --build "$build" --target CrashConsistencyTests CommandStressTests -j "$(nproc)"

QUELM_CRASH_KILLS=${KILLS:-1000} "$build/tests/CrashConsistencyTests"
QUELM_STRESS_TOGGLES=${TOGGLES:-10000} "$build/tests/CommandStressTests"
