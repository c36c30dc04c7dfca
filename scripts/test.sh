#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs what is missing, builds with warnings as errors, runs every test twice (once in a
# plain build, once under AddressSanitizer and UndefinedBehaviorSanitizer), then each fuzzer for a
# minute. Suites that need a session bus or a display get their own, private ones.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh test

jobs=$(nproc)
run_suite() {
    local dir=$1; shift
    cmake -S . -B "$dir" -G Ninja -DQUELM_WERROR=ON "$@"
    cmake --build "$dir" -j "$jobs"
    xvfb-run -a dbus-run-session -- ctest --test-dir "$dir" --output-on-failure -j "$jobs"
}

# Configured for /usr, as a Debian package is: the package test builds, installs and removes it.
run_suite build/test -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_INSTALL_PREFIX=/usr
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
LSAN_OPTIONS="suppressions=$PWD/tests/lsan-suppressions.txt:print_suppressions=0" \
    run_suite build/sanitize -DCMAKE_BUILD_TYPE=Debug -DQUELM_SANITIZE=ON -DQUELM_BUILD_BENCH=OFF
# Every fuzzer for a minute, on a clang build of its own; any crash fails the run.
bash scripts/fuzz.sh 60
