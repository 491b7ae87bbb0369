#!/usr/bin/env bash
# run_page.sh PAGE PROGRAMS SSHD: runs every command of a page, such as docs/many-hosts.md, against the page's hosts,
# and compares each answer with the one that the page shows. PROGRAMS is the folder of the programs. The hosts of the
# page NAME.md are in hosts_of_NAME.sh. For a private root and a process namespace of its own; start it with
# scripts/check_many_hosts.sh.
#
# In the page's indented blocks, a line that begins with "# " is a command; a backslash at its end continues it in the
# next line. The following lines, up to the next command or the end of the block, are its output and its errors. After a
# command with a status other than 0 the page has to show the status with "echo $?". Remarks say what happens to the
# hosts between two commands: <!-- meanwhile: COMMAND -->.
set -euo pipefail
export LC_ALL=C HOME=/root TERM=dumb

if [[ ! -e /.private_root ]]; then
    echo "This replaces files of the system: start it with scripts/check_many_hosts.sh" >&2
    exit 2
fi
# shellcheck source=tests/many_hosts/private_hosts.sh
source tests/many_hosts/private_hosts.sh
page=$(basename "$1" .md)
export hosts_of_page=tests/many_hosts/hosts_of_${page//-/_}.sh
# shellcheck source=/dev/null
source "$hosts_of_page"

failures=0
commands=0
status=0

fail() {
    failures=$((failures + 1))
    echo "$page.md, line $line_number: $1"
}

expect_no_status() {
    ((status == 0)) || fail "the command before ended with $status, which the page does not show"
}

# Runs $1 as the next line of one shell, and compares its output with $2.
check_command() {
    local answer=/tmp/answer
    commands=$((commands + 1))
    # shellcheck disable=SC2016
    [[ $1 == 'echo $?' ]] || expect_no_status
    set +e +o pipefail
    {
        (exit "$status")
        eval "$1"
    } >$answer 2>&1 </dev/null
    status=$?
    set -e -o pipefail
    if ! printf '%s' "$2" | diff --unified --label "on the page" --label "actual" - $answer; then
        fail "another output of: $1"
    fi
}

# Checks the last command, if there is one.
end_command() {
    if [[ -n $command ]]; then
        check_command "$command" "$expected"
    fi
    command='' expected=''
}

check_page() {
    local line line_number=0 command='' expected=''
    while IFS= read -r line <&3; do
        line_number=$((line_number + 1))
        if [[ $line == '<!-- meanwhile: '*' -->' ]]; then
            line=${line#'<!-- meanwhile: '}
            eval "${line%' -->'}"
        elif [[ $line != '    '* ]]; then
            end_command
        elif [[ $command == *\\ ]]; then
            command=${command%\\}${line##*( )}
        elif [[ $line == '    # '* ]]; then
            end_command
            command=${line#'    # '}
        elif [[ -n $command ]]; then
            expected+=${line#'    '}$'\n'
        else
            fail "an answer without a command"
        fi
    done
    end_command
    expect_no_status
}

shopt -s extglob
exec 3<"$1"
shift
prepare_this_host "$@"
start_hosts
cd /root
check_page
if ((commands == 0)); then
    echo "The page has no commands"
    exit 1
fi
if ((failures > 0)); then
    echo "The page is wrong in $failures places."
    exit 1
fi
echo "The output of all $commands commands is as the page shows."
