#!/usr/bin/env bash
# Fuzzes what reads bytes of peers and files of users: every harness of tests/fuzz from its corpus, with libFuzzer,
# AddressSanitizer and UndefinedBehaviorSanitizer, for a million runs or its share of the time, whichever is less; as many
# harnesses at once as there are processors.
#
#   scripts/fuzz.sh [SECONDS]     SECONDS are for all together, 300 by default
#   scripts/fuzz.sh RUNSruns      as many runs of each ("5000000runs"), however long that takes
#
# Prints a line for each: its name, runs, seconds, edges covered, inputs in its corpus. What it finds is saved in
# build/fuzz/found, and fails the script; copied into tests/fuzz/corpus/NAME it is replayed by every build's tests.
# Inputs that cover more than the corpus does are left in build/fuzz/new/NAME, from which
#   build/fuzz/tests/fuzz/fuzz_NAME -merge=1 tests/fuzz/corpus/NAME build/fuzz/new/NAME
# takes into the corpus what adds to it.
set -euo pipefail
cd "$(dirname "$0")/.."

limit=${1:-300}
if [[ ! $limit =~ ^[1-9][0-9]*(runs)?$ ]]; then
    echo "Usage: scripts/fuzz.sh [SECONDS | RUNSruns]" >&2
    exit 2
fi

scripts/install_dependencies.sh build fuzz
{
    cmake --preset fuzz
    cmake --build --preset fuzz --parallel "$(nproc)"
} >/dev/null

# Relative names, for the fuzzers run in a private root, where the working folder alone is what it is here.
export corpora=tests/fuzz/corpus build=build/fuzz
names=()
for folder in "$corpora"/*/; do
    names+=("$(basename "$folder")")
done
at_once=$(nproc)
export limits=-runs=${limit%runs}
if [[ $limit != *runs ]]; then
    share=$((limit * at_once / ${#names[@]}))
    limits="-runs=1000000 -max_total_time=$((share > 0 ? share : 1))"
fi

# The last report of a log: "#RUNS DONE cov: EDGES ft: FEATURES corp: INPUTS/SIZE ...".
report() {
    local name=$1 log=$2 seconds=$3
    awk -v name="$name" -v seconds="$seconds" '
        /^#[0-9]+\t.* cov: / {
            runs = substr($1, 2)
            for (i = 1; i < NF; ++i) {
                if ($i == "cov:") edges = $(i + 1)
                if ($i == "corp:") { split($(i + 1), corpus, "/"); inputs = corpus[1] }
            }
        }
        END { printf "%-20s %9d %8d %7d %7d\n", name, runs, seconds, edges, inputs }' "$log"
}

fuzz() {
    local name=$1 start=$SECONDS log=$build/$1.log status=0 arguments
    mkdir -p "$build/new/$name"
    read -ra arguments <<<"$limits"
    arguments+=(-max_len=4096 -timeout=10 -artifact_prefix="$build/found/$name-")
    if [[ -f tests/fuzz/dictionary/$name.dict ]]; then
        arguments+=(-dict="tests/fuzz/dictionary/$name.dict")
    fi
    "$build/tests/fuzz/fuzz_$name" "${arguments[@]}" "$build/new/$name" "$corpora/$name" >"$log" 2>&1 || status=$?
    report "$name" "$log" "$((SECONDS - start))"
    if ((status != 0)); then
        grep -E 'does not hold|^SUMMARY|Test unit written|^private root' "$log" >&2 || tail -n 5 "$log" >&2
        return 1
    fi
}
export -f report fuzz

mkdir -p "$build/found"
printf '%-20s %9s %8s %7s %7s\n' harness runs seconds edges inputs
if ! printf '%s\n' "${names[@]}" | xargs --max-procs="$at_once" --replace bash -c 'fuzz {}'; then
    echo "fuzzing: something was found, see above" >&2
    exit 1
fi
echo "fuzzing: nothing found"
