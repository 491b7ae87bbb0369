#!/usr/bin/env bash
# check_architectures.sh [ARCHITECTURE ...]: builds the programs for other processors and tests them under an emulator.
# The architectures are names in cmake/architectures; without one all of them are checked, several at once.
#
# For each it builds the three programs, the unit tests and the tests of the platform library, and runs these tests. Then
# the end-to-end tests of this machine's release build run with the programs of the other architecture.
# tests/not_emulated.txt lists the tests that are left out, with the reasons.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."
. scripts/shared_steps.sh
programs=(zmlogadmagent zmlogadm zmlogstate)
cross_built=(unit_tests platform_tests)
end_to_end=(end_to_end_tests logging_end_to_end_tests request_command_tests state_command_tests)

setting() { # ARCHITECTURE NAME: what its toolchain file sets the name to
    sed -nE "s/^set\($2 (.*)\)/\1/p" "cmake/architectures/$1.cmake"
}

test_program() { # FOLDER NAME
    find "$PWD/$1/tests" -name "$2" -type f -perm -u+x
}

build() { # ARCHITECTURE JOBS
    cmake -S . -B "build/architectures/$1" -DCMAKE_BUILD_TYPE=Release \
        "-DCMAKE_TOOLCHAIN_FILE=$PWD/cmake/architectures/$1.cmake" >/dev/null &&
    cmake --build "build/architectures/$1" --parallel "$2" --target "${programs[@]}" "${cross_built[@]}"
}

# Makes FOLDER/NAME for each program, which runs it under the emulator, if there is one.
put_programs() { # ARCHITECTURE FOLDER
    local name emulator
    emulator=$(setting "$1" emulator)
    rm -rf "$2"
    mkdir "$2"
    for name in "${programs[@]}"; do
        if [[ -z $emulator ]]; then
            ln "build/architectures/$1/$name" "$2"
        else
            printf '%s\n' '#!/bin/sh' \
                "exec $emulator -0 \"\$0\" '/.host$PWD/build/architectures/$1/$name' \"\$@\"" >"$2/$name"
            chmod +x "$2/$name"
        fi
    done
}

# Fails if a line of tests/not_emulated.txt names no architecture or no test program.
check_left_out() {
    local where program pattern
    while read -r where program pattern; do
        if [[ " every emulated ${all[*]} " != *" $where "* ||
            " ${cross_built[*]} ${end_to_end[*]} " != *" $program "* ]]; then
            echo "tests/not_emulated.txt: no such architecture or test program: $where $program $pattern" >&2
            return 1
        fi
    done < <(grep '^[^#]' tests/not_emulated.txt)
}

left_out() { # ARCHITECTURE PROGRAM: the patterns of the tests, one a line
    local where program pattern emulator
    emulator=$(setting "$1" emulator)
    while read -r where program pattern; do
        if [[ $program == "$2" && ($where == every || $where == "$1" || ($where == emulated && -n $emulator)) ]]; then
            echo "$pattern"
        fi
    done < <(grep -v '^#' tests/not_emulated.txt)
}

# Runs all tests of a program except those that are left out.
run_tests() { # ARCHITECTURE NAME COMMAND...
    local architecture=$1 name=$2 log=build/architectures/$1/$2.log patterns
    shift 2
    mapfile -t patterns < <(left_out "$architecture" "$name")
    if ! list_tests "$@" | check_patterns "${patterns[@]}"; then
        echo "A line of tests/not_emulated.txt for $name is wrong."
        return 1
    fi
    "$@" --gtest_brief=1 --gtest_filter="-$(IFS=: && echo "${patterns[*]}")" >"$log" 2>&1 ||
        { cat "$log" && return 1; }
    echo "$architecture: $name: $(tail -n 1 "$log")"
}

check() { # ARCHITECTURE JOBS
    local name folder=$PWD/build/architectures/$1 emulator libraries start=()
    emulator=$(setting "$1" emulator)
    if [[ -n $emulator ]]; then
        # With -L the emulator would find the libraries too, but then it takes their folder for "/" in every path.
        libraries=/usr/$(setting "$1" triplet)/lib
        start=("$emulator" "$libraries"/ld*.so.* --library-path "$libraries")
    fi
    build "$1" "$2" || return 1
    put_programs "$1" "$folder/programs"
    for name in "${cross_built[@]}"; do
        run_tests "$1" "$name" "${start[@]}" "$(test_program "build/architectures/$1" "$name")" || return 1
    done
    for name in "${end_to_end[@]}"; do
        ZMLA_PROGRAMS=$folder/programs run_tests "$1" "$name" "$(test_program build/release "$name")" || return 1
    done
}

report() { # ARCHITECTURE JOBS
    local log=build/architectures/$1.log
    if ! check "$1" "$2" >"$log" 2>&1; then
        tail -n 200 "$log"
        echo "$1: failed; all output is in $log"
        return 1
    fi
    grep "^$1: " "$log"
}

mapfile -t all < <(basename --suffix=.cmake --multiple cmake/architectures/*.cmake)
(($# > 0)) || set -- "${all[@]}"
# A name given twice would build twice in one folder.
mapfile -t chosen < <(printf '%s\n' "$@" | sort --unique)
set -- "${chosen[@]}"
for architecture; do
    if [[ ! -e cmake/architectures/$architecture.cmake ]]; then
        echo "check_architectures.sh: no architecture is called $architecture; there are ${all[*]}" >&2
        exit 2
    fi
done
check_left_out
scripts/install_dependencies.sh build "$@"
cmake --preset release >/dev/null
cmake --build --preset release --parallel "$(nproc)" --target "${end_to_end[@]}" "${programs[@]}" >/dev/null
mkdir -p build/architectures
jobs=$(($(nproc) / $#))
runs=()
for architecture; do
    report "$architecture" $((jobs > 0 ? jobs : 1)) &
    runs+=($!)
done
failed=0
for run in "${runs[@]}"; do
    wait "$run" || failed=1
done
cat <<'END'
These runs do not show how the programs behave on another kernel or on real hardware, and how fast they are. The kernel
is this machine's, and so are the page size, the alignment and the order of memory accesses. See docs/platforms.md.
END
exit "$failed"
