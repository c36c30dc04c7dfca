# bash completion for quelmd                                     SPDX-License-Identifier: MIT
_quelmd()
{
    local cur prev words cword
    _init_completion || return

    case $prev in
        --config)
            _filedir toml
            return ;;
        --root)
            _filedir -d
            return ;;
        open)
            COMPREPLY=($(compgen -W "quelm://open quelm://session/" -- "$cur"))
            return ;;
    esac
    if ((cword == 1)) && [[ $cur != -* ]]; then
        COMPREPLY=($(compgen -W "open" -- "$cur"))
        return
    fi
    [[ ${words[1]} == open ]] && return
    COMPREPLY=($(compgen -W "--config --root --help --version" -- "$cur"))
} && complete -F _quelmd quelmd
