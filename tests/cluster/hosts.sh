# Two hosts, alpha and beta, for the tests of recipes; sourced behind common.sh. Each is an
# ssh daemon on the loopback address, in a mount namespace that shows the work folder or,
# as a host without a shared file system would, an empty one.

# host_port NAME
host_port() {
    [[ $1 == alpha ]] && echo 16822 || echo 16823
}

# What ssh reads here, for its clients in this mount namespace alone.
write_configuration() {
    local host
    ssh-keygen -q -t ed25519 -N '' -f "$scratch/state/key"
    ssh-keygen -q -t ed25519 -N '' -f "$scratch/state/hostkey"
    for host in alpha beta; do
        cat >>"$scratch/state/ssh_config" <<END
Host $host
    HostName 127.0.0.1
    Port $(host_port "$host")
    IdentityFile $scratch/state/key
    StrictHostKeyChecking no
    UserKnownHostsFile /dev/null
    LogLevel ERROR
END
        cat >"$scratch/state/sshd_config.$host" <<END
ListenAddress 127.0.0.1
Port $(host_port "$host")
HostKey $scratch/state/hostkey
PidFile none
AuthorizedKeysFile $scratch/state/key.pub
StrictModes no
UsePAM no
PermitRootLogin yes
PasswordAuthentication no
MaxStartups 100
SetEnv PATH=$PATH HOME=$HOME TMPDIR=$TMPDIR
END
    done
    mount --bind "$scratch/state/ssh_config" /etc/ssh/ssh_config
}

# start_host NAME shared|alone
start_host() {
    local view=true
    [[ $2 == shared ]] || view="mount -t tmpfs tmpfs $scratch/work"
    start "$1" unshare --mount sh -c \
        "$view && exec /usr/sbin/sshd -D -e -f $scratch/state/sshd_config.$1"
    within 20 ssh "$1" true || fail "$1 does not answer"
}

# start_hosts shared|alone
start_hosts() {
    local host entries
    for host in alpha beta; do
        start_host "$host" "$1"
        entries=$(ssh "$host" "ls $scratch/work")
        case $1 in
        shared) [[ $entries == *album* ]] || fail "$host does not see the album" ;;
        alone) [[ -z $entries ]] || fail "$host sees the album" ;;
        esac
    done
}

# The host's daemon and its sessions, with what they run.
kill_host() {
    local pid name=${1}_pid
    kill -KILL "${!name}"
    wait "${!name}" 2>/dev/null || true
    for pid in $(pgrep -f "^sshd: " || true); do
        [[ $(readlink "/proc/$pid/ns/mnt") != "$2" ]] || kill -KILL "$pid" || true
    done
    for pid in $(running_programs); do
        [[ $(readlink "/proc/$pid/ns/mnt") != "$2" ]] || kill -KILL "$pid" || true
    done
}

mount_namespace() {
    local name=${1}_pid
    readlink "/proc/${!name}/ns/mnt"
}

stop_hosts() {
    local host
    for host in alpha beta; do
        kill_host "$host" "$(mount_namespace "$host")"
    done
}
