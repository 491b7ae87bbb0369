#!/usr/bin/env bash
# Checks the manual pages: that mandoc has nothing to say about them, and that every request word, tool word, category,
# option, status, configuration key and product of the sources is on its page, and nothing else. Both lists are read
# from where they are: from the tables of the sources, and from the items of the pages.
set -euo pipefail
cd "$(dirname "$0")/../.."
pages=docs/man
# shellcheck source=tests/packaging/source_tables.sh
. tests/packaging/source_tables.sh

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

# What mandoc says of a page. The pages refer to each other and need not be installed for that; the system's own pages
# are looked up.
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

check_words() {
    same "words" "$(command_words)" \
        "$(items_of zmlogadm.1 REQUESTS Cm)"
    same "categories" "$(category_names)" \
        "$(items_of zmlogadm.1 CATEGORIES Cm)"
}

# What the command knows for its remarks on spelling is what agents know.
check_known_words() {
    local known=request_command/known_words.h
    same "words that the command knows" \
        "$(command_words)" \
        "$({ table $known ' tool_words = '; table $known ' logging_words = '; table $known ' other_words = '; } | quoted_names)"
    same "categories that the command knows" "$(category_names)" \
        "$(table $known ' known_categories = ' | quoted_names)"
}

check_json() {
    local sources=(request_command/answer_line.cpp request_command/json_output.cpp)
    same "types of JSON objects" \
        "$(grep -ohE '(AnswerLine\{|object_of_type\()"[a-z]+"' "${sources[@]}" | quoted_names | sort -u)" \
        "$(items_of zmlogadm.1 'JSON OUTPUT' Cm)"
    same "fields of JSON objects" \
        "$(grep -ohE '(push_back\(\{|add_number\(|[{ ]\{|add_texts?\(object, |object\[)"[a-z_]+"' "${sources[@]}" | quoted_names | sort -u)" \
        "$(awk '/^\.S[hs] / { on = $0 == ".Sh JSON OUTPUT" }
                on && /^\.Va / { for (i = 2; i <= NF; ++i) if ($i ~ /^[a-z_]+$/) print $i }' $pages/zmlogadm.1 | sort -u)"
}

# The schema names the types, fields and codes that the page does.
check_schema() {
    local schema=docs/zmlogadm.schema.json
    same "types of the schema" "$(jq -r '.oneOf[]."$ref" | ltrimstr("#/$defs/")' $schema)" \
        "$(items_of zmlogadm.1 'JSON OUTPUT' Cm)"
    same "fields of the schema" \
        "$(jq -r '."$defs"[].properties? // {} | keys[]' $schema | grep -vx 'type\|.*_base64' | sort -u)" \
        "$(awk '/^\.S[hs] / { on = $0 == ".Sh JSON OUTPUT" }
                on && /^\.Va / { for (i = 2; i <= NF; ++i) if ($i ~ /^[a-z_]+$/) print $i }' $pages/zmlogadm.1 |
            grep -vx type | sort -u)"
    same "codes of errors" "$(sed -nE 's/^ *return "([a-z_]+)";$/\1/p' request_command/failure.cpp)" \
        "$(jq -r '."$defs".error.properties.code.enum[]' $schema)"
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
options_of_source() {
    table request_command/options.cpp 'long_options = ' |
        sed -nE "s/.*option\{\"([a-z-]+)\", (required|no)_argument, nullptr, ('(.)'|[a-z_]+)\}.*/\4 \1 \2/p" |
        sed -E 's/^ /- /; s/ required$/ argument/; s/ no$/ alone/'
}

# An item of any other form than these is passed on whole, and so is no option of the sources.
options_of_page() {
    items zmlogadm.1 DESCRIPTION |
        sed -E -e 's/^Fl (.) Ar ([a-z]+) , Fl Fl ([a-z]+) Ar \2$/\1 \3 argument/' \
               -e 's/^Fl (.) , Fl Fl ([a-z-]+)$/\1 \2 alone/' \
               -e 's/^Fl Fl ([a-z]+) Ar [a-z]+$/- \1 argument/' -e 's/^Fl Fl ([a-z-]+)$/- \1 alone/'
}

# What getopt_long is told about the letters says the same as the table of names.
check_option_letters() {
    local letters expected
    letters=$(grep -o '"+[^"]*"' request_command/options.cpp | tr -d '"+' | sed -E 's/(.)(:?)/\1\2\n/g' | sed '/^$/d')
    expected=$(options_of_source | sed -nE -e 's/^([A-Za-z]) .* argument$/\1:/p' -e 's/^([A-Za-z]) .* alone$/\1/p')
    same "letters of options" "$letters" "$expected"
}

statuses_of_namespace() { # FILE NAMESPACE
    awk -v start="^namespace $2 [{]" '$0 ~ start { on = 1 } on { print } on && /^}/ { exit }' "$1" |
        sed -nE 's/^inline constexpr int ([a-z_]+) = ([0-9]+);/\1 \2/p'
}

request_statuses() {
    local library=platform/library/statuses.h first last
    statuses_of_namespace platform/status_codes.h status | cut -d' ' -f2 | sort -u
    statuses_of_namespace $library platform_library::status | awk '!/configuration_not_updated/ { print $2 }'
    first=$(statuses_of_namespace $library platform_library::status | awk '$1 == "configuration_not_updated" { print $2 }')
    last=$(statuses_of_namespace $library platform_library::status | awk '$1 ~ /^last_/ { print $2 }')
    echo "$((first + 1)) to $last"
}

check_statuses() {
    same "statuses" "$(request_statuses)" "$(items zmlogadmagent.8 'Statuses of a request')"
    same "statuses of the process" "$(statuses_of_namespace agent/exit_status.h exit_status | cut -d' ' -f2)" \
        "$(items zmlogadmagent.8 'Statuses of the process alone')"
    same "exit statuses of the command" \
        "$(sed -nE 's/.*int (own_failure|other_status|strict_failure) = ([0-9]+);.*/\2/p' request_command/failure.h request_command/request.cpp)" \
        "$(items zmlogadm.1 'EXIT STATUS')"
}

check_files() {
    same "tools" "$(names_in_namespace agent/tool_files.h tool_file | grep '^/')" \
        "$(items_of zmlogadmagent.8 FILES Pa | grep '/bin/[a-z]*/' | grep -v zmlogadmagent-prune-logs)"
    local file
    for file in $(grep -ohE '"(/usr/kumel|/opt|/etc)/[^"]*\.(conf|cfg|properties)"|"/opt/[^"]*"' logging_config/settings.h platform/product_files.h | tr -d '"' | sort -u); do
        if ! grep -qF "$file" $pages/zmlogadm.1; then
            echo "zmlogadm.1 does not name $file, which a category changes or reads"
            failed=1
        fi
    done
}

check_configuration() {
    same "keys of qr.conf" \
        "$({ sed -nE 's/.*key == "([A-Z_]+)".*/\1/p' platform/library/configuration.cpp
             structure_members; } | sort -u)" \
        "$(items_of qr.conf.5 DESCRIPTION Va)"
    same "products" \
        "$(category_products | awk '{ print $2, $1 }')" \
        "$(awk '/^\.It [0-9]+$/ { product = $2; getline; print product, $2 }' $pages/ktul.conf.5)"
    same "entries of the store" \
        "$(grep 'kind_names = ' platform/library/unified_logging.cpp | quoted_names)" \
        "$(items ktul.conf.5 DESCRIPTION | sed -nE 's/.* Li \.([A-Za-z]+)= .*/\1/p')"
}

# The state command's page and help.
check_state_command() {
    local options=state_command/options.cpp help
    help=$(sed -n '/^const std::string_view help_text/,/^)";/p' $options)
    same "commands of zmlogstate" "$(table $options ' commands = ' | quoted_names)" \
        "$(items zmlogstate.8 DESCRIPTION | awk '$1 == "Cm" { print $2 }')"
    same "options of zmlogstate" "$(table $options ' long_options = ' | quoted_names)" \
        "$(items zmlogstate.8 DESCRIPTION | sed -nE 's/.*Fl Fl ([a-z-]+)$/\1/p')"
    same "options in the help of zmlogstate" "$(table $options ' long_options = ' | quoted_names)" \
        "$(grep -oE '^ *(-[hV], )? *--[a-z-]+' <<<"$help" | grep -oE '[a-z-]+$' | sed 's/^--//')"
    same "categories of zmlogstate" "$(category_names)" "$(items_of zmlogstate.8 SETTINGS Cm | tr -d ,;
        items zmlogstate.8 SETTINGS | sed -nE 's/^Cm ZMKTUL , (.*)/\1/p' | tr -d ' ' | tr , '\n')"
    same "categories in the help of zmlogstate" "$(category_names)" \
        "$(awk '/^Categories: / { on = 1 } /^$/ { on = 0 } on' <<<"$help" | grep -oE '\b[A-Z]{2,}\b')"
    same "categories in the schema of zmlogstate" "$(category_names)" \
        "$(grep -oE '"[A-Z]{2,}"' docs/zmlogstate.schema.json | tr -d '"')"
    same "exit statuses of zmlogstate" \
        "$(awk '/^namespace exit_status/ { on = 1 } on' state_command/failure.h | sed -nE 's/.*int [a-z_]+ = ([0-9]+);.*/\1/p')" \
        "$(items zmlogstate.8 'EXIT STATUS')"
}

check_lint
check_words
check_state_command
check_known_words
check_json
check_schema
check_examples
same "options" "$(options_of_source)" "$(options_of_page)"
check_option_letters
check_statuses
check_files
check_configuration
((failed)) || echo "manual pages: clean, and as the sources are"
exit "$failed"
