# Completion of zmlogadm(1) for bash: options, request words, categories, and the names that are known.

# Names of folders and keys of files are other people's texts: they are never words of a command here, and what is
# inserted is quoted. So "compgen -W" is for fixed lists only. Lists of files are left to readline, which does the same.

# Adds a text without blanks to "names", unless it is there.
_zmlogadm_add_name()
{
    [[ " ${names[*]} " == *" $1 "* ]] || names+=("$1")
}

# Adds to "names" the originators that the store of this host has levels for.
_zmlogadm_originators()
{
    local line
    [[ -f /usr/kumel/ktul/$1.conf && -r /usr/kumel/ktul/$1.conf ]] || return
    while IFS= read -r line; do
        [[ $line =~ ^([0-9]+)\.(Debug|Diagnostic)Level= ]] && _zmlogadm_add_name "${BASH_REMATCH[1]}"
    done <"/usr/kumel/ktul/$1.conf"
}

# Adds to "names" the keys for verbosity that qr.conf has.
_zmlogadm_keys()
{
    local line file=/usr/kumel/zembrath/qr.conf
    [[ -f $file && -r $file ]] || return
    while IFS= read -r line; do
        [[ $line =~ ^[[:blank:]]*([A-Za-z][A-Za-z0-9_]*_[Vv][Ee][Rr][Bb][Oo][Ss][Ee])[[:blank:]]*= ]] &&
            _zmlogadm_add_name "${BASH_REMATCH[1]^^}"
    done <"$file"
}

# Adds to "names" the folders in a folder. Skips names that cannot be a value: a comma ends a value, and in ZMLOGDIR an
# equals sign does too.
_zmlogadm_folders() # FOLDER CHARACTERS
{
    local folder
    while IFS= read -r -d '' folder; do
        folder=${folder##*/}
        [[ $folder == *["$2"]* ]] || names+=("$folder")
    done < <(find -L "$1" -mindepth 1 -maxdepth 1 -type d ! -name '.*' -print0 2>/dev/null)
}

# Adds to "names" the known beginnings of a category's values.
_zmlogadm_names()
{
    case $1 in
        ZMKTUL) _zmlogadm_originators 51216 ;;
        QPKTUL) _zmlogadm_originators 58330 ;;
        SEARCHKTUL) _zmlogadm_originators 60385 ;;
        ZMLOGDIR) _zmlogadm_folders /usr/kumel/zembrath/logs ,= ;;
        MMLOGDIR) _zmlogadm_folders /usr/kumel/volmgr/debug , ;;
        QRCONF)
            names+=(VERBOSE TAPEMGR_VERBOSE SESSMGR_VERBOSE CATMGR_VERBOSE REQD_VERBOSE PROXYD_VERBOSE OFFSITE_VERBOSE
                SCHEDD_VERBOSE DISKMGR_VERBOSE JOBD_VERBOSE)
            _zmlogadm_keys
            ;;
        RK) names+=(qtpiped) ;;
        RKPLUGIN) names+=(rkplugin) ;;
        KOB) names+=(kob=) ;;
        CORVID) names+=(zmwqf) ;;
    esac
}

# Sets "plain" to the typed word as the shell reads it, and "quote" to the quote that is open at its end.
# Fails when there is something in the word that the shell would expand.
_zmlogadm_read_word()
{
    local i char
    plain= quote=
    for ((i = 0; i < ${#1}; i++)); do
        char=${1:i:1}
        case $quote$char in
            \\ | \"\\)
                ((++i))
                char=${1:i:1}
                [[ -n $quote && $char != ["\"\\\$\`"] ]] && plain+=\\
                plain+=$char
                ;;
            \' | \") quote=$char ;;
            "''" | '""') quote= ;;
            \$ | \` | '"$' | '"`') return 1 ;;
            *) plain+=$char ;;
        esac
    done
}

# Sets "quoted" to a text as it is written inside the quote, or without one. Fails when the quote cannot hold it.
_zmlogadm_quote() # TEXT QUOTE
{
    local i char unfit=\'
    [[ $2 == \" ]] && unfit='"\$`!'
    if [[ -n $2 ]]; then
        quoted=$1
        [[ $1 != *["$unfit"]* ]]
        return
    fi
    quoted=
    for ((i = 0; i < ${#1}; i++)); do
        char=${1:i:1}
        case $char in
            $'\n') quoted+="'$char'" ;; # a backslash would join the lines
            [[:cntrl:][:blank:]\!\"\#\$\&\'\(\)\*\;\<\>\?\[\\\]\^\`\{\|\}\~]) quoted+=\\$char ;;
            *) quoted+=$char ;;
        esac
    done
}

# Sets "common" to what all the texts begin with.
_zmlogadm_common_start() # TEXT ...
{
    local text
    common=$1
    for text; do
        while [[ $text != "$common"* ]]; do
            common=${common%?}
        done
    done
}

# Offers those of "names" that begin with the typed text. BEFORE is the text before the name. REPLACED is the part of
# the word that readline will replace: readline splits words at ":" and "=", and begins after an open quote.
_zmlogadm_offer() # BEFORE REPLACED
{
    local name typed plain quote quoted common matches=()
    [[ $cur == *"$2" ]] && _zmlogadm_read_word "$cur" || return
    typed=$plain
    _zmlogadm_read_word "${cur%"$2"}" || return
    for name in "${names[@]}"; do
        name=$1$name
        if [[ $name == "$typed"* ]] && _zmlogadm_quote "${name#"$plain"}" "$quote"; then
            matches+=("${name#"$plain"}")
            COMPREPLY+=("$quoted")
        fi
    done
    [[ ${#matches[@]} -lt 2 || "${COMPREPLY[*]}" == "${matches[*]}" ]] && return
    # What quoted names begin with in common may end in the middle of a quote, so it is not left to readline to find.
    _zmlogadm_common_start "${matches[@]}"
    if [[ $common == "${typed#"$plain"}" ]]; then
        COMPREPLY+=(' ') # has nothing in common with any, so that readline only lists them
    else
        _zmlogadm_quote "$common" "$quote"
        COMPREPLY=("$quoted")
    fi
}

# Completes CATEGORY:VALUE,VALUE; the cursor may be in the category or in any value.
_zmlogadm_category() # REPLACED
{
    compopt -o nospace
    # names: categories for bash
    local known="ZMKTUL QPKTUL SEARCHKTUL ZMLOGDIR MMLOGDIR QRCONF RK RKPLUGIN KOB CORVID CLOUD JAVAGUI HOLKAZ VMCONF"
    # end of names
    if [[ $cur != *:* ]]; then
        COMPREPLY=($(compgen -S : -W "$known" -- "$cur"))
        return
    fi
    local plain quote names=()
    _zmlogadm_read_word "$cur" || return
    local value=${plain#*:}
    value=${value##*,}
    [[ $value == *=* ]] && return
    _zmlogadm_names "${plain%%:*}"
    _zmlogadm_offer "${plain%"$value"}" "$1"
}

_zmlogadm_arguments() # WORD REPLACED
{
    case $1 in
        ENABLELOGGING | DISABLELOGGING | RESETLOGGING) _zmlogadm_category "$2" ;;
        GETDISKSPACE | CLEANUP) compopt -o dirnames ;;
        RUNZMCPLOGS | RUNZMSU | CALCLOGSIZE)
            if [[ $prev == --collectdir ]]; then
                compopt -o dirnames
            elif [[ $cur == -* ]]; then
                COMPREPLY=($(compgen -W --collectdir -- "$cur"))
            else
                compopt -o default
            fi
            ;;
        *) compopt -o default ;;
    esac
}

# Hosts come from files of SSH's and from the network, and not every one of them is a name.
_zmlogadm_hosts()
{
    local host hosts=()
    _known_hosts_real -- "$cur"
    for host in "${COMPREPLY[@]}"; do
        [[ $host == *[^A-Za-z0-9._:%-]* ]] || hosts+=("$host")
    done
    COMPREPLY=("${hosts[@]}")
}

_zmlogadm_option_argument()
{
    case $1 in
        -H | --host) _zmlogadm_hosts ;;
        -S | --socket | --agent) compopt -o default ;;
        -p | --port) [[ -n $cur ]] || COMPREPLY=(24761) ;;
    esac
}

_zmlogadm_option_or_word()
{
    # names: words for bash
    local known="ENABLELOGGING DISABLELOGGING RESETLOGGING RUNZMCPLOGS RUNZMSU CALCLOGSIZE GETDISKSPACE CLEANUP ZMLA
        FETCHFILE zmsu zmcplogs ktlogcfg versioninfo"
    # end of names
    if [[ $cur == -* ]]; then
        COMPREPLY=($(compgen -W "-H --host -p --port -S --socket -l --local --agent -t --timeout --json --strict
            --no-progress -h --help -V
            --version" -- "$cur"))
    else
        COMPREPLY=($(compgen -W "$known" -- "$cur"))
    fi
}

_zmlogadm()
{
    local cur prev words cword split
    _init_completion -s -n :@ || return

    # Finds the position on the command line: in an option's argument, after the word, or before it.
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
        _zmlogadm_arguments "$word" "$2"
    elif [[ $split == true ]]; then
        _zmlogadm_option_argument "$prev"
    elif [[ -n $awaiting ]]; then
        _zmlogadm_option_argument "$awaiting"
    else
        _zmlogadm_option_or_word
    fi
} &&
    complete -F _zmlogadm zmlogadm
