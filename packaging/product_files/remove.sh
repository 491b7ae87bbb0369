# Part of the scripts that a package runs when it is purged.
record=/var/lib/zmlogadmagent/made
made_configuration=/var/lib/zmlogadmagent/qr.conf

is_recorded() {
    [ -f "$record" ] && grep -qxF "$1" "$record"
}

# Links and their targets belong to an administrator.
is_plain_file() {
    [ -f "$1" ] && [ ! -L "$1" ]
}

is_own_folder() {
    [ -d "$1" ] && [ ! -L "$1" ]
}

# Removes a lock file that is empty and that nobody holds.
remove_lock() {
    if is_plain_file "$1" && [ ! -s "$1" ]; then
        flock --nonblock "$1" rm -f "$1" || true
    fi
}

# Leaves a folder that cannot be removed; rmdir reports why, such as a mounted file system.
remove_folder() {
    if is_own_folder "$1"; then
        rmdir --ignore-fail-on-non-empty "$1" || true
    fi
}

# Removes the file only if the package made it and nobody changed it: another program may rely on it by now.
remove_configuration() {
    if is_recorded "$1" && is_plain_file "$1"; then
        if cmp -s "$made_configuration" "$1"; then
            rm -f "$1"
        else
            echo "zmlogadmagent: $1 was changed; it is left"
        fi
    fi
    remove_lock "$1.lock"
}

# Removes the files that have names of the agent's logs.
remove_logs() {
    if is_own_folder "$1"; then
        find "$1" -maxdepth 1 -type f -name 'log.[0-9][0-9][0-9][0-9][0-9][0-9][0-9][0-9]' -exec rm -f {} +
        remove_folder "$1"
    fi
}

remove_product_files() {
    remove_configuration /usr/kumel/zembrath/qr.conf
    remove_folder /usr/kumel/zembrath/logs/zmlaevidence
    for product in 51216 58330 60385; do
        remove_lock "/usr/kumel/ktul/$product.conf.lock"
    done
    for folder in /usr/kumel/zembrath/logs /usr/kumel/ktul; do
        if is_recorded "$folder"; then
            remove_folder "$folder"
        fi
    done
    rm -f "$record" "$made_configuration"
    remove_folder "${record%/*}"
}
