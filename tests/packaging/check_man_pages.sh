#!/usr/bin/env bash
# Checks the manual pages: mandoc has no complaint, and the pages' items are the command words, categories, options,
# statuses, configuration keys and products of the sources.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/../.."
pages=docs/man
# shellcheck source=tests/packaging/names_of_sources.sh
. tests/packaging/names_of_sources.sh

# The items of a section or subsection of a page, without ".It".
items() { # PAGE SECTION
    awk -v wanted="$2" '
        /^\.S[hs] / { title = $0; sub(/^\.S[hs] /, "", title); on = title == wanted }
        on && /^\.It / { sub(/^\.It /, ""); print }' "$pages/$1"
}

# What the items of a section begin with, when that is the macro.
items_of() { # PAGE SECTION MACRO
    items "$1" "$2" | awk -v macro="$3" '$1 == macro { print $2 }'
}

# Prints mandoc's complaints about a page. The pages refer to each other, so they need not be installed.
lint() { # PAGE
    local line name
    while read -r line; do
        name=$(sed -nE 's/.*referenced manual not found: Xr ([^ ]*) ([0-9]).*/\1.\2/p' <<<"$line")
        if [[ ! -e $pages/${name:-none} && $line != *'outdated mandoc.db lacks'* ]]; then
            echo "$line"
        fi
    done < <(mandoc -T lint -W all "$1" 2>&1)
}

check_lint() {
    local page said
    for page in "$pages"/*; do
        said=$(lint "$page")
        if [[ -n $said ]]; then
            echo "$said"
            failed=1
        fi
    done
}

# The categories of the page with their values, as "KOB kob=level".
categories_of_page() {
    items zmlogadm.1 CATEGORIES |
        sed -E -e 's/^Cm ([A-Z]+) : /\1 /' -e 's/Ns Op = Ns Ar ([a-z]+)$/[=\1]/' -e 's/ (Ns|Ar|Cm)\>//g' \
            -e 's/^([A-Z]+)/\1\t/; s/ //g; s/\t/ /'
}

check_words() {
    same "words" "$(names word tool)" "$(items_of zmlogadm.1 REQUESTS Cm)"
    same "categories" "$(facts category | awk -F '\t' '{ print $1 " " $2 }')" "$(categories_of_page)"
}

# README names every word and category in the first column of a table.
check_readme() {
    same "words and categories of README.md" "$(names word tool category)" \
        "$(sed -nE 's/^\| (`[A-Za-z`, ]*`) \|.*/\1/p' README.md | grep -oE '[A-Za-z]+')"
}

fields_of_page() {
    awk '/^\.S[hs] / { on = $0 == ".Sh JSON OUTPUT" }
        on && /^\.Va / { for (i = 2; i <= NF; ++i) if ($i ~ /^[a-z_]+$/) print $i }' $pages/zmlogadm.1 | sort -u
}

# The schema names the types, fields and codes that the page does.
check_schema() {
    local schema=docs/zmlogadm.schema.json
    same "types of the schema" "$(jq -r '.oneOf[]."$ref" | ltrimstr("#/$defs/")' $schema)" \
        "$(items_of zmlogadm.1 'JSON OUTPUT' Cm)"
    same "fields of the schema" "$(jq -r '."$defs"[].properties? // {} | keys[]' $schema | grep -vx '.*_base64' | sort -u)" \
        "$(fields_of_page)"
    same "codes of errors" "$(names error_code)" "$(jq -r '."$defs".error.properties.code.enum[]' $schema)"
    same "codes of errors on the page" "$(jq -r '."$defs".error.properties.code.enum[]' $schema)" \
        "$(awk '/^The codes are$/ { on = 1 } on && /^\.Li / { gsub(/^\.Li | \.$| ,/, ""); gsub(/ /, "\n"); print } on && /^\.El/ { exit }' \
            $pages/zmlogadm.1)"
}

# Every word and category has an example, a command line that would send it.
check_examples() {
    local name
    for name in $(items_of zmlogadm.1 REQUESTS Cm); do
        if ! grep -qE "^\.Dl zmlogadm (-H [a-z]+ )?$name( |$)" $pages/zmlogadm.1; then
            echo "zmlogadm.1 has no example of $name"
            failed=1
        fi
    done
    for name in $(items_of zmlogadm.1 CATEGORIES Cm); do
        if ! grep -qE "^\.Dl zmlogadm (EN|DIS)ABLELOGGING .*\<$name:" $pages/zmlogadm.1; then
            echo "zmlogadm.1 has no example of $name"
            failed=1
        fi
    done
}

# As "H host argument" or "- agent argument": the letter, the name, whether an argument follows.
options_of_sources() {
    facts option | awk -F '\t' '{ print $2 " " $1 " " $3 }'
}

# An item of another form is printed as it is, and differs from every option of the sources.
options_of_page() {
    items zmlogadm.1 DESCRIPTION |
        sed -E -e 's/^Fl (.) Ar ([a-z]+) , Fl Fl ([a-z]+) Ar \2$/\1 \3 argument/' \
               -e 's/^Fl (.) , Fl Fl ([a-z-]+)$/\1 \2 alone/' \
               -e 's/^Fl Fl ([a-z]+) Ar [a-z]+$/- \1 argument/' -e 's/^Fl Fl ([a-z-]+)$/- \1 alone/'
}

check_statuses() {
    same "statuses" "$(names status)" "$(items zmlogadmagent.8 'Statuses of a request')"
    same "statuses of the process" "$(names process_status)" "$(items zmlogadmagent.8 'Statuses of the process only')"
    same "exit statuses of the command" "$(names command_status)" "$(items zmlogadm.1 'EXIT STATUS')"
}

check_files() {
    same "tools" "$(facts tool_file | cut -f 2 | sort -u)" \
        "$(items_of zmlogadmagent.8 FILES Pa | grep '/bin/[a-z]*/' | grep -v zmlogadmagent-prune-logs)"
    local file
    for file in $(names file); do
        if ! grep -qF "$file" $pages/zmlogadm.1; then
            echo "zmlogadm.1 does not name $file, which a category changes or reads"
            failed=1
        fi
    done
}

check_configuration() {
    same "keys of qr.conf" "$(names host_key key | sort -u)" "$(items_of qr.conf.5 DESCRIPTION Va)"
    same "products" "$(facts product | awk -F '\t' '{ print $2, $1 }')" \
        "$(awk '/^\.It [0-9]+$/ { product = $2; getline; print product, $2 }' $pages/ktul.conf.5)"
    same "entries of the store" "$(names store_entry)" \
        "$(items ktul.conf.5 DESCRIPTION | sed -nE 's/.* Li \.([A-Za-z]+)= .*/\1/p')"
}

# The page and schema of the state command; its help is made from the sources.
check_state_command() {
    same "commands of zmlogstate" "$(names state_command)" \
        "$(items zmlogstate.8 DESCRIPTION | awk '$1 == "Cm" { print $2 }')"
    same "options of zmlogstate" "$(names state_option)" \
        "$(items zmlogstate.8 DESCRIPTION | sed -nE 's/.*Fl Fl ([a-z-]+)$/\1/p')"
    same "categories of zmlogstate" "$(names category)" "$(items_of zmlogstate.8 SETTINGS Cm | tr -d ,;
        items zmlogstate.8 SETTINGS | sed -nE 's/^Cm ZMKTUL , (.*)/\1/p' | tr -d ' ' | tr , '\n')"
    same "categories in the schema of zmlogstate" "$(names category)" \
        "$(grep -oE '"[A-Z]{2,}"' docs/zmlogstate.schema.json | tr -d '"')"
    same "exit statuses of zmlogstate" "$(names state_status)" "$(items zmlogstate.8 'EXIT STATUS')"
}

check_lint
check_words
check_readme
check_state_command
check_schema
check_examples
same "options" "$(options_of_sources)" "$(options_of_page)"
check_statuses
check_files
check_configuration
((failed)) || echo "manual pages: clean, and as the sources are"
exit "$failed"
