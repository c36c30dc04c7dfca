#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Completes quelmctl and quelm-widget command lines with the shipped bash completions, through
# bash-completion itself, and checks that the zsh ones parse and offer the same words.
#   check-completions.sh SOURCE_DIR QUELMCTL QUELM_WIDGET
set -euo pipefail
source_dir=$1 quelmctl=$2 quelm_widget=$3
completions=$source_dir/packaging/completions
fail() { echo "check-completions: $*" >&2; exit 1; }

bash_completion=/usr/share/bash-completion/bash_completion
if [ ! -r "$bash_completion" ]; then
    echo "check-completions: SKIPPED: bash-completion is not installed (scripts/install-deps.sh test installs it)"
    exit 77
fi

# What bash offers for the words of a command line; the last word is the one being completed.
complete_line() {
    local file=$1 function=$2
    shift 2
    bash --norc --noprofile -c '
        source "$1"; source "$2"; shift 2
        COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
        COMP_LINE="$*"; COMP_POINT=${#COMP_LINE}
        '"$function"' "${COMP_WORDS[0]}" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD-1]}"
        printf "%s\n" "${COMPREPLY[@]}" | sort' _ "$bash_completion" "$file" "$@"
}
expect() {
    local expected=$1 actual=$2 what=$3
    [ "$actual" = "$(tr ' ' '\n' <<<"$expected" | sort)" ] || fail "$what: offered [$(tr '\n' ' ' <<<"$actual")], expected [$expected]"
}

ctl=$completions/quelmctl.bash
# Every command the tool lists is offered, and nothing else.
listed=$("$quelmctl" --help | sed -n '/^Commands:/,/^$/p' | awk 'NF && !/Commands:/ {print $1}' | sort)
offered=$(complete_line "$ctl" _quelmctl quelmctl "" | grep -vx help)
[ "$offered" = "$listed" ] || fail "quelmctl commands: offered [$(tr '\n' ' ' <<<"$offered")], the tool has [$(tr '\n' ' ' <<<"$listed")]"
expect "toggle" "$(complete_line "$ctl" _quelmctl quelmctl tog)" "quelmctl tog"
expect "toggle" "$(complete_line "$ctl" _quelmctl quelmctl --root /tmp tog)" "quelmctl --root /tmp tog"
expect "--start --stop" "$(complete_line "$ctl" _quelmctl quelmctl toggle db --st)" "quelmctl toggle db --st"
expect "--help --json --no-sphere --rect --size --svg" "$(complete_line "$ctl" _quelmctl quelmctl mark --)" "quelmctl mark --"
# Each command's options are the ones its help names.
for command in publish heartbeat drain watch toggle status mark demo; do
    for option in $(complete_line "$ctl" _quelmctl quelmctl "$command" -- | grep -vx -- --help); do
        "$quelmctl" "$command" --help | grep -q -- "$option" || fail "quelmctl $command offers $option, which its help does not name"
    done
done

wid=$completions/quelm-widget.bash
expect "help host layout render timeline" "$(complete_line "$wid" _quelm_widget quelm-widget "")" "quelm-widget"
expect "extraLarge large medium small" "$(complete_line "$wid" _quelm_widget quelm-widget render --family "")" "--family"
expect "category recent" "$(complete_line "$wid" _quelm_widget quelm-widget layout --sort "")" "--sort"
expect "noAccess notRunning running" "$(complete_line "$wid" _quelm_widget quelm-widget render --status "")" "--status"
expect "--sample --scale --snapshot --sort --status" "$(complete_line "$wid" _quelm_widget quelm-widget render --s)" "render --s"
for command in host timeline layout render; do
    for option in $(complete_line "$wid" _quelm_widget quelm-widget "$command" -- | grep -vx -- --help); do
        "$quelm_widget" "$command" --help | grep -q -- "$option" || fail "quelm-widget $command offers $option, which its help does not name"
    done
done

# zsh: the functions parse, declare what they complete, and know every command and value.
if command -v zsh >/dev/null; then
    for file in "$completions/_quelmctl" "$completions/_quelm-widget"; do
        zsh -n "$file" || fail "$file does not parse"
    done
    head -n 1 "$completions/_quelmctl" | grep -qx '#compdef quelmctl' || fail "_quelmctl does not declare quelmctl"
    head -n 1 "$completions/_quelm-widget" | grep -qx '#compdef quelm-widget' || fail "_quelm-widget does not declare quelm-widget"
    for command in $listed; do
        grep -qE "[\"']$command:" "$completions/_quelmctl" || fail "_quelmctl lacks $command"
    done
    for word in small medium large extraLarge category recent running notRunning noAccess png json; do
        grep -qw -- "$word" "$completions/_quelm-widget" || fail "_quelm-widget lacks $word"
    done
fi
echo "check-completions: bash and zsh complete both programs"
