#!/usr/bin/env bash
# Makes the figures of docs/reliability.md, which takes about two hours. Arguments select parts:
#
#   faults    every system call and every allocation of every request fails, or the agent is killed there
#   disk      every state that the disk may have after a power failure
#   load      scripts/load.sh
#   fuzz      scripts/fuzz.sh, five minutes a harness
#   coverage  scripts/coverage.sh
#   memory    scripts/check_memory.sh
#   mutants   scripts/mutate.sh
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."
release=build/release

build() {
    scripts/install_dependencies.sh build
    cmake --preset release >/dev/null
    cmake --build --preset release --parallel "$(nproc)" --target "$@" >/dev/null
}

# Adds up the runs that the tests of a name recorded. Fails if there is none: the tests were renamed.
count_runs() { # NAME WHAT
    awk -v name="$1" -v what="$2" '
        /<testcase / { on = $0 ~ name }
        on && /name="runs_with_faults"/ { match($0, /value="[0-9]+"/); sum += substr($0, RSTART + 7, RLENGTH - 8) }
        END { printf "%-40s %6d runs\n", what, sum; exit sum == 0 }' build/faults.xml
}

faults() {
    build reliability_tests
    # In the private root the host's files are below /.host.
    if ! ZMLA_ALL_FAULTS=1 "$release/tests/reliability/reliability_tests" --gtest_brief=1 \
        --gtest_output="xml:/.host$PWD/build/faults.xml" >build/faults.log; then
        cat build/faults.log
        return 1
    fi
    count_runs FaultLoop 'A system call fails, or the agent is killed'
    count_runs 'KilledAtOnce.*FaultLoop' 'Of these: killed'
    count_runs AllocationLoop 'An allocation fails'
}

disk() {
    build zmlogadmagent zmlogadm in_private_root
    "$release/tests/support/in_private_root" python3 "/.host$PWD/tests/reliability/disk_model.py" \
        "/.host$PWD/$release/zmlogadmagent" "/.host$PWD/$release/zmlogadm"
}

load() {
    scripts/load.sh
}

fuzz() {
    local harnesses
    harnesses=$(find tests/fuzz/corpus -mindepth 1 -maxdepth 1 -type d | wc -l)
    scripts/fuzz.sh $((harnesses * 300 / $(nproc)))
}

coverage() {
    scripts/coverage.sh
}

memory() {
    scripts/check_memory.sh
}

mutants() {
    scripts/mutate.sh
}

(($# > 0)) || set -- faults disk load fuzz coverage memory mutants
for part in "$@"; do
    case $part in
        faults | disk | load | fuzz | coverage | memory | mutants) ;;
        *)
            echo "reliability.sh: no part is called $part; there are faults, disk, load, fuzz, coverage, memory" \
                "and mutants" >&2
            exit 2
            ;;
    esac
    echo "== $part"
    "$part"
done
