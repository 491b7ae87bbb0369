#!/usr/bin/env bash
# completion_at_keyboard.sh bash|zsh: types command lines with tabs into an interactive shell on a terminal of its own,
# and checks the arguments that a stand-in for zmlogadm gets. Makes a few files of the product; see
# in_private_debian.sh.
set -euo pipefail
shell=$1
folder=$(mktemp --directory)
trap 'rm -r "$folder"' EXIT

# The typed text, with "~" for the tab key, and the expected arguments. The user need not type a blank that a completion
# leaves. "--NAME=VALUE" counts as "--NAME VALUE", and a folder's last "/" is ignored, because the shells differ there.
rows() {
    local name
    for name in ENABLELOGGING DISABLELOGGING RESETLOGGING RUNZMCPLOGS RUNZMSU CALCLOGSIZE GETDISKSPACE CLEANUP ZMLA \
        FETCHFILE zmsu zmcplogs ktlogcfg versioninfo; do
        echo "${name%?}~|$name"
    done
    for name in ZMKTUL QPKTUL SEARCHKTUL ZMLOGDIR MMLOGDIR QRCONF RKPLUGIN KOB CORVID CLOUD JAVAGUI HOLKAZ VMCONF; do
        echo "ENABLELOGGING ${name%?}~x|ENABLELOGGING $name:x"
    done
    for name in host port socket agent timeout; do
        echo "--${name%?}~5 FETCHFILE|--$name 5 FETCHFILE"
    done
    for name in local json strict no-progress help version; do
        echo "--${name%?}~ FETCHFILE|--$name FETCHFILE"
    done
    cat <<'ROWS'
ENABLELOGGING RK:qt~|ENABLELOGGING RK:qtpiped
ENABLELOGGING RKPLUGIN:~|ENABLELOGGING RKPLUGIN:rkplugin
ENABLELOGGING KOB:~5|ENABLELOGGING KOB:kob=5
ENABLELOGGING CORVID:z~=3|ENABLELOGGING CORVID:zmwqf=3
ENABLELOGGING QRCONF:JOB~=3,REQ~ VMCONF:x|ENABLELOGGING QRCONF:JOBD_VERBOSE=3,REQD_VERBOSE VMCONF:x
ENABLELOGGING QPKTUL:118~=5,~|ENABLELOGGING QPKTUL:118=5,11
RESETLOGGING ZMLOGDIR:jo~|RESETLOGGING ZMLOGDIR:jobd
RESETLOGGING MMLOGDIR:~,ro~|RESETLOGGING MMLOGDIR:robots,robots
GETDISKSPACE /tmp/collec~ /tmp/collec~|GETDISKSPACE /tmp/collected /tmp/collected
RUNZMSU --col~ /tmp/collec~|RUNZMSU --collectdir /tmp/collected
-H media1 -t 5 GETD~ /tmp|-H media1 -t 5 GETDISKSPACE /tmp
-S /run/zmlogadmagent.soc~ GETD~ /tmp|-S /run/zmlogadmagent.socket GETDISKSPACE /tmp
-H gateway ZMLA --js~ RUNZMS~ x|-H gateway ZMLA --json RUNZMSU x
ROWS
}

make_known_names() {
    mkdir -p /usr/kumel/ktul /usr/kumel/volmgr/debug/robots /usr/kumel/zembrath/logs/jobd /tmp/collected
    printf '111.DebugLevel=1\n118.DebugLevel=1\n' >/usr/kumel/ktul/58330.conf
}

remove_known_names() {
    rm -r /usr/kumel/ktul/58330.conf /usr/kumel/volmgr /usr/kumel/zembrath/logs/jobd /tmp/collected
}

write_start_file() {
    cat >"$folder/start" <<START
if [ -n "\${ZSH_VERSION-}" ]; then
    autoload -Uz compinit && compinit -u -d $folder/dump
else
    . /usr/share/bash-completion/bash_completion
fi
zmlogadm() {
    printf '%s ' "\$@" | sed -E 's/(--[a-z]+)=/\1 /; s,/ , ,g; s/ +/ /g; s/ \$//' >>$folder/got
    echo >>$folder/got
}
START
}

type_lines() {
    echo ". $folder/start"
    rows | sed 's/|.*//; s/^/zmlogadm /' | tr '~' '\t'
    echo exit
}

case $shell in
    bash) command='bash --noprofile --norc -i' ;;
    zsh) command='zsh -f -i' ;;
esac
write_start_file
make_known_names
export TERM=dumb HISTFILE=
type_lines | timeout 60 script --quiet --return --command "$command" /dev/null >"$folder/screen" 2>&1 || true
remove_known_names
rows | sed 's/.*|//' >"$folder/expected"
if ! diff "$folder/expected" "$folder/got"; then
    cat "$folder/screen"
    exit 1
fi
