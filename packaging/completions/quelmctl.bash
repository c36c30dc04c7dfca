# bash completion for quelmctl                                   SPDX-License-Identifier: MIT
_quelmctl()
{
    local cur prev words cword
    _init_completion || return

    local commands="publish heartbeat drain watch toggle status session mark demo help"
    local command="" i
    for ((i = 1; i < cword; i++)); do
        case ${words[i]} in
            --root) ((i++)) ;;
            --root=*) ;;
            -*) ;;
            *) command=${words[i]}; break ;;
        esac
    done

    case $prev in
        --root)
            _filedir -d
            return ;;
        --exec)
            COMPREPLY=($(compgen -c -- "$cur"))
            return ;;
        --state)
            COMPREPLY=($(compgen -W "working needsApproval waitingForInput" -- "$cur"))
            return ;;
        --open)
            COMPREPLY=($(compgen -c -- "$cur"))
            return ;;
        --every | --size | --rect | --beat-every | --transition-seconds | --title | --project)
            return ;;
    esac

    local options
    case $command in
        "") options="--root --help --version"
            [[ $cur == -* ]] || { COMPREPLY=($(compgen -W "$commands" -- "$cur")); return; } ;;
        publish) options="--stamp --root --help"
            [[ $cur == -* ]] || { _filedir json; return; } ;;
        heartbeat) options="--every --root --help" ;;
        drain) options="--json --root --help" ;;
        watch) options="--json --exec --root --help" ;;
        toggle) options="--start --stop --root --help" ;;
        status) options="--json --root --help" ;;
        session) options="--title --project --state --open --help"
            [[ $cur == -* || ${words[cword-1]} != session ]] || { COMPREPLY=($(compgen -W "set end" -- "$cur")); return; } ;;
        mark) options="--size --rect --json --svg --no-sphere --help" ;;
        demo) options="--beat-every --transition-seconds --root --help" ;;
        help) COMPREPLY=($(compgen -W "$commands" -- "$cur")); return ;;
    esac
    COMPREPLY=($(compgen -W "$options" -- "$cur"))
} && complete -F _quelmctl quelmctl
