# shellcheck shell=bash
# The hosts of docs/many-hosts.md, and the functions that its remarks call.

start_hosts() {
    local host
    for host in 2 3 4 5; do
        start_host "$host" 40960 serves_the_port serves_ssh
    done
    start_host 6 40960 trusts_another_server serves_the_port serves_ssh
    start_host 7 512 serves_the_port serves_ssh
    start_host 8 40960 serves_the_port_later serves_ssh
    start_host 9 40960 has_a_stuck_agent serves_the_port serves_ssh
    start_host 11 40960 serves_the_port serves_ssh_that_hangs
    wait_for_listeners 127.0.0.{2..7}:24761 127.0.0.9:24761 127.0.0.11:24761 127.0.0.{2..9}:22 127.0.0.11:22
}

# The limit on the other side of SSH closed the connection. An agent that still reads from it ends then.
expect_no_stuck_agent() {
    flock --timeout 10 /tmp/stuck_agent true || fail "the stuck agent still runs"
}
