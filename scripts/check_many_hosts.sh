#!/usr/bin/env bash
# Runs every command of docs/many-hosts.md, docs/investigation.md and the session in README.md against hosts in a
# private root, and compares the answers with those on the page. Needs root. Installs missing packages, except an SSH
# server, which Debian would start: if there is none, its program is unpacked in the build folder. Leaves no process and
# no mount, and opens no port of this host.
set -euo pipefail
CDPATH= cd "$(dirname "$0")/.."
. scripts/shared_steps.sh

require_root 'an SSH server needs several users'
scripts/install_dependencies.sh build many-hosts

sshd=/usr/sbin/sshd
if [[ ! -x $sshd ]]; then
    unpacked=$PWD/build/openssh-server
    sshd=$unpacked/usr/sbin/sshd
fi
if [[ ! -x $sshd ]]; then
    echo "Unpacking openssh-server"
    rm -rf "$unpacked"
    mkdir -p "$unpacked"
    apt-get update --quiet --quiet
    (cd "$unpacked" && apt-get download --quiet --quiet --option APT::Sandbox::User=root openssh-server)
    dpkg-deb --extract "$unpacked"/openssh-server_*.deb "$unpacked"
fi

cmake --preset release >/dev/null
cmake --build --preset release --parallel "$(nproc)" --target zmlogadmagent zmlogadm zmlogstate in_private_root >/dev/null
programs=$PWD/build/release

check_page() { # PAGE
    "$programs/tests/support/in_private_root" unshare --pid --fork --kill-child timeout --foreground 120 \
        bash tests/many_hosts/run_page.sh "$1" "/.host$programs" "/.host$sshd" </dev/null &
    hosts=$!
    wait "$hosts"
}

# unshare blocks the other signals. All processes in its namespace end with it.
trap 'kill -KILL "$hosts" 2>/dev/null || true' EXIT
trap 'exit 130' INT TERM
check_page docs/many-hosts.md
check_page docs/investigation.md
sed -n '/^<!-- session -->$/,/^<!-- end of the session -->$/p' README.md >build/session.md
check_page build/session.md
