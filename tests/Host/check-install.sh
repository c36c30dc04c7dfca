#!/usr/bin/env bash
# Installs the build in $1 into a temporary prefix and checks that the desktop host arrives whole:
# both programs, the compiled translations, the launcher and the autostart entry, each entry
# starting the installed program.
set -euo pipefail
build=$1
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT

cmake --install "$build" --prefix "$prefix" >/dev/null

fail() { echo "check-install: $*" >&2; exit 1; }
for program in quelm-widget quelmctl; do
    [ -x "$prefix/bin/$program" ] || fail "bin/$program is missing"
done
[ -s "$prefix/share/quelm/translations/quelm_en.qm" ] || fail "share/quelm/translations/quelm_en.qm is missing"

launcher=$prefix/share/applications/dev.quelm.QuelmWidget.desktop
autostart=$prefix/etc/xdg/autostart/dev.quelm.QuelmWidget.desktop
for entry in "$launcher" "$autostart"; do
    [ -f "$entry" ] || fail "${entry#"$prefix"/} is missing"
    head -n 1 "$entry" | grep -qx '\[Desktop Entry\]' || fail "${entry#"$prefix"/} does not start with [Desktop Entry]"
    grep -qx 'Type=Application' "$entry" || fail "${entry#"$prefix"/} is not an application"
    grep -qx 'Name=Quelm' "$entry" || fail "${entry#"$prefix"/} is not named Quelm"
    exec_line=$(grep '^Exec=' "$entry" | cut -d= -f2-)
    program=${exec_line%% *}
    [ -x "$prefix/bin/$program" ] || fail "${entry#"$prefix"/} starts $program, which is not installed"
done
grep -qx 'Exec=quelm-widget' "$launcher" || fail "the launcher does not start the host"
grep -qx 'Exec=quelm-widget host --autostart' "$autostart" || fail "the autostart entry does not start the host at login"

# The installed program answers, and knows its host command.
"$prefix/bin/quelm-widget" host --help | grep -q 'Usage: quelm-widget \[host' || fail "the installed quelm-widget has no host"
echo "check-install: all in place under $prefix"
