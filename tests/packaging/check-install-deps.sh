#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The run command installs what running needs and nothing of the tests; the test command gets
# both sets.
#   check-install-deps.sh SOURCE_DIR
set -euo pipefail
source_dir=$1
script=$source_dir/scripts/install-deps.sh
fail() { echo "check-install-deps: $*" >&2; exit 1; }

run_set=$(bash "$script" --print run)
test_set=$(bash "$script" --print test)
for package in googletest libgtest-dev libgmock-dev libbenchmark-dev clang libclang-rt-14-dev xvfb dpkg-dev appstream desktop-file-utils; do
    grep -qx "$package" <<<"$run_set" && fail "the run set installs $package, which only the tests need"
    grep -qx "$package" <<<"$test_set" || fail "the test set lacks $package"
done
for package in $run_set; do
    grep -qx "$package" <<<"$test_set" || fail "the test set lacks $package, which building needs"
done
for package in qt6-base-dev libsystemd-dev nlohmann-json3-dev help2man fonts-inter; do
    grep -qx "$package" <<<"$run_set" || fail "the run set lacks $package"
done
if bash "$script" --print everything >/dev/null 2>&1; then
    fail "an unknown set is accepted"
fi
grep -qx 'bash scripts/install-deps.sh run' "$source_dir/scripts/run.sh" || fail "scripts/run.sh does not install the run set"
grep -qx 'bash scripts/install-deps.sh test' "$source_dir/scripts/test.sh" || fail "scripts/test.sh does not install the test set"
echo "check-install-deps: run installs $(wc -l <<<"$run_set") packages, test $(wc -l <<<"$test_set")"
