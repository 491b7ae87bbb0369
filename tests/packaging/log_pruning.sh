#!/usr/bin/env bash
# log_pruning.sh: checks the removal of old logs, on a machine where the package is installed and qr.conf trusts
# localhost; see in_private_debian.sh. Restores the product's logs.
set -euo pipefail
# shellcheck source=tests/packaging/life_checks.sh
. "$(dirname "$0")/life_checks.sh"
logs=$product/logs/zmlogadmagent
settings=/etc/default/zmlogadmagent
prune=$product/bin/support/zmlogadmagent-prune-logs

day() { # DAYS_AGO
    date -d "$1 days ago 12:00" +%Y%m%d
}

# Empties the folder and makes a log for each argument.
begin() { # DAYS_AGO:MIB ...
    rm -rf "$logs"
    mkdir "$logs"
    local log
    for log; do
        truncate --size $((${log#*:} * 1048576 + 1)) "$logs/log.$(day "${log%:*}")"
    done
}

left() { # NAME ...
    diff <(printf '%s\n' "$@") <(cd "$logs" && find . -mindepth 1 -printf '%P\n' | sort)
}

days_left() { # DAYS_AGO ...
    local ago names=()
    for ago; do
        names+=("log.$(day "$ago")")
    done
    left "${names[@]}"
}

check_age() {
    begin 0:0 31:0 32:0 400:0
    check "old logs are removed" $prune
    check "those of the last 31 days are left" days_left 31 0
}

check_size() {
    begin 0:200 1:300 2:600 3:400
    check "logs that are too large together are removed" $prune
    check "the oldest ones are gone" days_left 1 0
    begin 0:1024 1:300 2:300
    check "a single log above the limit is removed" $prune
    check "the others are left" days_left 2 1
}

check_settings() {
    cp $settings /tmp/settings
    printf 'LOG_DAYS=2\nLOG_MEGABYTES=10' >$settings
    begin 0:4 1:4 2:4 3:0
    check "settings are obeyed" $prune
    check "both of them" days_left 1 0
    printf 'LOG_DAYS=$(touch /tmp/pwned)\nLOG_MEGABYTES=08\nOTHER=1\n' >$settings
    begin 0:300 31:300 32:0
    check "wrong settings are reported" is $prune -- "\
zmlogadmagent-prune-logs: $settings: LOG_DAYS is not a number
zmlogadmagent-prune-logs: $settings: LOG_MEGABYTES is not a number
zmlogadmagent-prune-logs: $settings: unknown setting \"OTHER\"
$logs/log.$(day 32) removed: older than 31 days"
    check "they are not run" test ! -e /tmp/pwned
    rm $settings
    begin 0:300 32:0
    check "no settings are needed" $prune
    check "31 days are kept then, too" days_left 0
    mv /tmp/settings $settings
}

check_other_names() {
    begin
    local names=(log.2026010 log.202601011 Log.20200101 log.20200101x 'log.20200101 ' $'log.20200101\n' 'log.$(touch pwned)'
        'log.2020010`touch pwned`' -rf log.20200102 log.20200103 log.20200104 '*' 'log.2020010?')
    local victim=$product/logs/victim
    touch "$victim"
    (
        cd "$logs"
        touch -- "${names[@]}"
        rm log.2020010[234]
        mkdir log.20200102
        ln -s "$victim" log.20200103
        mkfifo log.20200104
        touch log.20200105
    )
    check "old logs are removed among other names" $prune
    check "no other name is" diff <(printf '%s\0' "${names[@]}" | sort --zero-terminated) \
        <(find "$logs" -mindepth 1 -printf '%P\0' | sort --zero-terminated)
    check "what a link leads to is left" test -e "$victim"
    rm "$victim"
}

check_folder() {
    rm -rf "$logs"
    check "a folder that is missing is no failure" is $prune -- ''
    mkdir $product/logs/elsewhere
    touch $product/logs/elsewhere/log.20200101
    ln -s elsewhere "$logs"
    check "a folder that is a link is refused" fails $prune
    check "its files are left" test -e $product/logs/elsewhere/log.20200101
    rm -r "$logs" $product/logs/elsewhere
}

# The agent that holds the log waits for its request.
check_log_in_use() {
    begin
    begin_request
    local log
    log=$(echo "$logs"/log.*)
    truncate --size 2G "$log"
    check "the log of a running request is removed" systemctl start zmlogadmagent-prune-logs.service
    check "it is gone" test ! -e "$log"
    check "the request is carried out" grep '^EXIT STATUS 0 ' <<<"$(finish_request)"
    check "the next request begins a new log" ask GETDISKSPACE /var/log
    check "which has its lines" grep -q GETDISKSPACE "$log"
}

comes_every_hour() {
    systemctl show --property=TimersCalendar zmlogadmagent-prune-logs.timer | grep -F 'OnCalendar=*-*-* *:00:00 '
}

check_units() {
    check "the timer is enabled" is systemctl is-enabled zmlogadmagent-prune-logs.timer -- enabled
    check "the timer is waiting" is systemctl is-active zmlogadmagent-prune-logs.timer -- active
    check "it comes every hour" comes_every_hour
    begin 0:0 32:0
    check "the service runs" systemctl start zmlogadmagent-prune-logs.service
    check "it removes as the script does" days_left 0
}

cp --archive "$logs" /tmp/agent_logs
echo "Removal of old logs"
check_units
check_age
check_size
check_settings
check_other_names
check_folder
check_log_in_use
rm -rf "$logs"
mv /tmp/agent_logs "$logs"
