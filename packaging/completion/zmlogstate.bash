# Completion of zmlogstate(8) for bash: commands, options, categories and folders.

_zmlogstate_commands()
{
    COMPREPLY=($(compgen -W "show save diff restore" -- "$cur"))
}

_zmlogstate_categories()
{
    # names: categories for bash
    local known="ZMKTUL QPKTUL SEARCHKTUL ZMLOGDIR MMLOGDIR QRCONF RK RKPLUGIN KOB CORVID CLOUD JAVAGUI HOLKAZ VMCONF"
    # end of names
    COMPREPLY=($(compgen -W "$known" -- "$cur"))
}

_zmlogstate_options() # COMMAND
{
    case $1 in
        show) COMPREPLY=($(compgen -W "--all --json" -- "$cur")) ;;
        restore) COMPREPLY=($(compgen -W "--force --remove-logs" -- "$cur")) ;;
        '') COMPREPLY=($(compgen -W "-h --help -V --version" -- "$cur")) ;;
    esac
}

_zmlogstate()
{
    local cur prev words cword
    _init_completion || return

    local i command=
    for ((i = 1; i < cword; i++)); do
        if [[ ${words[i]} != -* ]]; then
            command=${words[i]}
            break
        fi
    done

    if [[ $cur == -* ]]; then
        _zmlogstate_options "$command"
    else
        case $command in
            '') _zmlogstate_commands ;;
            show) _zmlogstate_categories ;;
            # Names of folders are left to readline, which quotes them.
            save | diff | restore) compopt -o dirnames ;;
        esac
    fi
} &&
    complete -F _zmlogstate zmlogstate
