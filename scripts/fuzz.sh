#!/usr/bin/env bash
# Fuzzes the functions that read bytes of peers and files of users. Runs every harness of tests/fuzz from its corpus,
# with libFuzzer, AddressSanitizer and UndefinedBehaviorSanitizer, for a million runs or its share of the time,
# whichever is less. Runs as many harnesses at once as there are processors.
#
#   scripts/fuzz.sh [SECONDS]     SECONDS for all harnesses together, 300 by default
#   scripts/fuzz.sh RUNSruns      that many runs of each ("5000000runs"), without a limit of time
#
# Prints a line for each harness: its name, runs, seconds, edges covered, inputs in its corpus. Fails when it finds
# anything, and saves the input in build/fuzz/found. Copy such an input into tests/fuzz/corpus/NAME, so that every build
# replays it. Inputs that cover more than the corpus are in build/fuzz/new/NAME. This adds them to the corpus:
#   build/fuzz/tests/fuzz/fuzz_NAME -merge=1 tests/fuzz/corpus/NAME build/fuzz/new/NAME
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."

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

# Relative names, because the fuzzers run in a private root, where only the working folder is the same.
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

# Prints the last report of a log: "#RUNS DONE cov: EDGES ft: FEATURES corp: INPUTS/SIZE ...".
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
    echo "fuzzing: found something, see above" >&2
    exit 1
fi
echo "fuzzing: nothing found"
