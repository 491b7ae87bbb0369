#!/usr/bin/env bash
# Installs the Debian 12 packages that are missing, and does nothing if none is. The arguments are groups of packages;
# the default is all of them but the architectures:
#
#   build      building, testing and demonstrating
#   lint       scripts/lint.sh
#   benchmark  scripts/benchmark.sh, in addition to build
#   fuzz       scripts/fuzz.sh, in addition to build
#   coverage   scripts/coverage.sh, in addition to build
#   memory     scripts/check_memory.sh, in addition to build
#   many-hosts scripts/check_many_hosts.sh, in addition to build
#   package    scripts/build_package.sh and scripts/check_package.sh
#   rpm        scripts/build_rpm.sh and scripts/check_rpm.sh, in addition to build
#   arm64, i386, ppc64le, s390x
#              scripts/check_architectures.sh and building for that architecture, in addition to build
set -euo pipefail

packages_of() {
    case $1 in
        build)
            # The tests use each of the shells as /bin/sh.
            echo cmake g++ make python3 python3-jsonschema nlohmann-json3-dev libgtest-dev libgmock-dev strace systemd \
                util-linux diffutils patch attr acl dash bash busybox libnss-myhostname
            ;;
        lint) echo git clang-format-14 clang-tidy-14 ;;
        benchmark) echo augeas-tools gnuplot-nox ;;
        fuzz) echo clang-14 libclang-rt-14-dev ;;
        coverage) echo gcovr ;;
        memory) echo valgrind ;;
        # libwrap0 is for an SSH server that is unpacked and not installed.
        many-hosts) echo clustershell jq openssh-client iproute2 libwrap0 ;;
        package)
            echo build-essential cmake nlohmann-json3-dev debhelper dpkg-dev fakeroot jq lintian mandoc man-db mount \
                systemd util-linux zsh bash-completion
            ;;
        arm64) echo g++-aarch64-linux-gnu googletest qemu-user-static ;;
        i386) echo g++-i686-linux-gnu googletest libc6-i386 lib32stdc++6 ;;
        ppc64le) echo g++-powerpc64le-linux-gnu googletest qemu-user-static ;;
        s390x) echo g++-s390x-linux-gnu googletest qemu-user-static ;;
        rpm) echo rpm rpmlint cpio binutils mount systemd util-linux man-db ;;
        *)
            echo "install_dependencies.sh: no group is called $1; there are build, lint, benchmark, fuzz, coverage," \
                "memory, many-hosts, package, rpm, arm64, i386, ppc64le and s390x" >&2
            exit 2
            ;;
    esac
}

is_installed() {
    [[ $(dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

(($# > 0)) || set -- build lint benchmark fuzz coverage memory many-hosts package rpm
missing=()
for group in "$@"; do
    packages=$(packages_of "$group")
    for package in $packages; do
        is_installed "$package" || missing+=("$package")
    done
done
if ((${#missing[@]} == 0)); then
    exit 0
fi

as_root=()
if ((EUID != 0)); then
    as_root=(sudo)
    [[ -t 0 ]] || as_root+=(--non-interactive)
fi
if ! command -v apt-get >/dev/null || ! { ((EUID == 0)) || command -v sudo >/dev/null; }; then
    echo "Missing packages: ${missing[*]}" >&2
    echo "They cannot be installed here; as root of a Debian 12 machine: apt-get install ${missing[*]}" >&2
    exit 1
fi
echo "Installing ${missing[*]}"
install=(apt-get install --quiet --yes --no-install-recommends "${missing[@]}")
if ! { "${as_root[@]}" apt-get update --quiet --quiet &&
       "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive "${install[@]}"; } >/dev/null; then
    echo "Missing packages: ${missing[*]}" >&2
    echo "They could not be installed; see above. As root: apt-get install ${missing[*]}" >&2
    exit 1
fi
