#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# A build without the network: configures the project with -DQUELM_ICONS_DIR= an unpacked copy of
# the icon set outside the source tree, and checks that the symbols are picked from that copy;
# and that a directory without the set is refused when configuring, naming the option.
#   check-icons-dir.sh SOURCE_DIR ICONS_DIR
set -euo pipefail
source_dir=$1 icons=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail() { echo "check-icons-dir: $*" >&2; exit 1; }

# The unpacked package, as a distribution would have it, with one symbol marked as ours.
mkdir -p "$scratch/phosphor/assets"
cp -r "$icons/assets/fill" "$scratch/phosphor/assets/"
cp "$icons/LICENSE" "$scratch/phosphor/"
printf '<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 256 256"><!-- offline copy --><path d="M0 0h256v256z"/></svg>\n' \
    >"$scratch/phosphor/assets/fill/leaf-fill.svg"
options=(-G Ninja -DQUELM_BUILD_TESTS=OFF -DQUELM_BUILD_BENCH=OFF)
cmake -S "$source_dir" -B "$scratch/build" "${options[@]}" -DQUELM_ICONS_DIR="$scratch/phosphor" >"$scratch/configure.log" 2>&1 \
    || { cat "$scratch/configure.log" >&2; fail "configuring with QUELM_ICONS_DIR failed"; }
picked=QuelmWidget/Views/symbols/leaf.fill.svg
cmake --build "$scratch/build" --target "$picked" >/dev/null || fail "cannot pick the symbols from QUELM_ICONS_DIR"
grep -q 'offline copy' "$scratch/build/$picked" || fail "leaf.fill was not picked from QUELM_ICONS_DIR"

mkdir "$scratch/empty"
if cmake -S "$source_dir" -B "$scratch/refused" "${options[@]}" -DQUELM_ICONS_DIR="$scratch/empty" >"$scratch/refused.log" 2>&1; then
    fail "a directory without the icon set was accepted"
fi
grep -q 'QUELM_ICONS_DIR' "$scratch/refused.log" || fail "the refusal does not name QUELM_ICONS_DIR: $(cat "$scratch/refused.log")"
echo "check-icons-dir: the symbols come from QUELM_ICONS_DIR"
