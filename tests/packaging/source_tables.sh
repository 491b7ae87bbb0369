# For checks that a text names what the sources do: reads tables of the sources, and compares. Sourced.
# shellcheck shell=bash
failed=0

# The lines of a source from the one that matches to the next that ends in "};".
table() { # FILE START
    awk -v start="$2" '$0 ~ start { on = 1 } on { print } on && /};/ { exit }' "$1"
}

# The quoted names in a namespace of a header.
names_in_namespace() { # FILE NAMESPACE
    awk -v start="^namespace $2 [{]" '$0 ~ start { on = 1 } on { print } on && /^}/ { exit }' "$1" | quoted_names
}

# The command words of requests.
command_words() {
    names_in_namespace agent/command_words.h command_word
}

# The names of the categories, and "CATEGORY PRODUCT" of those that have one.
category_names() {
    names_in_namespace logging_config/settings.h category
}

category_products() {
    sed -nE 's/^inline constexpr int ([a-z]+)_product = ([0-9]+);/\1 \2/p' logging_config/settings.h | tr '[:lower:]' '[:upper:]'
}

# The fixed members of the main configuration.
structure_members() {
    table logging_config/settings.h 'structure_members = ' | quoted_names
}

quoted_names() {
    grep -o '"[^"]*"' | tr -d '"'
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
