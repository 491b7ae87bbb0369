#!/usr/bin/env bash
# Checks the names that the installed completion offers in bash for command lines up to the cursor. Loads it like
# bash-completion. Makes a few files of the product; see in_private_debian.sh.
set -uo pipefail
failed=0

make_known_names() {
    mkdir -p /usr/kumel/ktul /usr/kumel/volmgr/debug/robots /usr/kumel/zembrath/logs/jobd /tmp/collected
    printf '111.DebugLevel=1\n117.DiagnosticLevel=2\n111.DiagnosticLevel=1\nother\n' >/usr/kumel/ktul/58330.conf
}

remove_known_names() {
    rm -r /usr/kumel/ktul/58330.conf /usr/kumel/volmgr /usr/kumel/zembrath/logs/jobd /tmp/collected
}

# Splits a line as readline does: at blanks, and around other characters that break words.
split_line() {
    COMP_WORDS=()
    local rest=$1
    while [[ $rest =~ ^(\ *)([:=]+|[^:=\ ]+)(.*)$ ]]; do
        COMP_WORDS+=("${BASH_REMATCH[2]}")
        rest=${BASH_REMATCH[3]}
    done
    [[ $1 == *' ' ]] && COMP_WORDS+=('')
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMP_LINE=$1
    COMP_POINT=${#1}
}

# Where the shell completes itself, the completion offers "(dirnames)" or "(default)". The shell also adds the blank
# after a completion, so there is none here.
compopt() {
    [[ $2 == nospace ]] || COMPREPLY=("($2)")
}

offers() { # LINE OFFERED
    split_line "$1"
    COMPREPLY=()
    local replaced=${COMP_WORDS[COMP_CWORD]}
    [[ $replaced == [:=] ]] && replaced=
    _zmlogadm zmlogadm "$replaced" "${COMP_WORDS[COMP_CWORD - 1]}"
    local got
    got=$(printf '%s\n' "${COMPREPLY[@]}" | LC_ALL=C sort | paste --serial --delimiters=' ')
    if [[ $got != "$2" ]]; then
        printf '"%s" offers "%s", not "%s"\n' "$1" "$got" "$2"
        failed=1
    fi
}

. /usr/share/bash-completion/bash_completion
_completion_loader zmlogadm
make_known_names

offers 'zmlogadm ' "CALCLOGSIZE CLEANUP DISABLELOGGING ENABLELOGGING FETCHFILE GETDISKSPACE RESETLOGGING \
RUNZMCPLOGS RUNZMSU ZMLA ktlogcfg versioninfo zmcplogs zmsu"
offers 'zmlogadm RUN' 'RUNZMCPLOGS RUNZMSU'
offers 'zmlogadm run' ''
offers 'zmlogadm -' "--agent --help --host --json --local --no-progress --port --socket --strict --timeout \
--version -H -S -V -h -l -p -t"
offers 'zmlogadm --js' '--json'
offers 'zmlogadm -p ' '24761'
offers 'zmlogadm --port=' '24761'
offers 'zmlogadm -t ' ''
offers 'zmlogadm -t 5 GETD' 'GETDISKSPACE'
offers 'zmlogadm -- GETD' 'GETDISKSPACE'
offers 'zmlogadm --json GETD' 'GETDISKSPACE'
offers 'zmlogadm --host=media1 GETD' 'GETDISKSPACE'
offers 'zmlogadm -S /tmp/collec' '(default)'
offers 'zmlogadm --agent /tmp/collec' '(default)'
offers 'zmlogadm GETDISKSPACE /tmp/collec' '(dirnames)'
offers 'zmlogadm zmcplogs /tmp/collec' '(default)'
offers 'zmlogadm RUNZMSU --c' '--collectdir'
offers 'zmlogadm RUNZMSU --collectdir /tmp/collec' '(dirnames)'
offers 'zmlogadm ENABLELOGGING ' "CLOUD: CORVID: HOLKAZ: JAVAGUI: KOB: MMLOGDIR: QPKTUL: QRCONF: RK: RKPLUGIN: SEARCHKTUL: \
VMCONF: ZMKTUL: ZMLOGDIR:"
offers 'zmlogadm RESETLOGGING RK' 'RK: RKPLUGIN:'
offers 'zmlogadm DISABLELOGGING KOB:kob=1 ZML' 'ZMLOGDIR:'
offers 'zmlogadm ENABLELOGGING QPKTUL:' '111 117'
offers 'zmlogadm ENABLELOGGING QPKTUL:111=5,117=3,11' '3,111 3,117'
offers 'zmlogadm ENABLELOGGING QPKTUL:111=' ''
offers 'zmlogadm ENABLELOGGING SEARCHKTUL:' ''
offers 'zmlogadm ENABLELOGGING QRCONF:J' 'JOBD_VERBOSE'
offers 'zmlogadm ENABLELOGGING ZMLOGDIR:jo,jo' 'jo,jobd'
offers 'zmlogadm ENABLELOGGING ZMLOGDIR:jo' 'jobd'
offers 'zmlogadm ENABLELOGGING MMLOGDIR:' 'robots'
offers 'zmlogadm ENABLELOGGING KOB:' 'kob='
offers 'zmlogadm ZMLA -H inner ENABLELOGGING KO' 'KOB:'

remove_known_names
exit "$failed"
