# shellcheck shell=bash The hosts of docs/investigation.md, and the functions that its remarks call. backup2 has no
# systemd, backup3 no unified logging store, backup4 a file of mode 640, backup5 logging on already, and backup6 trusts
# another server.

start_hosts() {
    sed -i 's/^192.0.2.10 /127.0.0.10 /' /etc/hosts
    ln -s /usr/kumel/zembrath/bin/support/zmlogstate /usr/local/bin/zmlogstate
    make_clock
    start_host 2 40960 has_components serves_ssh
    start_host 3 40960 has_components has_no_store serves_ssh
    start_host 4 40960 has_components has_a_file_of_mode_640 serves_ssh
    start_host 5 40960 has_components has_logging_on serves_ssh
    start_host 6 40960 has_components trusts_another_server serves_ssh
    local host
    for host in 7 8 9 10 11; do
        start_host "$host" 40960 has_components serves_ssh
    done
    wait_for_listeners 127.0.0.{2..11}:22
}

# The hosts have no systemd of their own, and the test decides when the half hour is over. The command of a timer and
# "sleep 1800" wait for it at a FIFO.
make_clock() {
    mkdir /tmp/clock
    cat >/usr/local/bin/sleep <<'END'
#!/bin/sh
[ "$*" = 1800 ] && mkfifo "/tmp/clock/$(hostname)" || exit 1
read -r line <"/tmp/clock/$(hostname)"
exit 0
END
    cat >/usr/local/bin/systemd-run <<'END'
#!/bin/sh
[ "$1 $2 $3" = "--quiet --on-active=30min --unit=case-4711" ] && shift 3 || exit 1
command -v "$1" >/dev/null || exit 1
setsid sh -c 'sleep 1800 && exec "$@"' sh "$@" >/dev/null 2>&1 </dev/null &
echo "$!" >"/tmp/clock/$(hostname).timer"
END
    cat >/usr/local/bin/systemctl <<'END'
#!/bin/sh
[ "$*" = "stop case-4711.timer" ] && kill -- "-$(cat "/tmp/clock/$(hostname).timer")"
END
    chmod 755 /usr/local/bin/{sleep,systemd-run,systemctl}
}

# Ends the half hour on host $1 and waits until it is restored: only the log directory, which holds logs, is left.
half_an_hour_passes() {
    [[ -p /tmp/clock/backup$1 ]] || fail "no command waits on backup$1"
    : >"/tmp/clock/backup$1"
    local deadline=$((SECONDS + 30))
    until [[ $(ssh "backup$1" zmlogstate diff /usr/kumel/case-4711/before) == */night:* ]] &&
        [[ $(ssh "backup$1" zmlogstate diff /usr/kumel/case-4711/before | wc -l) == 1 ]]; do
        if ((SECONDS > deadline)); then
            fail "backup$1 did not restore itself"
            return
        fi
    done
}

# Starts the failing backup again, which writes logs on the hosts that have its log directory.
backups_run() {
    local host
    for host in 2 3 4 5 7 8 9 10 11; do
        ssh "backup$host" 'echo "debug 6" >/usr/kumel/zembrath/logs/night/log'
    done
}

# Makes the files that the investigation changes, and a stand-in for the log copier.
has_components() {
    ln -s "$programs/zmlogstate" /usr/kumel/zembrath/bin/support/zmlogstate
    mkdir /usr/kumel/volmgr
    echo '#VERBOSE' >/usr/kumel/volmgr/vm.conf
    cat >/usr/kumel/zembrath/bin/support/zmcplogs <<'END'
#!/bin/sh
for directory; do :; done
mkdir "$directory" && grep 'debug 6' /usr/kumel/zembrath/logs/night/log >"$directory/log" && echo "1 file copied"
END
    chmod 755 /usr/kumel/zembrath/bin/support/zmcplogs
}

has_no_store() {
    rm /usr/kumel/ktul/51216.conf
}

has_a_file_of_mode_640() {
    chmod 640 /usr/kumel/volmgr/vm.conf
}

has_logging_on() {
    echo VERBOSE >/usr/kumel/volmgr/vm.conf
    printf '%s\n' 111.DebugLevel=4 111.DiagnosticLevel=6 >/usr/kumel/ktul/51216.conf
}
