# SPDX-License-Identifier: MIT
# Sourced by the installation checks: installs the build in $1 into the prefix it was configured
# for, staged under a temporary DESTDIR removed on exit. Sets `configured` (the prefix),
# `stage` and `prefix` (where the prefix lands in the stage); `fail` says why a check failed as
# `$check_name` and ends it, `present` fails unless a staged file exists and is not empty.
build=$1
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT

configured=$(sed -n 's/^CMAKE_INSTALL_PREFIX:PATH=//p' "$build/CMakeCache.txt")
DESTDIR=$stage cmake --install "$build" >/dev/null
prefix=$stage$configured

fail() { echo "$check_name: $*" >&2; exit 1; }
present() { [ -s "$1" ] || fail "${1#"$stage"} is missing"; }
