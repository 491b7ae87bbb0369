# Part of the scripts that a package runs when it is installed.
# The record lists the files and folders that the package creates in addition to its own, so that a purge removes only
# these. A copy of the new qr.conf shows at the purge whether somebody has changed it.
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
        echo "zmlogadmagent: $1 is not a directory; it is left" >&2
    fi
}

# Requests change the file, so it is no conffile of the package. An existing file is kept.
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
