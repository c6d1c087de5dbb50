#!/usr/bin/env bash
# Tries the recipes of README.md and docs/batch.md for ssh and GNU parallel, as they are
# printed there, on two hosts: daemons of its own, each in a mount namespace, which see the
# album's folder or, for the recipes without a shared file system, an empty one in its
# place. Kills programs, daemons and parallel itself. Takes root and a few minutes; not
# part of ./test.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"
source "$root/tests/cluster/hosts.sh"

usage="usage: tests/cluster/ssh.sh"
if (($#)); then
    say "$usage"
    exit 2
fi
if [[ -z ${CLUSTER_SCRATCH:-} ]]; then
    enter_own_system openssh-server openssh-client parallel --
    exit
fi

# interrupted WHAT VIEW SCRIPT: the recipe, while a program, then a host, then the recipe's
# own process are killed.
interrupted() {
    local what=$1 view=$2 script=$3
    setsid bash "$script" &
    local recipe=$!
    within 180 has_sketches 4 && within 60 kill_one_program || fail "$what: no program to kill"
    within 180 has_sketches 10 || fail "$what: does not go on after a kill"
    kill_host beta
    start_host beta "$view"
    within 180 has_sketches 16 || fail "$what: does not go on after a host"
    kill -KILL -- "-$recipe"
    wait "$recipe" 2>/dev/null || true
    kill_programs
    check_interrupted "$what"
}

# try WHAT VIEW SCRIPT [LAST_SCRIPT]: interrupted, and given again.
try() {
    interrupted "$1" "$2" "$3"
    bash "${4:-$3}" || fail "$1: given again"
    check_complete "$1"
    rm -f sketch.log
}

shared_recipes() {
    local page script again
    for page in README.md docs/batch.md; do
        script=$(recipe "$page" '--sshlogin 4/alpha,8/beta --workdir')
        try "$page, parallel" shared "$script"
        again=$script-again
        sed 's/--joblog sketch.log/& --resume-failed/' "$script" >"$again"
        try "$page, parallel --resume-failed" shared "$script" "$again"
    done
}

archive_recipe() {
    local script
    script=$(recipe docs/batch.md '--link bash sketch-archive')
    # Its neighbour on the page is for Slurm.
    sed -i '/srun/d' "$script"
    echo "$script"
}

# Half a sketch that a killed job has left is nobody else's. In a namespace of its own each
# job has the process number 1.
abandoned_part() {
    local sketch=album/plain/photo.jpg
    mkdir -p sketches/.part-1/album/plain
    head -c 1000 "$scratch/single/$sketch" >"sketches/.part-1/$sketch"
    unshare --pid --fork --kill-child bash sketch-archive 1 "$photos" ssh alpha ||
        fail "sketch-archive: fails beside an abandoned part"
    all_equal || fail "sketch-archive: an abandoned part has become a sketch"
    (($(count_sketches) == 1)) || fail "sketch-archive: $(count_sketches) sketches of one photo"
    say "docs/batch.md, sketch-archive: an abandoned part stays one"
    rm -rf sketches
}

over_ssh() {
    PARALLEL_JOBSLOT=1 bash ../sketch-over-ssh "$1"
}

# only_sketch WHAT: of three photos one has no namesake and is whole.
only_sketch() {
    [[ $(find_sketches sketches '%P\n') == album/a.jpg/photo.jpg ]] ||
        fail "$1: $(find_sketches sketches '%P ')"
    say "docs/batch.md, $1: fails by name"
    rm -rf sketches
}

# A sketch with the name of a folder of sketches, and half a photo.
failing_photos() {
    mkdir -p failing/album/a.jpg
    cp album/plain/photo.jpg failing/album/a.jpg/photo.jpg
    cp album/plain/photo.jpg failing/album/a.png
    head -c 20000 album/plain/photo.jpg >failing/album/half.jpg
    cp hosts failing
    pushd failing >/dev/null
    over_ssh album/a.jpg/photo.jpg || fail "sketch-over-ssh: one photo"
    fails_by_name sketch-over-ssh album/a.png over_ssh album/a.png
    fails_by_name sketch-over-ssh album/half.jpg over_ssh album/half.jpg
    only_sketch sketch-over-ssh
    bash ../sketch-archive 1 3 ssh alpha || fail "sketch-archive: one photo"
    fails_by_name sketch-archive album/a.jpg bash ../sketch-archive 2 3 ssh alpha
    fails_by_name sketch-archive album/half.jpg bash ../sketch-archive 3 3 ssh alpha
    only_sketch sketch-archive
    popd >/dev/null
    rm -rf failing
}

unshared_recipes() {
    printed docs/batch.md '# usage: sketch-over-ssh' >sketch-over-ssh
    printf '%s\n' alpha alpha beta beta >hosts
    try "docs/batch.md, sketch-over-ssh" alone "$(recipe docs/batch.md 'bash sketch-over-ssh {}')"
    printed docs/batch.md '# usage: sketch-archive' >sketch-archive
    try "docs/batch.md, sketch-archive" alone "$(archive_recipe)"
    # A host that was killed leaves its temporary files.
    rm -rf "$host_tmp" && mkdir "$host_tmp"
    abandoned_part
    check_hosts_tidy "docs/batch.md, sketch-archive"
    failing_photos
}

prepare_own_system
make_album
single_run
write_configuration
say "$(ssh -V 2>&1), $(parallel --version | head -n 1)"
start_hosts shared
shared_recipes
stop_hosts
start_hosts alone
unshared_recipes
say "passed"
