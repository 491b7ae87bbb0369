#!/usr/bin/env bash
# check_no_traces.sh FILE ...: checks that packages, tarballs and programs contain no trace of this machine: no folder
# of the build, no name of the machine, no home folder. Searches debug information decompressed. The variable
# ZMLA_TRACES is one more text to search for.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."
failed=0
stage=$(mktemp --directory)
trap 'rm -r "$stage"' EXIT

unpack() { # FILE FOLDER
    case $1 in
        *.deb) dpkg-deb --raw-extract "$1" "$2" ;;
        *.rpm) rpm2cpio "$1" | (cd "$2" && cpio --extract --make-directories --quiet) && cp "$1" "$2" ;;
        *.tar.gz) tar --extract --file "$1" --directory "$2" ;;
        *) cp "$1" "$2" ;;
    esac
}

# Prints the texts to search for. Short names, such as "host", are left out, because other texts contain them.
traces() {
    pwd
    [[ ${HOME:-/} == / || $HOME == /root ]] || echo "$HOME/"
    echo "${TMPDIR:-/tmp}/tmp."
    (($(hostname | wc -c) < 6)) || hostname
    [[ -z ${ZMLA_TRACES:-} ]] || echo "$ZMLA_TRACES"
}

show() { # FILE: prints its bytes, and those of its debug information decompressed
    cat "$1"
    if cmp --silent <(head --bytes 4 "$1") <(printf '\177ELF'); then
        objcopy --decompress-debug-sections "$1" "$stage/plain" 2>/dev/null && cat "$stage/plain"
    fi
}

traces >"$stage/traces"
for file; do
    mkdir "$stage/unpacked"
    unpack "$file" "$stage/unpacked"
    while IFS= read -r -d '' part; do
        found=$(show "$part" | grep --text --only-matching --fixed-strings --file="$stage/traces" | sort -u || true)
        if [[ -n $found ]]; then
            echo "$(basename "$file"): ${part#"$stage/unpacked/"} holds" $found
            failed=1
        fi
    done < <(find "$stage/unpacked" -type f -print0)
    rm -r "$stage/unpacked"
done
((failed)) || echo "nothing of this machine is in $# files"
exit "$failed"
