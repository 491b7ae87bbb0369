#!/usr/bin/env bash
# in_private_debian.sh SHARED COMMAND [ARGUMENT ...]: runs a command as root of a private copy of this Debian machine,
# with systemd as the init system, and ends with the command's exit status. The copy is a layer in memory above the
# machine's own files, so that installing and removing packages does not change the machine. The machine's folder SHARED
# is /shared in the copy. The copy starts without the machine's services and without /usr/kumel, /opt and
# /etc/rkregistry.cfg. Needs root with all capabilities.
set -euo pipefail

# Runs in its own mount namespace, so that all mounts end with it. The copy's systemd gets its own control group.
enter_namespaces() {
    local stage=$1 group=$1/private_debian.$$ result=0
    shift
    mount -t cgroup2 cgroup2 "$stage"
    mkdir "$group"
    # Only the subshell moves into the group, because its parent has to remove the group afterwards.
    (
        echo "$BASHPID" >"$group/cgroup.procs"
        exec unshare --mount --pid --net --uts --ipc --cgroup --fork --kill-child "$0" --inside "$stage" "$@"
    ) || result=$?
    # Ending processes keep the group for a moment.
    while [[ $(sed -n 's/^populated //p' "$group/cgroup.events") == 1 ]]; do :; done
    find "$group" -depth -type d -exec rmdir {} +
    exit "$result"
}

make_devices() {
    local root=$1 name
    mount -t tmpfs -o mode=755 devices "$root/dev"
    for name in null zero full random urandom tty; do
        touch "$root/dev/$name"
        mount --bind "/dev/$name" "$root/dev/$name"
    done
    # Discards systemd's messages to a console.
    touch "$root/dev/console"
    mount --bind /dev/null "$root/dev/console"
    mkdir "$root/dev/pts" "$root/dev/shm"
    mount -t devpts -o newinstance,ptmxmode=0666 devpts "$root/dev/pts"
    ln -s pts/ptmx "$root/dev/ptmx"
    mount -t tmpfs shm "$root/dev/shm"
    ln -s /proc/self/fd "$root/dev/fd"
}

# The machine shares the settings of the kernel, so they are read-only.
make_kernel_folders() {
    local root=$1
    mount -t proc proc "$root/proc"
    mount --bind "$root/proc/sys" "$root/proc/sys"
    mount -o remount,bind,ro "$root/proc/sys"
    mount -t sysfs -o ro sysfs "$root/sys"
    mount -t cgroup2 cgroup2 "$root/sys/fs/cgroup"
}

# Removes the machine's services. Only the command starts the remaining units.
clear_services() {
    local root=$1
    find "$root/etc/systemd/system" -mindepth 1 -delete
    rm -rf "$root"/lib/systemd/system/*.wants/* "$root"/lib/systemd/system-generators/* \
        "$root"/usr/lib/systemd/system/*.wants/* "$root"/etc/init.d/*
}

# Container images prevent packages from starting services and from installing pages and documentation; this allows
# both.
clear_container_settings() {
    local root=$1
    rm -f "$root/usr/sbin/policy-rc.d"
    find "$root/etc/dpkg/dpkg.cfg.d" -type f -exec sed -i '/^path-exclude/d' {} +
}

# The command is a service. When it ends, systemd ends with the same exit status.
write_command_unit() {
    local root=$1
    shift
    {
        printf '[Unit]\nDefaultDependencies=no\nSuccessAction=exit-force\nFailureAction=exit-force\n'
        printf '[Service]\nStandardOutput=file:/shared/output\nStandardError=inherit\n'
        printf 'Environment=HOME=/root LC_ALL=C.UTF-8\nExecStart='
        printf '"%s" ' "$@"
        printf '\n'
    } >"$root/etc/systemd/system/command.service"
}

become_init() {
    local stage=$1 shared=$2 root=$1/root
    shift 2
    mount --make-rprivate /
    mount -t tmpfs private_debian "$stage"
    mkdir "$stage/changes" "$stage/work" "$root"
    mount -t overlay -o "lowerdir=/,upperdir=$stage/changes,workdir=$stage/work" private_debian "$root"
    mount -t tmpfs -o mode=1777 tmp "$root/tmp"
    make_devices "$root"
    make_kernel_folders "$root"
    mount -t tmpfs -o mode=755 run "$root/run"
    mkdir -p "$root/shared"
    mount --bind "$shared" "$root/shared"
    clear_services "$root"
    rm -rf "$root/usr/kumel" "$root"/opt/* "$root/etc/rkregistry.cfg"
    clear_container_settings "$root"
    write_command_unit "$root" "$@"
    hostname private
    exec chroot "$root" setpriv --bounding-set=-sys_time,-sys_module,-sys_rawio,-syslog \
        env --ignore-environment container=private_debian PATH=/usr/sbin:/usr/bin:/sbin:/bin \
        /lib/systemd/systemd --system --unit=command.service --show-status=no --log-target=null
}

case $1 in
    --apart) shift && enter_namespaces "$@" ;;
    --inside) shift && become_init "$@" ;;
esac
shared=$(realpath "$1")
shift
: >"$shared/output"
stage=$(mktemp --directory --tmpdir private_debian.XXXXXX)
result=0
unshare --mount "$0" --apart "$stage" "$shared" "$@" || result=$?
rmdir "$stage"
cat "$shared/output"
exit "$result"
