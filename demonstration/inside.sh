#!/usr/bin/env bash
# The demonstration itself; runs in a private root, in the project's folder. Arguments: the agent and zmlogadm.
set -euo pipefail
export LC_ALL=C

if [[ ! -e /.private_root ]]; then
    echo "This writes to the product's own paths; start it with scripts/demonstrate.sh" >&2
    exit 2
fi
# shellcheck source=demonstration/sample_product.sh
source demonstration/sample_product.sh
# shellcheck source=demonstration/show.sh
source demonstration/show.sh

PATH=/usr/kumel/zembrath/bin/support:$PATH
results=/tmp/collections
port=24761

free_space() {
    heading "Free space"
    show_request 0 zmlogadm GETDISKSPACE /usr/kumel/zembrath/logs
    expect_answer '^CALCLOGSIZE: TARGET_DIR=/usr/kumel/zembrath/logs FREE_SPACE=[0-9]+ MB TOTAL_SPACE=[0-9]+ MB$'
    expect_status_line 0
    expect_no_change
    expect_log 'processing request R=GETDISKSPACE'
}

collections() {
    heading "A log collection: the log copier fills a new folder"
    mkdir $results
    show_request 0 zmlogadm RUNZMCPLOGS --collectdir $results
    expect_answers 3 '^copying /usr/kumel/zembrath/logs/schedd/log\.'
    expect_change "^made +$results/zmla-[0-9]{29}-[a-z0-9]{6}/log\.20240303$"
    expect_log 'child process exited CEC=0'

    heading "The support utility: runs, and its packages are listed"
    show_request 0 zmlogadm RUNZMSU
    expect_answer '^gathering the state of '
    expect_answers 2 '^ZMSU PACKAGE=/usr/kumel/zembrath/logs/zmlaevidence/zmla-.*/(package|catalogue)\.txt$'
    expect_change '^made +/usr/kumel/zembrath/logs/zmlaevidence/zmla-.*/package\.txt$'

    heading "The size of a collection: collected, measured and removed again"
    show_request 0 zmlogadm CALCLOGSIZE --collectdir $results
    expect_answer "^CALCLOGSIZE: TARGET_DIR=$results "
    expect_no_change
}

clean_up() {
    heading "Clean-up of an earlier result"
    show_request 0 zmlogadm CLEANUP $results/zmla-*
    expect_answer "^CLEANUP: Successfully cleaned up $results/zmla-"
    expect_change "^removed +$results/zmla-.*/$"

    heading "Clean-up of a directory that is no collection result: rejected"
    show_request 252 zmlogadm CLEANUP /usr/kumel/zembrath/logs/schedd
    expect_answer '^CLEANUP: Will not clean up unknown location: /usr/kumel/zembrath/logs/schedd$'
    expect_status_line 5820
    expect_no_change
}

failing_tools() {
    heading "A tool that fails: the request has its exit status, and its directory is removed"
    show_request 3 zmlogadm RUNZMSU -unreachable --collectdir $results
    expect_answer '^no connection to the catalogue$'
    expect_status_line 3
    expect_no_change
    expect_log "cleaning up: $results/zmla-"

    heading "A tool that a signal kills"
    show_request 27 zmlogadm versioninfo
    expect_status_line 27
    expect_log 'terminated w/ signal SIG=11'
}

refusals() {
    heading "An unknown word: rejected"
    show_request 252 zmlogadm REBOOT now
    expect_status_line 5764
    expect_no_change
    expect_log 'command is not valid C=REBOOT'

    heading "A peer on a host that is not in the SERVER list: rejected"
    sed -i 's/^SERVER = localhost/SERVER = 192.0.2.7/' /usr/kumel/zembrath/qr.conf
    show_request 252 zmlogadm GETDISKSPACE /
    sed -i 's/^SERVER = 192.0.2.7/SERVER = localhost/' /usr/kumel/zembrath/qr.conf
    expect_status_line 5762
    expect_log 'peer not in SERVER list'
}

logging() {
    heading "Debug logging switched on, in all fourteen categories"
    show_request 0 zmlogadm ENABLELOGGING ZMKTUL:111=6 QPKTUL:111=5 SEARCHKTUL:111=4 ZMLOGDIR:tapemgr \
        MMLOGDIR:daemon1 QRCONF:TAPEMGR_VERBOSE=5,CATMGR_VERBOSE RK:kpa=full RKPLUGIN:rkplugin KOB:kob=5 \
        CORVID:zmwqf=5 CLOUD:skyhold JAVAGUI:gui HOLKAZ:az VMCONF:daemon1
    expect_answers 15 '^PROCESS=[A-Z]+:[A-Za-z0-9_]+ STATUS=0 MSG='
    expect_change '^made +/usr/kumel/zembrath/logs/tapemgr/$'
    expect_change '^made +/usr/kumel/volmgr/debug/daemon1/$'
    expect_change '^\+111\.DebugLevel=6$'
    expect_change '^\+TAPEMGR_VERBOSE = 5$'
    expect_change '^\+Logging=full,thread$'
    expect_change '^\+LOGLEVEL = 10$'
    expect_change '^\+DEBUGLOG = /$'
    expect_change '^\+WQF:LOGLEVEL=5$'
    expect_change '^\+SHCT_LOG_LEVEL=5$'
    expect_change '^\+printcmds=true$'
    expect_change '^\+"DebugLevel"="6"$'
    expect_change '^\+VERBOSE$'
    printf '\n  command line of the connection broker'\''s tool, as the stand-in recorded it:\n'
    sed 's/^/    /' /opt/HOLKkob/calls
    [[ $(cat /opt/HOLKkob/calls) == '/opt/HOLKkob/bin/ktlogcfg -a -p 50936 -o 103 -s DebugLevel=5' ]] ||
        fail "the connection broker's tool got another command line"

    heading "Debug logging lowered again"
    show_request 0 zmlogadm DISABLELOGGING ZMKTUL:111=1 QPKTUL:111=1 SEARCHKTUL:111=1 QRCONF:TAPEMGR_VERBOSE=0 \
        RK:kpa=none RKPLUGIN:rkplugin KOB:kob=0 CORVID:zmwqf=1 CLOUD:skyhold=1 JAVAGUI:gui 'HOLKAZ:az="1"' \
        VMCONF:daemon1
    expect_answers 12 '^PROCESS=[A-Z]+:[A-Za-z0-9_]+ STATUS=0 MSG='
    expect_change '^-111\.DebugLevel=6$'
    expect_change '^\+#printcmds=true$'
    expect_change '^\+#VERBOSE$'

    heading "Debug logging reset to the product's defaults"
    show_request 0 zmlogadm RESETLOGGING QRCONF:TAPEMGR_VERBOSE=-1,CATMGR_VERBOSE=-1,MYPROC_VERBOSE=-1 VMCONF:daemon1
    expect_answers 4 ' STATUS=0 MSG='
    expect_change '^\+CATMGR_VERBOSE = 0$'
    expect_change '^-MYPROC_VERBOSE = 2$'
    expect_log "Removing 'MYPROC_VERBOSE' from qr.conf"
}

# Runs a command as a user who is not root: as nobody if possible, otherwise as an unmapped user in a user namespace.
as_ordinary_user() {
    if setpriv --reuid=65534 --regid=65534 --clear-groups true 2>/dev/null; then
        setpriv --reuid=65534 --regid=65534 --clear-groups "$@"
    else
        unshare --user "$@"
    fi
}

start_tcp_service() {
    exec {service_output}< <(exec systemd-socket-activate --accept --inetd -l "127.0.0.1:$port" \
        /usr/kumel/zembrath/bin/zmlogadmagent 2>&1)
    service=$!
    trap 'kill "$service" 2>/dev/null || true' EXIT
    local line
    while read -r -t 30 line <&"$service_output"; do
        if [[ $line == "Listening on "* ]]; then
            return 0
        fi
    done
    echo "systemd-socket-activate does not listen: ${line:-it printed nothing}" >&2
    exit 1
}

over_tcp() {
    heading "Over TCP: systemd-socket-activate starts the agent; the peer is root"
    start_tcp_service
    show_request 0 zmlogadm -H 127.0.0.1 -p "$port" GETDISKSPACE /usr/kumel
    expect_answer '^CALCLOGSIZE: TARGET_DIR=/usr/kumel '
    expect_log 'H=127\.0\.0\.1 P=[0-9]+ U=root '

    show_request 0 zmlogadm -H 127.0.0.1 -p "$port" RUNZMSU
    expect_answers 2 '^ZMSU PACKAGE='

    heading "Over TCP: a peer that is not root is rejected"
    show_request 135 as_ordinary_user zmlogadm -H 127.0.0.1 -p "$port" GETDISKSPACE /usr/kumel
    expect_status_line 135
    expect_no_change
    expect_log 'peer user info unavailable'
}

mkdir -p $state
make_sample_product "$1" "$2"
free_space
collections
clean_up
failing_tools
refusals
logging
over_tcp
if ((failures > 0)); then
    printf '\n%d results differ from the expected ones.\n' "$failures"
    exit 1
fi
printf '\nAll results are as expected. The private root is gone; the host is unchanged.\n'
