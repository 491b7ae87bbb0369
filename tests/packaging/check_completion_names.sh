#!/usr/bin/env bash
# Checks that the completions of bash and zsh name every request word, tool word, category, option and known name of the
# sources, and nothing else. Both lists are read from where they are.
set -euo pipefail
cd "$(dirname "$0")/../.."
bash_source=packaging/completion/zmlogadm.bash
zsh_source=packaging/completion/_zmlogadm
# shellcheck source=tests/packaging/source_tables.sh
. tests/packaging/source_tables.sh

# What a function of the completion for bash offers for an empty word, one a line.
offered_by_bash() { # FUNCTION WORD
    bash -c 'compopt() { :; }; complete() { :; }; . "$1"; cur=$3 "$2"; printf "%s\n" "${COMPREPLY[@]}"' \
        bash $bash_source "$1" "$2"
}

# What the completion for zsh hands to the shell, with stand-ins for the shell's own functions.
offered_by_zsh() { # FUNCTION [ARGUMENT ...]
    zsh -f -c '
        _describe() { local array; for array in ${(M)@[4,-1]:#[a-z]*}; do print -rl -- ${(P)array%%:*}; done }
        compadd() { local array=$@[-1]; [[ $@[-2] == -a ]] && print -rl -- ${(P)array}; return 0 }
        compset() { return 1 }
        _arguments() { print -rl -- $@ }
        _zmlogadm_source=$(grep -v "^_zmlogadm \"\$@\"$" $1)
        eval $_zmlogadm_source
        $@[2,-1]' zsh $zsh_source "$@"
}

# "-H" and "--host", each with "argument" or "alone".
options_of_sources() {
    table request_command/options.cpp 'long_options = ' |
        sed -nE "s/.*option\{\"([a-z-]+)\", (required|no)_argument, nullptr, ('(.)'|[a-z_]+)\}.*/--\1 \2\n-\4 \2/p" |
        grep -v '^- ' | sed 's/ required$/ argument/; s/ no$/ alone/'
}

# The options that the completion for bash offers, and whether it waits for an argument behind each.
options_of_bash() {
    local takes option
    takes=$(sed -nE 's/^ *(-H .*)\) awaiting=.*/\1/p' $bash_source | tr -d ' ' | tr '|' '\n')
    for option in $(offered_by_bash _zmlogadm_option_or_word -); do
        if grep -qxe "$option" <<<"$takes"; then
            echo "$option argument"
        else
            echo "$option alone"
        fi
    done
}

options_of_zsh() {
    offered_by_zsh _zmlogadm | sed -nE 's/^(\([^)]*\))?(-[-A-Za-z]+)([+=]*)\[.*/\2 \3/p' |
        sed -E 's/ [+=]$/ argument/; s/ $/ alone/'
}

known_keys_of_sources() {
    echo VERBOSE
    structure_members
}

known_keys() { # FILE
    grep -oE '\b([A-Z]+_)?VERBOSE\b' "$1" | sort -u
}

products() { # FILE
    sed -nE 's/^ *([A-Z]+)\) _zmlogadm_originators ([0-9]+) ;;/\1 \2/p' "$1"
}

words=$(command_words)
same "words for bash" "$words" "$(offered_by_bash _zmlogadm_option_or_word '')"
same "words for zsh" "$words" "$(offered_by_zsh _zmlogadm_words)"
categories=$(category_names)
same "categories for bash" "$categories" "$(offered_by_bash _zmlogadm_category '' | sed 's/:$//')"
same "categories for zsh" "$categories" "$(offered_by_zsh _zmlogadm_category)"
options=$(options_of_sources)
same "options for bash" "$options" "$(options_of_bash)"
same "options for zsh" "$options" "$(options_of_zsh)"
same "keys of qr.conf for bash" "$(known_keys_of_sources)" "$(known_keys $bash_source)"
same "keys of qr.conf for zsh" "$(known_keys_of_sources)" "$(known_keys $zsh_source)"
same "products for bash" "$(category_products)" "$(products $bash_source)"
same "products for zsh" "$(category_products)" "$(products $zsh_source)"
# What the state command's completions say, read from their text.
state_options=state_command/options.cpp
state_bash=packaging/completion/zmlogstate.bash
state_zsh=packaging/completion/_zmlogstate
for file in $state_bash $state_zsh; do
    same "categories in $file" "$(category_names)" "$(grep -oE '\b[A-Z]{2,}\b' $file | grep -vxE 'COMPREPLY|COMMAND|JSON')"
    same "options in $file" "$(table $state_options ' long_options = ' | quoted_names)" \
        "$(grep -oE -e '--[a-z][a-z-]+' $file | sed 's/^--//')"
done
same "commands in $state_bash" "$(table $state_options ' commands = ' | quoted_names)" \
    "$(sed -nE 's/.*compgen -W "(show[a-z ]*)".*/\1/p' $state_bash | tr ' ' '\n')"
same "commands in $state_zsh" "$(table $state_options ' commands = ' | quoted_names)" \
    "$(sed -nE "s/^    '([a-z]+):.*/\1/p" $state_zsh)"
((failed)) || echo "completions: the names are those of the sources"
exit "$failed"
