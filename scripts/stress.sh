#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The long runs behind docs/RELIABILITY.md: the crash-consistency kills, the multi-process
# command stress, the killed and concurrent consumers and the concurrent marks at full strength
# (CI runs them smaller). Prints the figures each run reports.
#   scripts/stress.sh                 1000 kills per operation, 10000 taps, 10000 commands shared
#   KILLS=5000 TOGGLES=40000 COMMANDS=40000 scripts/stress.sh
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
cmake --build "$build" --target CrashConsistencyTests CommandStressTests CommandConsumerTests ContainerWritesTests \
    QuelmctlDeliveryTests quelmctl -j "$(nproc)"

QUELM_CRASH_KILLS=${KILLS:-1000} "$build/tests/CrashConsistencyTests"
QUELM_STRESS_TOGGLES=${TOGGLES:-10000} "$build/tests/CommandStressTests"
# Consumers of the claim path killed at random, and four of them at once.
QUELM_CLAIM_KILLS=${KILLS:-1000} QUELM_CLAIM_COMMANDS=${COMMANDS:-10000} "$build/tests/CommandConsumerTests" \
    --gtest_filter='*Killed*:*Concurrent*'
# The same through `quelmctl drain`: 60 commands a kill, as in the run that found the loss.
QUELM_DRAIN_KILLS=${KILLS:-1000} QUELM_CLAIM_COMMANDS=${COMMANDS:-10000} QUELMCTL="$build/tools/quelmctl/quelmctl" \
    "$build/tests/QuelmctlDeliveryTests" --gtest_filter='*Killed*:*AtOnce*' # watch: a third of KILLS
# Eight processes marking at once.
"$build/tests/ContainerWritesTests" --gtest_filter='*Marking*'

