#!/usr/bin/env bash
# stage_static_build.sh FOLDER [ARCHITECTURE]: builds the static programs in FOLDER and installs everything that the RPM
# and the tarball contain below FOLDER/root. ARCHITECTURE is a name in cmake/architectures (default: this machine's).
# The same sources give the same bytes, whatever the folders' names.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."
. scripts/shared_steps.sh
sources=$PWD
folder=$(realpath --canonicalize-missing "$1")
architecture=${2:-}
SOURCE_DATE_EPOCH=$(scripts/source_date.sh)
export SOURCE_DATE_EPOCH

build() {
    local options=(-DCMAKE_BUILD_TYPE=Release -DZMLA_TESTS=OFF -DCMAKE_INSTALL_PREFIX=/usr
        -DZMLA_UNIT_DIR=/usr/lib/systemd/system)
    # Keeps folders of this machine out of the programs.
    options+=("-DCMAKE_CXX_FLAGS=$(printf -- '-ffile-prefix-map=%q=. ' "$sources" "$folder")")
    if [[ -n $architecture ]]; then
        options+=("-DCMAKE_TOOLCHAIN_FILE=$sources/cmake/architectures/$architecture.cmake")
    fi
    cmake -S . -B "$folder/build" "${options[@]}" &&
        cmake --build "$folder/build" --parallel "$(nproc)" &&
        DESTDIR=$folder/root cmake --install "$folder/build" --strip
}

# Does what packages do: compresses pages, links the commands into PATH, gives every file the time of the sources.
finish() {
    local program link
    cd "$folder/root"
    find usr/share/man -type f -exec gzip -9 --no-name {} +
    mkdir -p usr/bin
    while read -r program link; do
        ln -s "../${program#usr/}" "$link"
    done <"$sources/debian/zmlogadmagent.links"
    install -D --mode=644 "$sources/packaging/qr.conf" usr/share/zmlogadmagent/qr.conf
    find . -exec touch --no-dereference --date="@$SOURCE_DATE_EPOCH" {} +
}

umask 022
make_empty_folder "$folder"
if ! build >"$folder/build.log" 2>&1; then
    tail -n 40 "$folder/build.log"
    exit 1
fi
finish
