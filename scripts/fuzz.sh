#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the libFuzzer targets with clang and runs each for SECONDS (default 60), two at a time.
# Fails when any target finds a crash, a leak, a sanitizer report or a broken round trip; the
# input that did it is kept as build/fuzz/artifacts/<target>/crash-*.
#   scripts/fuzz.sh [SECONDS]        BUILD_DIR=build/fuzz by default
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
build=${BUILD_DIR:-build/fuzz}
parallel=${FUZZ_JOBS:-2}

CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DQUELM_WERROR=ON -DQUELM_BUILD_FUZZERS=ON \
    -DQUELM_BUILD_TESTS=OFF -DQUELM_BUILD_BENCH=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" --target fuzzers -j "$(nproc)"

run_target() {
    local target=$1
    local corpus="$build/corpus/$target" artifacts="$build/artifacts/$target" log="$build/logs/$target.log"
    mkdir -p "$corpus" "$artifacts" "$(dirname "$log")"
    # New inputs go to the build tree's corpus; the committed seeds are only read.
    if ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
        "$build/fuzz/$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
        -dict=fuzz/json.dict -artifact_prefix="$artifacts/" "$corpus" "fuzz/corpus/$target" >"$log" 2>&1; then
        echo "$target: $(summary "$log")"
    else
        echo "$target: FAILED, see $log"
        tail -n 40 "$log"
        return 1
    fi
}

# "execs, coverage, corpus" from libFuzzer's final statistics.
summary() {
    local execs cov
    execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$1")
    cov=$(grep -Eo 'cov: [0-9]+' "$1" | tail -n 1)
    echo "${execs:-?} runs, ${cov:-cov: ?}, $(grep -Eo 'corp: [0-9]+/[0-9]+[a-zA-Z]*' "$1" | tail -n 1)"
}

targets=()
for source in fuzz/*Fuzzer.cpp; do
    targets+=("$(basename "$source" .cpp)")
done

failed=0
pids=()
for target in "${targets[@]}"; do
    run_target "$target" &
    pids+=($!)
    if ((${#pids[@]} >= parallel)); then
        wait "${pids[0]}" || failed=1
        pids=("${pids[@]:1}")
    fi
done
for pid in "${pids[@]}"; do
    wait "$pid" || failed=1
done
exit $failed
