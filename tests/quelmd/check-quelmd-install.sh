#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# quelmd arrives whole with the installation: program, user unit, quelm:// handler, manual page
# and completions, each valid for its own checker.
#   check-quelmd-install.sh BUILD_DIR
set -euo pipefail
check_name=check-quelmd-install
source "$(dirname "$0")/../support/staged-install.sh"

[ -x "$prefix/bin/quelmd" ] || fail "bin/quelmd is missing"

unit=$prefix/lib/systemd/user/quelmd.service
present "$unit"
grep -qx "ExecStart=$configured/bin/quelmd" "$unit" || fail "the unit does not start the installed quelmd"
grep -qx 'WantedBy=default.target' "$unit" || fail "the unit is not wanted by the user's default target"
if command -v systemd-analyze >/dev/null; then
    sed "s|^ExecStart=$configured/bin/|ExecStart=$prefix/bin/|" "$unit" >"$stage/quelmd.service"
    mkdir -m 0700 "$stage/runtime"
    report=$(XDG_RUNTIME_DIR=$stage/runtime systemd-analyze verify --user --man=no "$stage/quelmd.service" 2>&1 | grep -v -e 'XDG_RUNTIME_DIR' -e 'Failed to connect' || true)
    [ -z "$report" ] || fail "systemd-analyze verify: $report"
fi

handler=$prefix/share/applications/dev.quelm.Quelmd.desktop
present "$handler"
grep -qx 'MimeType=x-scheme-handler/quelm;' "$handler" || fail "the handler does not claim the quelm scheme"
grep -qx 'Exec=quelmd open %u' "$handler" || fail "the handler does not hand the link to quelmd open"
if command -v desktop-file-validate >/dev/null; then
    report=$(desktop-file-validate "$handler" 2>&1) || fail "desktop-file-validate: $report"
    [ -z "$report" ] || fail "desktop-file-validate is not clean: $report"
fi

page=$prefix/share/man/man1/quelmd.1
present "$page"
warnings=$(MANWIDTH=80 man --warnings -l "$page" 2>&1 >/dev/null)
[ -z "$warnings" ] || fail "man -l quelmd.1 warns: $warnings"
MANWIDTH=80 man -l "$page" 2>/dev/null | grep -q -- '--config FILE' || fail "quelmd(1) lacks --config"
MANWIDTH=80 man -l "$page" 2>/dev/null | grep -q 'services.toml' || fail "quelmd(1) lacks the configuration file"
MANWIDTH=80 man -l "$prefix/share/man/man1/quelmctl.1" 2>/dev/null | grep -q 'quelmctl session set ID' || fail "quelmctl(1) lacks the session command"

zsh_dir=site-functions
[ "$configured" = /usr ] && zsh_dir=vendor-completions
present "$prefix/share/bash-completion/completions/quelmd"
present "$prefix/share/zsh/$zsh_dir/_quelmd"
if [ -r /usr/share/bash-completion/bash_completion ]; then
    offered=$(bash --norc --noprofile -c '
        source /usr/share/bash-completion/bash_completion; source "$1"
        COMP_WORDS=(quelmd --); COMP_CWORD=1; COMP_LINE="quelmd --"; COMP_POINT=${#COMP_LINE}
        _quelmd quelmd -- quelmd
        printf "%s\n" "${COMPREPLY[@]}" | sort | tr "\n" " "' _ "$prefix/share/bash-completion/completions/quelmd")
    [ "$offered" = "--config --help --root --version " ] || fail "bash offers [$offered] for quelmd --"
fi
if command -v zsh >/dev/null; then
    zsh -n "$prefix/share/zsh/$zsh_dir/_quelmd" || fail "_quelmd does not parse"
fi
echo "check-quelmd-install: quelmd installs whole"
