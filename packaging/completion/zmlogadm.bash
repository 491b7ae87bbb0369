# Completion of zmlogadm(1) for bash: options, request words, categories, and the names that are known.

# Lists the originators that the store of this host has levels for.
_zmlogadm_originators()
{
    local line
    { while IFS= read -r line; do
        [[ $line =~ ^([0-9]+)\.(Debug|Diagnostic)Level= ]] && echo "${BASH_REMATCH[1]}"
    done <"/usr/kumel/ktul/$1.conf" | sort -un; } 2>/dev/null
}

# Lists the folders in a folder.
_zmlogadm_folders()
{
    local folder
    for folder in "$1"/*/; do
        folder=${folder%/}
        [[ -d $folder ]] && echo "${folder##*/}"
    done
}

# Lists the names that a category's values may begin with, as far as they are known.
_zmlogadm_names()
{
    case $1 in
        ZMKTUL) _zmlogadm_originators 51216 ;;
        QPKTUL) _zmlogadm_originators 58330 ;;
        SEARCHKTUL) _zmlogadm_originators 60385 ;;
        ZMLOGDIR) _zmlogadm_folders /usr/kumel/zembrath/logs ;;
        MMLOGDIR) _zmlogadm_folders /usr/kumel/volmgr/debug ;;
        QRCONF)
            echo "VERBOSE TAPEMGR_VERBOSE SESSMGR_VERBOSE CATMGR_VERBOSE REQD_VERBOSE PROXYD_VERBOSE" \
                "OFFSITE_VERBOSE SCHEDD_VERBOSE DISKMGR_VERBOSE JOBD_VERBOSE"
            ;;
        RK) echo qtpiped ;;
        RKPLUGIN) echo rkplugin ;;
        KOB) echo kob= ;;
        CORVID) echo zmwqf ;;
    esac
}

# Completes CATEGORY:VALUE,VALUE; the cursor may be in the category or in any value.
_zmlogadm_category()
{
    compopt -o nospace
    if [[ $cur != *:* ]]; then
        COMPREPLY=($(compgen -S : -W "ZMKTUL QPKTUL SEARCHKTUL ZMLOGDIR MMLOGDIR QRCONF RK RKPLUGIN KOB CORVID CLOUD
            JAVAGUI HOLKAZ VMCONF" -- "$cur"))
        return
    fi
    local category=${cur%%:*} values=${cur#*:} before=
    [[ $values == *,* ]] && before=${values%,*},
    local value=${values##*,}
    [[ $value == *=* ]] && return
    COMPREPLY=($(compgen -P "$category:$before" -W "$(_zmlogadm_names "$category")" -- "$value"))
    # readline takes ":" and "=" for the ends of words, and wants what follows the last of them.
    local breaks=${COMP_WORDBREAKS//[^:=]/}
    local word=$cur
    [[ -n $breaks ]] && word=${cur##*[$breaks]}
    local known=${cur%"$word"}
    COMPREPLY=("${COMPREPLY[@]#"$known"}")
}

_zmlogadm_arguments()
{
    case $1 in
        ENABLELOGGING | DISABLELOGGING | RESETLOGGING) _zmlogadm_category ;;
        GETDISKSPACE | CLEANUP) _filedir -d ;;
        RUNZMCPLOGS | RUNZMSU | CALCLOGSIZE)
            if [[ $prev == --collectdir ]]; then
                _filedir -d
            elif [[ $cur == -* ]]; then
                COMPREPLY=($(compgen -W --collectdir -- "$cur"))
            else
                _filedir
            fi
            ;;
        *) _filedir ;;
    esac
}

_zmlogadm_option_argument()
{
    case $1 in
        -H | --host) _known_hosts_real -- "$cur" ;;
        -S | --socket | --agent) _filedir ;;
        -p | --port) [[ -n $cur ]] || COMPREPLY=(24761) ;;
    esac
}

_zmlogadm_option_or_word()
{
    if [[ $cur == -* ]]; then
        COMPREPLY=($(compgen -W "-H --host -p --port -S --socket -l --local --agent -t --timeout --json -h --help -V
            --version" -- "$cur"))
    else
        COMPREPLY=($(compgen -W "ENABLELOGGING DISABLELOGGING RESETLOGGING RUNZMCPLOGS RUNZMSU CALCLOGSIZE GETDISKSPACE
            CLEANUP ZMLA FETCHFILE zmsu zmcplogs ktlogcfg versioninfo" -- "$cur"))
    fi
}

_zmlogadm()
{
    local cur prev words cword split
    _init_completion -s -n : || return

    # Where the command line has got to: in an option's argument, behind the word, or before it.
    local i word='' awaiting='' ended=''
    for ((i = 1; i < cword; i++)); do
        if [[ -n $awaiting ]]; then
            awaiting=
            continue
        fi
        case ${ended}${words[i]} in
            --) ended=/ ;;
            -H | --host | -p | --port | -S | --socket | --agent | -t | --timeout) awaiting=${words[i]} ;;
            -*) ;;
            */ZMLA | ZMLA) ended= ;; # from here on it is the command line of the other host's command
            *)
                word=${words[i]}
                break
                ;;
        esac
    done

    if [[ -n $word ]]; then
        _zmlogadm_arguments "$word"
    elif [[ $split == true ]]; then
        _zmlogadm_option_argument "$prev"
    elif [[ -n $awaiting ]]; then
        _zmlogadm_option_argument "$awaiting"
    else
        _zmlogadm_option_or_word
    fi
} &&
    complete -F _zmlogadm zmlogadm
