# bash completion for quelm-widget                               SPDX-License-Identifier: MIT
_quelm_widget()
{
    local cur prev words cword
    _init_completion || return

    local commands="host timeline layout render help"
    local command=""
    ((cword > 1)) && command=${words[1]}

    case $prev in
        --family)
            COMPREPLY=($(compgen -W "small medium large extraLarge" -- "$cur"))
            return ;;
        --sort)
            COMPREPLY=($(compgen -W "category recent" -- "$cur"))
            return ;;
        --status)
            COMPREPLY=($(compgen -W "running notRunning noAccess" -- "$cur"))
            return ;;
        --format)
            COMPREPLY=($(compgen -W "png json" -- "$cur"))
            return ;;
        --snapshot)
            _filedir json
            return ;;
        -o | --output)
            _filedir
            return ;;
        --pending | --now | --scale)
            return ;;
    esac

    local options
    case $command in
        host) options="--autostart --help" ;;
        timeline) options="--family --sort --preview --help" ;;
        layout) options="--family --sort --snapshot --help" ;;
        render) options="--family --sort --sample --snapshot --status --pending --now --format --scale -o --output --help" ;;
        help) COMPREPLY=($(compgen -W "$commands" -- "$cur")); return ;;
        *)
            if ((cword == 1)) && [[ $cur != -* ]]; then
                COMPREPLY=($(compgen -W "$commands" -- "$cur"))
                return
            fi
            options="--help --version" ;;
    esac
    COMPREPLY=($(compgen -W "$options" -- "$cur"))
} && complete -F _quelm_widget quelm-widget
