#!/usr/bin/env bash
# completion_of_hostile_names.sh bash|zsh: types command lines with tabs into an interactive shell on a terminal of its
# own. The completion finds names that a shell could run, expand or split. Checks that a stand-in for zmlogadm gets
# exactly the name, and that no command was run. Makes a few files of the product; see in_private_debian.sh.
set -euo pipefail
shell=$1
folder=$(mktemp --directory)
trap 'rm -r "$folder"' EXIT
logs=/usr/kumel/zembrath/logs
debug=/usr/kumel/volmgr/debug

# All names have different first characters, so that the first one selects the name.
names=('$(id -u>pwned)' '`id>pwned`' '*' '?x' ' begins' 'a b' 'ends ' "it's" '"quoted"' $'new\nline' $'\nfirst' '-dash' '~'
    ';id>pwned;' $'\ttab' '[a-z]' '{1..3}' '}' 'größe' $'\xff\xfe' '#hash' '!!' ':colon:' '@at' '\back\' '&id>pwned&'
    '|id>pwned' '<(id>pwned)' '>pwned' '^h^i' '%1' $'\eescape' $'\rreturn' $'\x7fdelete' $'\1one' '+' 'plain' "both'\""
    '((' 'x$HOME' "\$'\\n'" '.hidden')
# As above, but with characters that end a value.
folder_names=("${names[@]}" 'z,y' '=e')

# The typed lines, and the expected arguments, each followed by a zero byte, and END.
expect() { # LINE ARGUMENT ...
    printf '%s\n' "$1" >>"$folder/typed"
    shift
    printf '%s\0' "$@" END >>"$folder/expected"
}

# Makes one folder of names for each line, so that the lines do not disturb each other.
only() { # NAME ...
    local name
    ((++count))
    for name; do
        mkdir -p "$folder/cases/$count/$name"
    done
    printf 'only %s\n' "$count" >>"$folder/typed"
}

# Quotes the text as an experienced user types it.
typed_start() { # NAME
    local start=${1:0:1}
    case $start in
        $'\n') printf "'\n'" ;;
        [[:alnum:]]) printf %s "$start" ;;
        *) printf '\\%s' "$start" ;;
    esac
}

as_values() {
    local name tab=$'\t'
    for name in "${names[@]}"; do
        [[ $name != .* ]] || continue
        only "$name"
        expect "zmlogadm ENABLELOGGING ZMLOGDIR:$tab" ENABLELOGGING "ZMLOGDIR:$name"
        expect "zmlogadm ENABLELOGGING ZMLOGDIR:x,$tab" ENABLELOGGING "ZMLOGDIR:x,$name"
        expect "zmlogadm RESETLOGGING MMLOGDIR:$tab KOB:${tab}5" RESETLOGGING "MMLOGDIR:$name" KOB:kob=5
        # A line editor takes typed control characters for commands, and drops bytes that are no characters.
        if [[ $name != [[:cntrl:]]* && $name != $'\xff'* ]]; then
            expect "zmlogadm ENABLELOGGING ZMLOGDIR:$(typed_start "$name")$tab" ENABLELOGGING "ZMLOGDIR:$name"
        fi
        only "${name}1" "${name}2"
        expect "zmlogadm ENABLELOGGING MMLOGDIR:${tab}2" ENABLELOGGING "MMLOGDIR:${name}2"
        expect "zmlogadm ENABLELOGGING ZMLOGDIR:${tab}2$tab" ENABLELOGGING "ZMLOGDIR:${name}2"
    done
    only 'z,y' '=e' 'plain'
    expect "zmlogadm ENABLELOGGING ZMLOGDIR:$tab" ENABLELOGGING ZMLOGDIR:plain
}

# bash closes an open quote, zsh leaves that to the user.
in_quotes() {
    local tab=$'\t' single="'" double='"'
    if [[ $shell == bash ]]; then
        single= double=
    fi
    only '$(id>pwned) x'
    expect "zmlogadm ENABLELOGGING 'ZMLOGDIR:\$$tab$single" ENABLELOGGING 'ZMLOGDIR:$(id>pwned) x'
    only '#{}[] x'
    expect "zmlogadm ENABLELOGGING \"ZMLOGDIR:#$tab$double" ENABLELOGGING 'ZMLOGDIR:#{}[] x'
}

# Limits of zsh: it completes nothing after a quote in the middle of a word, and inserts a backslash that several names
# have in common.
in_bash_only() {
    local tab=$'\t'
    only '$(id>pwned) x'
    expect "zmlogadm ENABLELOGGING ZMLOGDIR:'\$$tab" ENABLELOGGING 'ZMLOGDIR:$(id>pwned) x'
    only "it's"
    expect "zmlogadm ENABLELOGGING ZMLOGDIR:'i${tab}'" ENABLELOGGING ZMLOGDIR:i
    only 'a b' 'a$c' 'a;d'
    expect "zmlogadm ENABLELOGGING ZMLOGDIR:$tab\\\$$tab" ENABLELOGGING 'ZMLOGDIR:a$c'
    printf "COMP_WORDBREAKS=\$' \\\\t\\\\n\"\\\\'><;|&('\n" >>"$folder/typed"
    expect "zmlogadm ENABLELOGGING ZMLOGDIR:x,a\\ $tab" ENABLELOGGING 'ZMLOGDIR:x,a b'
    expect "zmlogadm ENABLELOGGING QRCONF:VERBOSE=1,JO$tab" ENABLELOGGING QRCONF:VERBOSE=1,JOBD_VERBOSE
}

# Cases where the shell itself completes.
as_folders() {
    local name tab=$'\t'
    for name in "${folder_names[@]}"; do
        [[ $name != .* ]] || continue
        only "$name"
        expect "zmlogadm GETDISKSPACE $logs/$tab" GETDISKSPACE "$logs/$name"
        expect "zmlogadm RUNZMSU --collectdir $logs/$tab" RUNZMSU --collectdir "$logs/$name"
        expect "zmlogadm FETCHFILE $logs/$tab" FETCHFILE "$logs/$name"
        expect "zmlogadm -S $logs/$tab" -S "$logs/$name"
    done
}

# Only valid keys and originators of a file are offered.
as_lines() {
    local tab=$'\t'
    mkdir -p /usr/kumel/ktul /usr/kumel/zembrath
    printf '%s\n' '$(id>pwned).DebugLevel=1' '777.DebugLevel=1' '`id>pwned`.DebugLevel=1' \
        '778;id>pwned.DebugLevel=1' >/usr/kumel/ktul/51216.conf
    printf '%s\n' '$(id>pwned)_VERBOSE = 1' ' widget_Verbose = 1' 'W$(id>pwned)_VERBOSE = 1' '# WIDE_VERBOSE = 1' \
        'WIDE_VERBOSE' >/usr/kumel/zembrath/qr.conf
    expect "zmlogadm ENABLELOGGING ZMKTUL:$tab" ENABLELOGGING ZMKTUL:777
    expect "zmlogadm ENABLELOGGING QRCONF:W$tab" ENABLELOGGING QRCONF:WIDGET_VERBOSE
}

# The stand-in prints its arguments without the slash that the shells append to a folder.
write_start_file() {
    mkdir "$folder/work"
    cat >"$folder/start" <<START
if [ -n "\${ZSH_VERSION-}" ]; then
    autoload -Uz compinit && compinit -u -d $folder/dump
else
    . /usr/share/bash-completion/bash_completion
fi
zmlogadm() {
    local argument
    for argument; do
        printf '%s\0' "\${argument%/}" >>$folder/got
    done
    printf 'END\0' >>$folder/got
}
only() {
    rm -rf $logs $debug
    cp -r $folder/cases/\$1 $logs
    cp -r $folder/cases/\$1 $debug
}
cd $folder/work
START
}

count=0
mkdir -p $logs ${debug%/*}
write_start_file
echo ". $folder/start" >"$folder/typed"
as_values
as_folders
as_lines
in_quotes
if [[ $shell == bash ]]; then
    in_bash_only
fi
echo exit >>"$folder/typed"
case $shell in
    bash) command='bash --noprofile --norc -i' ;;
    zsh) command='zsh -f -i' ;;
esac
export TERM=dumb HISTFILE= LC_ALL=C.UTF-8
timeout 120 script --quiet --return --command "$command" /dev/null <"$folder/typed" >"$folder/screen" 2>&1 || true
rm -rf $logs /usr/kumel/volmgr /usr/kumel/ktul/51216.conf /usr/kumel/zembrath/qr.conf

failed=0
if [[ -n $(find "$folder/work" -mindepth 1) ]]; then
    echo "something was run, or a name was taken for more than a name:"
    ls -A "$folder/work"
    failed=1
fi
readable() {
    xargs --null printf '%q ' <"$1" | sed 's, END ,\n,g'
}
if ! diff <(readable "$folder/expected") <(readable "$folder/got"); then
    cat -v "$folder/screen" >&2
    failed=1
fi
exit "$failed"
