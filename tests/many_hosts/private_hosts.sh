# shellcheck shell=bash Hosts for the pages of many hosts. This host is admin1; backup2 is 127.0.0.2, and so on. Each is
# a mount namespace with its own name and its own file system at /usr/kumel. The kernel, and SERVER lines with
# "localhost", take all of them for one host. For a private root with its own process namespace: when that ends,
# everything that is started here ends.

# Arguments: the folder of the programs, and sshd.
prepare_this_host() {
    export programs=$1 sshd=$2
    echo '127.0.0.1 localhost admin1' >/etc/hosts
    local host
    for host in {2..9} 11; do
        echo "127.0.0.$host backup$host" >>/etc/hosts
    done
    echo '192.0.2.10 backup10' >>/etc/hosts
    drop_packets_to 192.0.2.10
    own_folder /usr/local/bin 755
    ln -s /usr/kumel/zembrath/bin/support/zmlogadm /usr/local/bin/zmlogadm
    # As in an administrator's shell, whatever started this test.
    export PATH=/usr/local/bin:$PATH
    # Hides the settings of this machine's ClusterShell, because the page uses the defaults.
    own_folder /etc/clustershell 755
    make_product 64
    prepare_ssh
}

# Replaces the private root's link $1, and folders above it that are links, by an empty folder with the mode $2.
own_folder() {
    local parent=${1%/*}
    if [[ -L $parent ]]; then
        own_folder "$parent" 755
    fi
    rm -f "$1"
    mkdir -m "$2" "$1"
}

# Routes packets to the address back to this host, which does not have the address and forwards nothing.
drop_packets_to() {
    ip route add "$1/32" dev lo
}

# Makes the product in this mount namespace, in a file system of $1 megabytes.
make_product() {
    mkdir -p /usr/kumel
    mount -t tmpfs -o "size=$1m,mode=755" product /usr/kumel
    mkdir -p /usr/kumel/zembrath/{logs,bin/support} /usr/kumel/ktul
    # Links, so that the free space does not depend on the size of the programs.
    ln -s "$programs/zmlogadmagent" /usr/kumel/zembrath/bin/zmlogadmagent
    ln -s "$programs/zmlogadm" /usr/kumel/zembrath/bin/support/zmlogadm
    printf 'SERVER = %s\n' admin1 localhost >/usr/kumel/zembrath/qr.conf
    printf '%s\n' 111.DebugLevel=1 111.DiagnosticLevel=6 >/usr/kumel/ktul/51216.conf
}

# Replaces the private root's links to this machine's users, configuration and keys by its own.
prepare_ssh() {
    own_folder /root 700
    own_folder /run 755
    own_folder /etc/ssh 755
    mkdir -m 700 /run/sshd /root/.ssh
    rm -f /etc/passwd /etc/shadow /etc/group
    printf '%s\n' root:x:0:0::/root:/bin/bash sshd:x:100:65534::/run/sshd:/usr/sbin/nologin >/etc/passwd
    printf '%s\n' root:x:0: nogroup:x:65534: >/etc/group
    echo 'root:*:19000::::::' >/etc/shadow
    ssh-keygen -q -t ed25519 -N '' -f /etc/ssh/host_key
    ssh-keygen -q -t ed25519 -N '' -f /root/.ssh/id_ed25519
    cp /root/.ssh/id_ed25519.pub /root/.ssh/authorized_keys
    echo "backup* $(<"/etc/ssh/host_key.pub")" >/root/.ssh/known_hosts
    printf '%s\n' 'HostKey /etc/ssh/host_key' 'PermitRootLogin prohibit-password' 'PasswordAuthentication no' \
        'KbdInteractiveAuthentication no' 'PidFile none' 'Subsystem sftp internal-sftp' >/etc/ssh/sshd_config
}

# Starts the host $1 with a file system of $2 megabytes. The other arguments are functions to call on it, from this file
# or from the file of the page's hosts.
start_host() {
    # shellcheck disable=SC2016
    unshare --mount --uts bash -euo pipefail -c 'source "$0"; source "$hosts_of_page"; run_host "$@"' "${BASH_SOURCE[0]}" "$@" \
        </dev/null >"/tmp/backup$1.output" 2>&1 &
}

run_host() {
    address=127.0.0.$1
    hostname "backup$1"
    make_product "$2"
    shift 2
    local function
    for function in "$@"; do
        "$function"
    done
    wait
}

trusts_another_server() {
    echo 'SERVER = 192.0.2.7' >/usr/kumel/zembrath/qr.conf
}

has_a_stuck_agent() {
    local file=/usr/kumel/zembrath/bin/zmlogadmagent
    rm $file
    printf '%s\n' '#!/bin/sh' '# Takes a request and never answers. The lock shows that it runs.' \
        'exec 9>/tmp/stuck_agent && flock --shared 9 && exec cat >/dev/null' >$file
    chmod 755 $file
}

serves_the_port() {
    systemd-socket-activate --accept --inetd -l "$address:24761" /usr/kumel/zembrath/bin/zmlogadmagent &
}

# Serves the port after start_port was called.
serves_the_port_later() {
    mkfifo "/tmp/start.$address"
    {
        : <"/tmp/start.$address"
        serves_the_port
        wait
    } &
}

serves_ssh() {
    "$sshd" -D -e -o ListenAddress="$address" &
}

# Accepts the key, and then does nothing.
serves_ssh_that_hangs() {
    "$sshd" -D -e -o ListenAddress="$address" -o ForceCommand='exec tail -f /dev/null' &
}

# Makes host $1 serve the agent's port.
start_port() {
    : >"/tmp/start.127.0.0.$1"
    wait_for_listeners "127.0.0.$1:24761"
}

# Waits until a process listens at each ADDRESS:PORT.
wait_for_listeners() {
    local listener deadline=$((SECONDS + 30))
    for listener in "$@"; do
        until [[ -n $(ss --no-header --listening --tcp --numeric "src $listener") ]]; do
            if ((SECONDS > deadline)); then
                echo "Nobody listens at $listener; the output of the hosts:" >&2
                tail -n 5 /tmp/backup*.output >&2
                return 1
            fi
        done
    done
}
