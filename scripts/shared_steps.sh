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

# Prints the test programs of a build, one a line. A build folder may hold more of them, from a build with other options.
test_programs() { # FOLDER [CTEST-OPTION...]
    ctest --test-dir "$@" --show-only=json-v1 | grep --only-matching '"/.*_tests"' | tr --delete '"' | sort --unique
}

# Prints the tests of a test program, one a line.
list_tests() { # COMMAND...
    "$@" --gtest_list_tests | awk '/^[^ ]/ { suite = $1 } /^ / { print suite $1 }'
}

# Fails unless each pattern matches one of the tests on standard input. A pattern that matches none is that of a renamed
# test. Patterns are those of --gtest_filter.
check_patterns() { # PATTERN...
    local tests pattern failed=0
    tests=$(cat)
    for pattern; do
        if ! grep --quiet --line-regexp "$(sed 's/\./\\./g; s/\*/.*/g' <<<"$pattern")" <<<"$tests"; then
            echo "$0: no test matches $pattern" >&2
            failed=1
        fi
    done
    return "$failed"
}

# Ends the script unless root runs it.
require_root() { # REASON
    if ((EUID != 0)); then
        echo "$0 needs root: $1" >&2
        exit 1
    fi
}

# Makes an empty folder. Replaces only what is below build/; another folder may have files that no script made.
make_empty_folder() { # FOLDER, an absolute path
    if [[ $1 == "$(pwd -P)"/build/* ]]; then
        rm -rf "$1"
    fi
    mkdir -p "$1"
    if [[ -n $(ls --almost-all "$1") ]]; then
        echo "$0: $1 is not empty; name a new folder, or one below build/" >&2
        exit 1
    fi
}
