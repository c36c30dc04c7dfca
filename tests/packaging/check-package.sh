#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the Debian package of the build in $1, checks its contents, installs it on this machine
# with dpkg, runs the installed programs, and removes it again. Needs root (CI runs as root);
# leaves the machine as it found it.
set -euo pipefail
build=$1
skip() { echo "check-package: SKIPPED: $*"; exit 77; }
fail() { echo "check-package: $*" >&2; exit 1; }

[ "$(id -u)" -eq 0 ] || skip "installing a package with dpkg needs root; run as root (as CI does) to test it"
command -v dpkg-shlibdeps >/dev/null || skip "dpkg-shlibdeps is missing: scripts/install-deps.sh test installs dpkg-dev"
if dpkg-query -W -f='${Status}' quelm 2>/dev/null | grep -q 'install ok installed'; then
    skip "a quelm package is installed on this machine already; not replacing it"
fi

scratch=$(mktemp -d)
installed=""
cleanup() {
    if [ -n "$installed" ]; then
        dpkg --purge quelm >/dev/null 2>&1 || true
    fi
    rm -rf "$scratch"
}
trap cleanup EXIT

prefix=$(sed -n 's/^CMAKE_INSTALL_PREFIX:PATH=//p' "$build/CMakeCache.txt")
[ "$prefix" = /usr ] || skip "this build installs into $prefix; a Debian package is tested from a build configured with -DCMAKE_INSTALL_PREFIX=/usr (scripts/test.sh does)"
version=$(sed -n 's/^CPACK_PACKAGE_VERSION:STRING=//p; s/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt" | head -n 1)
[ -n "$version" ] || fail "no project version in $build/CMakeCache.txt"
(cd "$scratch" && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$scratch/out" >"$scratch/cpack.log" 2>&1) \
    || { cat "$scratch/cpack.log" >&2; fail "cpack -G DEB failed"; }
deb=$scratch/out/quelm_${version}_amd64.deb
[ -f "$deb" ] || fail "no quelm_${version}_amd64.deb; cpack made: $(ls "$scratch/out")"

# Contents: everything under /usr, but for the autostart entry in the system configuration.
contents=$(dpkg-deb -c "$deb" | awk '{print $6}' | sed 's|^\./|/|')
for path in /usr/bin/quelm-widget /usr/bin/quelmctl \
    /usr/include/quelm/SharedStore.h /usr/include/quelm/SharedConstants.h \
    /usr/lib/x86_64-linux-gnu/libQuelmShared.a /usr/lib/x86_64-linux-gnu/cmake/QuelmShared/QuelmSharedConfig.cmake \
    /usr/lib/x86_64-linux-gnu/pkgconfig/quelm-shared.pc /usr/share/quelm/translations/quelm_en.qm \
    /usr/share/applications/dev.quelm.QuelmWidget.desktop /etc/xdg/autostart/dev.quelm.QuelmWidget.desktop \
    /usr/lib/systemd/user/quelm-widget.service /usr/share/metainfo/dev.quelm.Quelm.metainfo.xml \
    /usr/share/icons/hicolor/scalable/apps/dev.quelm.Quelm.svg /usr/share/icons/hicolor/48x48/apps/dev.quelm.Quelm.png \
    /usr/share/man/man1/quelm-widget.1 /usr/share/man/man1/quelmctl.1 /usr/share/man/man5/quelm-container.5 \
    /usr/share/bash-completion/completions/quelmctl /usr/share/zsh/vendor-completions/_quelmctl \
    /usr/share/bash-completion/completions/quelm-widget /usr/share/zsh/vendor-completions/_quelm-widget \
    /usr/share/doc/quelm/copyright /usr/share/doc/quelm/LICENSE /usr/share/doc/quelm/LICENSE.phosphor-icons; do
    grep -qx -- "$path" <<<"$contents" || fail "the package lacks $path"
done
outside=$(grep -v -e '^/usr/' -e '^/$' -e '^/etc/$' -e '^/etc/xdg/' <<<"$contents" || true)
[ -z "$outside" ] || fail "the package puts files outside /usr and /etc/xdg: $outside"

# Dependencies come from the programs' libraries (dpkg-shlibdeps), not from a hand-kept list.
depends=$(dpkg-deb -f "$deb" Depends)
for library in libc6 libqt6widgets6 libqt6svg6 libsystemd0 libicu; do
    grep -q "$library" <<<"$depends" || fail "Depends lacks $library: $depends"
done
dpkg-deb -I "$deb" conffiles | grep -qx /etc/xdg/autostart/dev.quelm.QuelmWidget.desktop \
    || fail "the autostart entry is not a conffile"

installed=yes
dpkg -i "$deb" >"$scratch/dpkg.log" 2>&1 || { cat "$scratch/dpkg.log" >&2; fail "dpkg -i failed"; }
[ "$(command -v quelmctl)" = /usr/bin/quelmctl ] || fail "quelmctl is not on PATH after installing"
[ "$(/usr/bin/quelmctl --version)" = "quelmctl $version" ] || fail "the installed quelmctl --version says: $(/usr/bin/quelmctl --version)"
[ "$(/usr/bin/quelm-widget --version)" = "quelm-widget $version" ] || fail "the installed quelm-widget --version is wrong"
export XDG_RUNTIME_DIR=$scratch/runtime XDG_DATA_HOME=$scratch/data
mkdir -m 0700 "$XDG_RUNTIME_DIR"
QT_QPA_PLATFORM=offscreen /usr/bin/quelm-widget render --family medium --sample -o "$scratch/medium.png" \
    || fail "the installed quelm-widget cannot render"
file "$scratch/medium.png" | grep -q 'PNG image data, 728 x 340' || fail "the render is not a 2x medium widget: $(file -b "$scratch/medium.png")"
man -w quelmctl | grep -q '^/usr/share/man/man1/quelmctl.1' || fail "man does not find quelmctl(1)"

dpkg -r quelm >"$scratch/dpkg.log" 2>&1 || { cat "$scratch/dpkg.log" >&2; fail "dpkg -r failed"; }
for path in /usr/bin/quelmctl /usr/bin/quelm-widget /usr/include/quelm /usr/share/man/man1/quelmctl.1 \
    /usr/lib/systemd/user/quelm-widget.service /usr/share/icons/hicolor/scalable/apps/dev.quelm.Quelm.svg; do
    [ ! -e "$path" ] || fail "$path is still there after dpkg -r"
done
# A removed package keeps its configuration until purged, as dpkg does for every package.
[ -f /etc/xdg/autostart/dev.quelm.QuelmWidget.desktop ] || fail "dpkg -r dropped the autostart conffile"
dpkg --purge quelm >"$scratch/dpkg.log" 2>&1 || { cat "$scratch/dpkg.log" >&2; fail "dpkg --purge failed"; }
installed=""
[ ! -e /etc/xdg/autostart/dev.quelm.QuelmWidget.desktop ] || fail "the autostart entry is still there after purging"
if dpkg-query -W -f='${Status}' quelm 2>/dev/null | grep -q 'installed'; then
    fail "dpkg still lists quelm"
fi
echo "check-package: $(basename "$deb") built, installed, run and removed"
