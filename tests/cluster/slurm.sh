#!/usr/bin/env bash
# Tries the Slurm recipes of README.md and docs/batch.md, as they are printed there, on a
# cluster of one node with daemons of its own, while tasks and the node's daemon are
# killed. Takes root and a few minutes; not part of ./test.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"

usage="usage: tests/cluster/slurm.sh"
if (($#)); then
    say "$usage"
    exit 2
fi
if [[ -z ${CLUSTER_SCRATCH:-} ]]; then
    enter_own_system slurmctld slurmd slurm-client munge parallel --
    exit
fi

write_configuration() {
    cat >"$scratch/state/slurm.conf" <<END
ClusterName=sketches
SlurmctldHost=node(127.0.0.1)
SlurmctldPort=16817
SlurmdPort=16818
SlurmUser=root
SlurmdUser=root
AuthType=auth/munge
AuthInfo=socket=$scratch/munge/socket
CredType=cred/munge
StateSaveLocation=$scratch/state/slurmctld
SlurmdSpoolDir=$scratch/state/slurmd
SlurmctldPidFile=$scratch/state/slurmctld.pid
SlurmdPidFile=$scratch/state/slurmd.pid
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
MpiDefault=none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
SchedulerParameters=sched_interval=1
ReturnToService=2
MinJobAge=3600
SlurmdTimeout=10
KillWait=2
NodeName=node NodeAddr=127.0.0.1 CPUs=$(nproc) State=UNKNOWN
PartitionName=all Nodes=node Default=YES MaxTime=INFINITE State=UP
END
    mkdir -p "$scratch/state"/{slurmctld,slurmd}
    export SLURM_CONF=$scratch/state/slurm.conf
}

start_munge() {
    mkdir -p "$scratch/munge"
    (umask 077 && head -c 1024 /dev/urandom >"$scratch/munge/key")
    start munged munged --foreground --socket "$scratch/munge/socket" \
        --key-file "$scratch/munge/key" --log-file "$scratch/log/munge" \
        --pid-file "$scratch/munge/pid" --seed-file "$scratch/munge/seed"
    within 20 test -S "$scratch/munge/socket" || fail "munged does not start"
}

start_slurmd() {
    start slurmd slurmd -D -N node
}

node_is_ready() {
    sinfo --noheader --format %T | grep -qxE 'idle|mixed|allocated'
}

queue_is_empty() {
    [[ -z $(squeue --noheader) ]]
}

submit() {
    sbatch --parsable --output "$scratch/log/task-%a" "$scratch/state/sketch.sh"
}

# all_succeeded JOB: each of the array's tasks ended with 0.
all_succeeded() {
    local tasks
    tasks=$(scontrol --oneliner show job "$1")
    (($(grep -c 'ArrayTaskId=' <<<"$tasks") == 20)) || fail "array $1 has not twenty tasks"
    ! grep -v 'JobState=COMPLETED .*ExitCode=0:0 ' <<<"$tasks" |
        grep -oE 'ArrayTaskId=\S+|JobState=\S+|ExitCode=\S+' >&2
}

first_running_task() {
    squeue --noheader --states R --array --format %i | head -n 1
}

cancel_task() {
    local task
    task=$(first_running_task)
    [[ -n $task ]] && scancel --signal KILL --full "$task"
}

# The node fails: its daemon, what that started, and the tasks themselves.
kill_node() {
    local pid
    kill -KILL "$slurmd_pid"
    wait "$slurmd_pid" 2>/dev/null || true
    for pid in /proc/[0-9]*; do
        [[ $(cat "$pid/comm" 2>/dev/null) != slurmstepd ]] || kill -KILL "${pid#/proc/}"
    done
    kill_programs
    start_slurmd
    within 180 node_is_ready || fail "the node does not come back"
}

# array PAGE: its array, interrupted in three ways and submitted again.
array() {
    local page=$1
    printed "$page" '#SBATCH --array' >"$scratch/state/sketch.sh"
    local first second
    first=$(submit)
    within 180 has_sketches 4 && within 60 kill_one_program || fail "$page: no task to kill"
    within 180 has_sketches 8 && within 60 cancel_task || fail "$page: no task to cancel"
    within 180 has_sketches 12 || fail "$page: tasks do not go on"
    kill_node
    within 180 has_sketches 16 || fail "$page: tasks do not go on after the node"
    scancel "$first"
    within 180 queue_is_empty || fail "$page: the queue does not empty"
    check_interrupted "$page, array $first"
    second=$(submit)
    within 300 queue_is_empty || fail "$page: the queue does not empty"
    all_succeeded "$second" || fail "$page: tasks of array $second fail"
    check_complete "$page, array $second"
}

# Archives carried by srun, as to nodes without the album's file system.
archives() {
    printed docs/batch.md '# usage: sketch-archive' >sketch-archive
    printed docs/batch.md 'srun --quiet' | grep srun >"$scratch/state/archives"
    bash "$scratch/state/archives" &
    local client=$!
    within 180 has_sketches 4 && within 60 kill_one_program || fail "archives: nothing to kill"
    within 180 has_sketches 12 && within 60 cancel_task || fail "archives: no task to cancel"
    kill "$client" || true
    wait "$client" || true
    scancel --full --user root || true
    within 180 queue_is_empty || fail "archives: the queue does not empty"
    check_interrupted "docs/batch.md, srun"
    bash "$scratch/state/archives" || fail "archives: the second time"
    check_complete "docs/batch.md, srun"
}

prepare_own_system
make_album
single_run
write_configuration
start_munge
start slurmctld slurmctld -D -i
start_slurmd
within 180 node_is_ready || fail "no node becomes ready"
say "$(sinfo --version): $(sinfo --noheader --format '%n, %c processors, %T')"
array README.md
array docs/batch.md
archives
say "passed"
