# Two hosts, alpha and beta, for the tests of recipes; sourced behind common.sh. Each is an
# ssh daemon on the loopback address, in a mount namespace that shows the work folder or,
# as a host without a shared file system would, an empty one.

# host_port NAME
host_port() {
    [[ $1 == alpha ]] && echo 16822 || echo 16823
}

# make_host_tmp: the hosts' folder for temporary files, and beside it what would go if a
# recipe let a shell split its name.
make_host_tmp() {
    host_tmp="$scratch/host tmp"
    foreign=$scratch/host
    mkdir "$host_tmp" "$foreign"
    echo "not the recipe's" >"$foreign/file"
}

# check_hosts_tidy WHAT: nothing of the recipe is left there, and nothing else is gone.
check_hosts_tidy() {
    [[ -s $foreign/file ]] || fail "$1: has removed what is not its own"
    within 20 rmdir "$host_tmp" || fail "$1: leaves $(ls -A "$host_tmp")"
    mkdir "$host_tmp"
}

# What ssh reads here, for its clients in this mount namespace alone.
write_configuration() {
    local host
    make_host_tmp
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
    # Photos wait for a host that is being started again, instead of failing all.
    ConnectionAttempts 30
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
SetEnv PATH=$PATH HOME=$HOME "TMPDIR=$host_tmp"
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

# kill_processes_of NAMESPACE: kills them; fails where there are none. Starts no process for
# that, so that the host is back before many photos have failed for want of it.
kill_processes_of() {
    local process found=1
    for process in /proc/[0-9]*; do
        [[ ! $process/ns/mnt -ef $1 ]] || ! kill -KILL "${process#/proc/}" 2>/dev/null || found=0
    done
    return "$found"
}

# kill_host NAME: the daemon, its sessions and what they run, which are alone in its mount
# namespace. Again until there are none, for they start others meanwhile.
kill_host() {
    local name=${1}_pid namespace
    exec {namespace}<"/proc/${!name}/ns/mnt"
    while kill_processes_of "/proc/$$/fd/$namespace"; do :; done
    exec {namespace}<&-
    wait "${!name}" 2>/dev/null || true
}

stop_hosts() {
    local host
    for host in alpha beta; do
        kill_host "$host"
    done
}
