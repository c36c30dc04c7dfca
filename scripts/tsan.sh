#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds everything with ThreadSanitizer and runs the whole suite, like scripts/test.sh does for
# the plain and the ASan+UBSan builds. Kept apart from CI, which has no time left for a third
# build. Extra arguments go to ctest, e.g. scripts/tsan.sh -R 'SharedStore|CommandStress'.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${BUILD_DIR:-build/tsan}
jobs=$(nproc)
cmake -S . -B "$build" -G Ninja -DQUELM_WERROR=ON -DQUELM_TSAN=ON -DQUELM_BUILD_BENCH=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$build" -j "$jobs"

# Qt, GLib and libdbus come from the distribution, built without ThreadSanitizer: their locks,
# reference counts and thread pools synchronize through atomics the sanitizer never sees. So:
# - ignore_noninstrumented_modules: the allocations, frees and copies those libraries make on
#   their own threads (QPainter's raster threads, QThreadPool's queue, posted events, D-Bus and
#   GLib's wake-up fds) are not checked; every access our own code makes still is.
# - the one report left is a QFuture's result being destroyed by the thread that drops the last
#   reference, after the pool thread stored it: Qt hands it over through its reference count and
#   waitForFinished, both inside the uninstrumented library. Only that destructor is suppressed.
suppressions="$build/tsan-suppressions.txt"
cat >"$suppressions" <<'SUPPRESSIONS'
race:QtPrivate::ResultStoreBase::clear
SUPPRESSIONS

TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 ignore_noninstrumented_modules=1 suppressions=$(realpath "$suppressions") ${TSAN_OPTIONS:-}" \
    xvfb-run -a dbus-run-session -- ctest --test-dir "$build" --output-on-failure -j "$jobs" "$@"
