# Functions for checks that a text has exactly the names of the sources. Source this in the folder of the tree.
# shellcheck shell=bash
failed=0

# What print_words prints. It is built here unless its file is given.
if [[ -z ${ZMLA_PRINT_WORDS:-} ]]; then
    cmake --preset release >/dev/null
    cmake --build --preset release --target print_words >/dev/null
    ZMLA_PRINT_WORDS=build/release/packaging/print_words
fi
facts_of_sources=$("$ZMLA_PRINT_WORDS")

# The facts of a kind, one a line, without the kind.
facts() { # KIND
    awk -F '\t' -v OFS='\t' -v kind="$1" '$1 == kind { print substr($0, length(kind) + 2) }' <<<"$facts_of_sources"
}

# The first parts of the facts of some kinds.
names() { # KIND ...
    local kind
    for kind; do
        facts "$kind" | cut -f 1
    done
}

same() { # WHAT FROM_SOURCES FROM_TEXT
    if [[ -z $2 ]]; then
        echo "$1: nothing found in the sources"
        failed=1
    fi
    local difference
    if ! difference=$(diff <(sort <<<"$2") <(sort <<<"$3")); then
        echo "$1: the sources (<) and the text (>) differ:"
        grep '^[<>]' <<<"$difference"
        failed=1
    fi
}
