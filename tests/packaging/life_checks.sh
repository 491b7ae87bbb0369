# Functions for scripts that check the life of a package: checks, requests, and lists of files. Sourced.
# shellcheck shell=bash
product=/usr/kumel/zembrath
socket=/run/zmlogadmagent.socket

check() { # WHAT COMMAND [ARGUMENT ...]
    local what=$1 said
    shift
    if ! said=$("$@" 2>&1); then
        printf 'FAILED: %s\n%s\n' "$what" "$said"
        exit 1
    fi
    echo "  $what"
}

is() { # COMMAND ... -- TEXT: what the command prints is the text, whatever its exit status
    local command=()
    while [[ $1 != -- ]]; do
        command+=("$1")
        shift
    done
    local said
    said=$("${command[@]}" 2>&1) || true
    echo "expected: $2; got: $said"
    [[ $said == "$2" ]]
}

fails() {
    ! "$@"
}

ask() {
    zmlogadm -S "$socket" "$@"
}

is_refused() {
    local said
    said=$("$@" 2>&1) && return 1
    echo "$said"
    [[ $said == 'EXIT STATUS '* ]]
}

# Waits until the command succeeds, such as after a flood's last connections. Prints the last output.
in_the_end() { # COMMAND ...
    local attempt said
    for ((attempt = 0; attempt < 1000; attempt++)); do
        said=$("$@" 2>&1) && return
    done
    echo "$said"
    return 1
}

# Lists everything in the folders where packages install files, except the files of dpkg, rpm and systemd, and caches.
# Leaves out other folders, which show the machine's own files; these may change.
everything() {
    find /etc /usr /opt /run /srv /var /boot /lib/ /bin/ /sbin/ \( -path /var/lib/dpkg -o -path /var/lib/rpm -o -path /var/log \
        -o -path /var/cache -o -path /var/tmp -o -path /run/systemd -o -path /run/log \
        -o -path '*/shared/output' \) -prune \
        -o -type d -printf '%p %M %U %G\n' -o -printf '%p %M %U %G %s %l\n' | sort
}

# Lists the product's own files with their content.
product_files() {
    find /usr/kumel -printf '%p %M %U %G\n' | sort
    find /usr/kumel -type f -exec sha256sum {} + | sort
}

install_package() {
    dpkg --install "$1"
}

changes_nothing() { # BEFORE NOW
    diff "$1" "$2"
}

has_verified_its_peer() {
    grep -q xnet_verify_peer_creds $product/logs/zmlogadmagent/log.*
}

# Begins a request and leaves an agent waiting for the rest of it. This agent is the first one in the log.
begin_request() {
    local begun
    coproc peer {
        perl -MIO::Socket::UNIX -e '$| = 1; $s = IO::Socket::UNIX->new($ARGV[0]) or die;
            syswrite $s, "1:2,"; print "begun\n"; <STDIN>;
            syswrite $s, "12:GETDISKSPACE,4:/var,"; print while <$s>' $socket
    }
    read -r begun <&"${peer[0]}"
    in_the_end has_verified_its_peer
}

# Sends the rest, and prints the answer.
finish_request() {
    echo >&"${peer[1]}"
    cat <&"${peer[0]}"
}
