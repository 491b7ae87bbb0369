# Part of the scripts that a package runs when it is installed.
# What the package makes beside its own files is written down here, so that purging it removes that and nothing else.
# The text of a qr.conf that the package has made is kept beside it: a file that says anything else is somebody else's.
record=/var/lib/zmlogadmagent/made
made_configuration=/var/lib/zmlogadmagent/qr.conf

note() {
    mkdir -p "${record%/*}"
    echo "$1" >>"$record"
}

is_missing() {
    [ ! -e "$1" ] && [ ! -L "$1" ]
}

make_folder() {
    if is_missing "$1"; then
        mkdir -m 755 "$1"
        note "$1"
    elif [ ! -d "$1" ]; then
        echo "zmlogadmagent: $1 is no directory; it is left as it is" >&2
    fi
}

# The file is no conffile of the package: requests change it. One that is there is the host's own.
make_configuration() {
    if is_missing "$1"; then
        note "$1"
        cp /usr/share/zmlogadmagent/qr.conf "$made_configuration"
        install -m 644 -o root -g root /usr/share/zmlogadmagent/qr.conf "$1"
    fi
}

make_product_files() {
    make_folder /usr/kumel/ktul
    make_folder /usr/kumel/zembrath/logs
    make_configuration /usr/kumel/zembrath/qr.conf
}
