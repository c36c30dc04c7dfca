#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs the build in $1 into the prefix it was configured for, staged under a temporary
# DESTDIR, and checks that the desktop program arrives whole and valid: programs, translations,
# launcher, autostart entry in the system configuration directory, systemd user unit, icon,
# AppStream metadata, manual pages, completions and licences.
set -euo pipefail
check_name=check-install
source "$(dirname "$0")/../support/staged-install.sh"

for program in quelm-widget quelmctl; do
    [ -x "$prefix/bin/$program" ] || fail "bin/$program is missing"
done
present "$prefix/share/quelm/translations/quelm_en.qm"

# The launcher in the prefix; the autostart entry where desktops read it, whatever the prefix.
launcher=$prefix/share/applications/dev.quelm.QuelmWidget.desktop
autostart=$stage/etc/xdg/autostart/dev.quelm.QuelmWidget.desktop
[ ! -e "$prefix/etc/xdg/autostart" ] || fail "the autostart entry went under the prefix, where no desktop reads it"
for entry in "$launcher" "$autostart"; do
    present "$entry"
    head -n 1 "$entry" | grep -qx '\[Desktop Entry\]' || fail "${entry#"$stage"} does not start with [Desktop Entry]"
    grep -qx 'Type=Application' "$entry" || fail "${entry#"$stage"} is not an application"
    grep -qx 'Name=Quelm' "$entry" || fail "${entry#"$stage"} is not named Quelm"
    grep -qx 'Icon=dev.quelm.Quelm' "$entry" || fail "${entry#"$stage"} does not show the Quelm icon"
    exec_line=$(grep '^Exec=' "$entry" | cut -d= -f2-)
    program=${exec_line%% *}
    [ -x "$prefix/bin/$program" ] || fail "${entry#"$stage"} starts $program, which is not installed"
    report=$(desktop-file-validate "$entry" 2>&1) || fail "desktop-file-validate: $report"
    [ -z "$report" ] || fail "desktop-file-validate is not clean: $report"
done
grep -qx 'Exec=quelm-widget' "$launcher" || fail "the launcher does not start the host"
grep -qx 'Exec=quelm-widget host --autostart' "$autostart" || fail "the autostart entry does not start the host at login"

# The session service starts the installed host and belongs to the graphical session.
unit=$prefix/lib/systemd/user/quelm-widget.service
present "$unit"
grep -qx "ExecStart=$configured/bin/quelm-widget host --autostart" "$unit" || fail "the unit does not start the installed host"
grep -qx 'PartOf=graphical-session.target' "$unit" || fail "the unit is not part of the graphical session"
grep -qx 'WantedBy=graphical-session.target' "$unit" || fail "the unit is not wanted by the graphical session"
if command -v systemd-analyze >/dev/null; then
    # The unit's program must exist for verify: point it at the staged one.
    sed "s|^ExecStart=$configured/bin/|ExecStart=$prefix/bin/|" "$unit" >"$stage/quelm-widget.service"
    mkdir -m 0700 "$stage/runtime"
    report=$(XDG_RUNTIME_DIR=$stage/runtime systemd-analyze verify --user --man=no "$stage/quelm-widget.service" 2>&1 | grep -v -e 'XDG_RUNTIME_DIR' -e 'Failed to connect' || true)
    [ -z "$report" ] || fail "systemd-analyze verify: $report"
fi

# The icon: scalable and every fixed size, each PNG of its size.
present "$prefix/share/icons/hicolor/scalable/apps/dev.quelm.Quelm.svg"
grep -q '<svg' "$prefix/share/icons/hicolor/scalable/apps/dev.quelm.Quelm.svg" || fail "the scalable icon is not an SVG"
for size in 16 22 24 32 48 64 128 256; do
    png=$prefix/share/icons/hicolor/${size}x${size}/apps/dev.quelm.Quelm.png
    present "$png"
    file "$png" | grep -q "PNG image data, $size x $size" || fail "${png#"$stage"} is not a $size px PNG: $(file -b "$png")"
done

metainfo=$prefix/share/metainfo/dev.quelm.Quelm.metainfo.xml
present "$metainfo"
report=$(appstreamcli validate --no-net --no-color "$metainfo" 2>&1) || fail "appstreamcli validate: $report"
grep -c '<image>' "$metainfo" | grep -qx 4 || fail "the metadata does not show the four widget sizes"

# One manual page per program and one for the container's files, each formatted without a warning.
for page in man1/quelm-widget.1 man1/quelmctl.1 man5/quelm-container.5; do
    present "$prefix/share/man/$page"
    warnings=$(MANWIDTH=80 man --warnings -l "$prefix/share/man/$page" 2>&1 >/dev/null)
    [ -z "$warnings" ] || fail "man -l $page warns: $warnings"
done
MANWIDTH=80 man -l "$prefix/share/man/man1/quelmctl.1" 2>/dev/null | grep -q 'quelmctl toggle ITEM' || fail "quelmctl(1) lacks the toggle command"
MANWIDTH=80 man -l "$prefix/share/man/man1/quelm-widget.1" 2>/dev/null | grep -q -- '--version' || fail "quelm-widget(1) lacks --version"
MANWIDTH=80 man -l "$prefix/share/man/man5/quelm-container.5" 2>/dev/null | grep -q 'pending.json' || fail "quelm-container(5) lacks pending.json"

# Completions where bash-completion and zsh look for them under this prefix: zsh reads a
# distribution's from vendor-completions, anything else from site-functions.
zsh_dir=site-functions
[ "$configured" = /usr ] && zsh_dir=vendor-completions
for program in quelm-widget quelmctl; do
    present "$prefix/share/bash-completion/completions/$program"
    present "$prefix/share/zsh/$zsh_dir/_$program"
done

present "$prefix/share/doc/quelm/LICENSE"
grep -q 'Copyright (c) 2026 The Quelm developers' "$prefix/share/doc/quelm/LICENSE" || fail "LICENSE lacks the copyright line"
present "$prefix/share/doc/quelm/LICENSE.phosphor-icons"
grep -q 'Phosphor Icons' "$prefix/share/doc/quelm/copyright" || fail "the copyright file lacks the icon set's notice"

# The installed program answers, and knows its host command.
"$prefix/bin/quelm-widget" host --help | grep -q 'Usage: quelm-widget \[host' || fail "the installed quelm-widget has no host"
echo "check-install: all in place under $stage"
