#!/usr/bin/env bash
# Checks that the completions of bash and zsh name every command word, category, option and known key of the sources,
# and nothing else.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/../.."
bash_source=packaging/completion/zmlogadm.bash
zsh_source=packaging/completion/_zmlogadm
# shellcheck source=tests/packaging/names_of_sources.sh
. tests/packaging/names_of_sources.sh

# Prints what a function of the completion for bash offers for a word, one a line.
offered_by_bash() { # FUNCTION WORD
    bash -c 'compopt() { :; }; complete() { :; }; . "$1"; cur=$3 "$2"; printf "%s\n" "${COMPREPLY[@]}"' \
        bash $bash_source "$1" "$2"
}

# Prints what the completion for zsh passes to the shell's own functions, which are replaced here.
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
    facts option | awk -F '\t' '{ print "--" $1 " " $3 } $2 != "-" { print "-" $2 " " $3 }'
}

# The options that the completion for bash offers, and whether it expects an argument after each.
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

known_keys() { # FILE
    grep -oE '\b([A-Z]+_)?VERBOSE\b' "$1" | sort -u
}

products_in() { # FILE
    sed -nE 's/^ *([A-Z]+)\) _zmlogadm_originators ([0-9]+) ;;/\1 \2/p' "$1"
}

words=$(names word tool)
same "words for bash" "$words" "$(offered_by_bash _zmlogadm_option_or_word '')"
same "words for zsh" "$words" "$(offered_by_zsh _zmlogadm_words)"
categories=$(names category)
same "categories for bash" "$categories" "$(offered_by_bash _zmlogadm_category '' | sed 's/:$//')"
same "categories for zsh" "$categories" "$(offered_by_zsh _zmlogadm_category)"
options=$(options_of_sources)
same "options for bash" "$options" "$(options_of_bash)"
same "options for zsh" "$options" "$(options_of_zsh)"
same "keys of qr.conf for bash" "$(names key)" "$(known_keys $bash_source)"
same "keys of qr.conf for zsh" "$(names key)" "$(known_keys $zsh_source)"
products=$(facts product | tr '\t' ' ')
same "products for bash" "$products" "$(products_in $bash_source)"
same "products for zsh" "$products" "$(products_in $zsh_source)"
state_bash=packaging/completion/zmlogstate.bash
state_zsh=packaging/completion/_zmlogstate
for file in $state_bash $state_zsh; do
    same "categories in $file" "$categories" \
        "$(sed -n '/# names: categories/,/# end of names/p' $file | grep -oE "(^| |'|\")[A-Z]{2,}\b" | tr -d " '\"")"
    same "options in $file" "$(names state_option)" "$(grep -oE -e '--[a-z][a-z-]+' $file | sed 's/^--//')"
done
same "commands in $state_bash" "$(names state_command)" \
    "$(sed -nE 's/.*compgen -W "(show[a-z ]*)".*/\1/p' $state_bash | tr ' ' '\n')"
same "commands in $state_zsh" "$(names state_command)" "$(sed -nE "s/^    '([a-z]+):.*/\1/p" $state_zsh)"
((failed)) || echo "completions: the names are those of the sources"
exit "$failed"
