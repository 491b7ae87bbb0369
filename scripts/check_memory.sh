#!/usr/bin/env bash
# Runs under valgrind's memcheck the tests of the functions and the library, and every agent and every zmlogadm that the
# other tests start. Reports the descriptors that an agent or zmlogadm leaves open, too. Takes about a quarter of an
# hour. The reports are in build/valgrind/reports.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."
. scripts/shared_steps.sh
folder=$PWD/build/valgrind
reports=$folder/reports
programs=(logging_end_to_end_tests end_to_end_tests request_command_tests platform_tests unit_tests)
# Tests that leave valgrind no descriptor or pipe, or a closed standard stream, which valgrind would use for its report.
excluded=('*WithoutDescriptors*' '*DescriptorsAreMissing*' '*WhenTheCommandHasNone' '*.IsReportedWhenItIsClosed/*'
    '*/LastNewline')
# Tests that kill at each system call, which takes too long.
excluded+=('*FileSafety*' '*SwappedForALink*')
memcheck="valgrind --quiet --vgdb=no --leak-check=full --errors-for-leak-kinds=definite"

build() {
    scripts/install_dependencies.sh build memory
    cmake -S . -B "$folder" -DCMAKE_BUILD_TYPE=Debug -DZMLA_VALGRIND=ON >/dev/null
    cmake --build "$folder" --parallel "$(nproc)" >/dev/null
}

# Replaces a program by a script that runs it under valgrind. In the private root the host's files are below /.host.
put_under_valgrind() { # PROGRAM
    if [[ $(head --bytes=2 "$folder/$1") != '#!' ]]; then
        mv "$folder/$1" "$folder/$1.real"
    fi
    printf '#!/bin/sh\nexec %s --track-fds=yes --log-file="%s" "%s" "$@"\n' "$memcheck" "/.host$reports/$1.%p" \
        "/.host$folder/$1.real" >"$folder/$1"
    chmod +x "$folder/$1"
}

# Tests of descriptors or system calls see valgrind's own and may fail here, so their results are only printed; other
# builds check them.
run_tests() {
    local filter
    filter=-$(IFS=: && echo "${excluded[*]}")
    export memcheck reports filter
    printf '%s\n' "${programs[@]}" |
        xargs --max-procs="$(nproc)" --replace sh -c '
            program=$(find "$1" -name {} -type f)
            case {} in
                unit_tests | platform_tests) prefix="$memcheck --log-file=$reports/{}.%p" ;;
            esac
            $prefix "$program" --gtest_brief=1 --gtest_filter="$filter" >"$program.log" 2>&1
            echo "{}: $(tail -n 1 "$program.log")"' sh "$folder/tests"
}

# Prints valgrind's reports except those of descriptors that come from the parent (valgrind's report is one), of the
# socket of an agent that ends early, which the end of the process closes, and of mounts without a type, which valgrind
# does not know.
findings() {
    local report
    for report in "$reports"/*; do
        sed -E 's/^==[0-9]+== ?//' "$report" | awk -v RS= -v report="$(basename "$report")" '
            { sub(/^FILE DESCRIPTORS: [^\n]*\n?/, "") }
            /^Open .*<inherited from parent>/ || /^Open .*take_over_socket/ || /^Syscall param mount\(type\)/ { next }
            $0 != "" { print report ": " $0 }'
    done
}

build
for name in "${programs[@]}"; do
    list_tests "$(find "$folder/tests" -name "$name" -type f)"
done | check_patterns "${excluded[@]}"
put_under_valgrind zmlogadmagent
put_under_valgrind zmlogadm
rm -rf "$reports"
mkdir "$reports"
run_tests
for program in zmlogadmagent zmlogadm unit_tests platform_tests; do
    count=$(find "$reports" -name "$program.*" | wc -l)
    echo "$program: $count processes"
    if ((count == 0)); then
        exit 1
    fi
done
said=$(findings)
if [[ -n $said ]]; then
    printf '%s\n' "$said"
    exit 1
fi
echo "valgrind: no error, no leak, no descriptor left open"
