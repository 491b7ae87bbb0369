# shellcheck shell=bash
# Sends a request, and shows the request, the answer, the changes in the sample product and the debug log. The expect_
# functions check the results of the last request, and print only differences.

state=/var/tmp/demonstration
shown_trees=(usr/kumel opt etc/rkregistry.cfg tmp)
debug_log_folder=usr/kumel/zembrath/logs/zmlogadmagent
failures=0

bold='' plain=''
if [[ -t 1 ]]; then
    bold=$'\e[1m' plain=$'\e[0m'
fi

heading() {
    printf '\n%s%s%s\n' "$bold" "$1" "$plain"
    printf '%s\n' "${1//?/=}"
}

# Prints the file $2 under the title $1, unless it is empty.
show_part() {
    [[ -s $2 ]] || return 0
    printf '\n  %s:\n' "$1"
    sed 's/^/    /' "$2"
}

fail() {
    failures=$((failures + 1))
    printf '\n%s  NOT AS EXPECTED: %s%s\n' "$bold" "$1" "$plain"
}

# Prints the paths of the shown trees below the folder $1; those of folders end in "/".
list_trees() {
    (cd "$1" && find "${shown_trees[@]}" -path "$debug_log_folder" -prune -o \( -type d -printf '/%p/\n' , \
        ! -type d -printf '/%p\n' \)) | sort
}

take_snapshot() {
    rm -rf "$state/before"
    mkdir -p "$state/before"
    (cd / && cp --archive --parents "${shown_trees[@]}" "$state/before")
    list_trees / >"$state/paths_before"
    cat /$debug_log_folder/log.* >"$state/log_before" 2>/dev/null || true
}

# Prints the changes since the snapshot.
list_changes() {
    list_trees / >"$state/paths_after"
    comm -13 "$state/paths_before" "$state/paths_after" | sed 's/^/made     /'
    comm -23 "$state/paths_before" "$state/paths_after" | sed 's/^/removed  /'
    local path
    comm -12 "$state/paths_before" "$state/paths_after" | while read -r path; do
        if [[ -f $path ]] && ! cmp -s "$state/before$path" "$path"; then
            diff -u --label "$path, before" --label "$path, after" "$state/before$path" "$path" || true
        fi
    done
}

# Prints the log's new lines, except those about sending each line.
list_log_lines() {
    { cat /$debug_log_folder/log.* 2>/dev/null || true; } |
        tail -c "+$(($(stat -c %s "$state/log_before") + 1))" >"$state/new_log"
    grep -v '> socksend: ' "$state/new_log" || true
    local sending
    sending=$(grep -c '> socksend: ' "$state/new_log" || true)
    ((sending == 0)) || echo "(and $sending lines about sending the answer's lines)"
}

# Runs the command and shows the results. Arguments: the expected exit status, the command.
show_request() {
    local expected=$1 status=0
    shift
    take_snapshot
    printf '\n  %ssent:%s\n    $ %s\n' "$bold" "$plain" "$*"
    "$@" >"$state/answer" 2>"$state/status_line" </dev/null || status=$?
    list_changes >"$state/changes"
    list_log_lines >"$state/log"
    show_part "standard output" "$state/answer"
    show_part "standard error" "$state/status_line"
    printf '\n  exit status of zmlogadm: %d\n' "$status"
    [[ -s $state/changes ]] || echo "nothing" >"$state/changes"
    show_part "changed" "$state/changes"
    show_part "debug log" "$state/log"
    ((status == expected)) || fail "the exit status is $status and not $expected"
}

# Each expects a line that matches an extended regular expression: in the answer, in the changes, in the log.
expect_answer() {
    grep -qE -e "$1" "$state/answer" || fail "the answer has no line $1"
}
expect_status_line() {
    grep -qE -e "^EXIT STATUS $1 ." "$state/status_line" || fail "the status line does not report $1"
}
expect_change() {
    grep -qE -e "$1" "$state/changes" || fail "the changes have no line $1"
}
expect_no_change() {
    [[ $(cat "$state/changes") == nothing ]] || fail "something changed"
}
expect_log() {
    grep -qE -e "$1" "$state/log" || fail "the debug log has no line $1"
}
# Expects $1 matching lines in the answer.
expect_answers() {
    local count
    count=$(grep -cE -e "$2" "$state/answer" || true)
    ((count == $1)) || fail "the answer has $count lines $2 and not $1"
}
