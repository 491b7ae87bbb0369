# shellcheck shell=bash
# Steps that several scripts share. Source it in the project's folder.

# Prints the version of the project.
project_version() {
    sed -nE 's/^project\(.* VERSION ([0-9.]+).*/\1/p' CMakeLists.txt
}

# Copies the sources with their times, and nothing that was built.
copy_sources() { # FOLDER
    mkdir -p "$1"
    tar --create --exclude-vcs --exclude-vcs-ignores --exclude='./build' --exclude='./build-*' . |
        tar --extract --directory "$1"
}

# Ends the script unless root runs it.
require_root() { # REASON
    if ((EUID != 0)); then
        echo "$0 needs root: $1" >&2
        exit 1
    fi
}
