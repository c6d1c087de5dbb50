# What the tests of recipes for many hosts share; sourced, not run. Each of them works in
# namespaces of its own (processes, mounts, network, host name), so that its daemons meet
# nobody else's and end with it, however it ends. Takes root.

root=$(dirname "$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")")
source "$root/scripts/setup.sh"

fail() {
    show_logs
    say "FAILED: $*"
    exit 1
}

# The ends of the daemons' logs; once, and before what says why.
show_logs() {
    [[ -d ${scratch:-}/log && ! -e $scratch/state/told ]] || return 0
    find "$scratch/log" -type f -size +0 -exec tail -v -n 5 {} + >&2 || true
    touch "$scratch/state/told"
}

# enter_own_system PACKAGE... -- ARGUMENT...: installs and builds what is missing, then
# begins the calling script again in its own namespaces, below a scratch folder that goes
# when it ends.
enter_own_system() {
    local packages=()
    while [[ $1 != -- ]]; do
        packages+=("$1")
        shift
    done
    shift
    ((EUID == 0)) || fail "Daemons of one's own take root."
    # The daemons' files of settings, Slurm's above all, know no quotes.
    [[ ${TMPDIR:-/tmp} =~ ^[A-Za-z0-9/._-]+$ ]] || fail "The name of TMPDIR has more than letters."
    install_packages "${run_packages[@]}" imagemagick util-linux iproute2 "${packages[@]}"
    [[ -f $root/build/release/build.ninja ]] || configure release
    build release crayvell-batch
    scratch=$(mktemp -d --tmpdir crayvell-cluster-XXXXXX)
    trap 'end_own_system' EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM
    # The first process of the namespaces ends with this one, and all of the others with it.
    CLUSTER_SCRATCH=$scratch setpriv --pdeathsig KILL unshare --mount --pid --net --uts \
        --fork --kill-child --mount-proc "$0" "$@" &
    system=$!
    wait "$system"
}

end_own_system() {
    local status=$?
    # The shell says nothing of the end of a job that is not its own any more.
    [[ -z ${system:-} ]] || { disown "$system" && kill -KILL "$system"; } 2>/dev/null || true
    within 20 rm -rf "$scratch" || say "Not removed: $scratch"
    exit "$status"
}

# The first half of set-up inside: a loopback address, folders, the program as a file of
# its own, by which its processes are told from any others'.
prepare_own_system() {
    scratch=$CLUSTER_SCRATCH
    ip link set lo up
    # The resolver answers daemons only on hosts with an address beside 127.0.0.1.
    ip address add 192.0.2.1/32 dev lo
    hostname node
    mount -t tmpfs tmpfs /run
    mkdir -p "$scratch"/{bin,home,log,state,tmp,work} /run/sshd
    chmod 755 "$scratch"
    cp "$root/build/release/batch/crayvell-batch" "$scratch/bin/"
    program=$scratch/bin/crayvell-batch
    export HOME=$scratch/home TMPDIR=$scratch/tmp PATH=$scratch/bin:/usr/sbin:/usr/bin:/sbin:/bin
    # What the machine's user has set up for clients would lead them elsewhere.
    unset LC_ALL "${!AWS_@}" "${!RCLONE_@}" "${!SLURM_@}" "${!PARALLEL@}" \
        http_proxy https_proxy all_proxy HTTP_PROXY HTTPS_PROXY ALL_PROXY
    export LANG=C.UTF-8
    cd "$scratch/work"
    trap end_all EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM
}

started=()

# start NAME COMMAND...: a daemon in the foreground of its own process.
start() {
    local name=$1
    shift
    "$@" >"$scratch/log/$name" 2>&1 </dev/null &
    started+=($!)
    eval "${name}_pid=$!"
}

# Whether a process is there and no zombie.
is_alive() {
    [[ -r /proc/$1/stat ]] && [[ $(cut -d ' ' -f 3 "/proc/$1/stat" 2>/dev/null) != Z ]]
}

all_gone() {
    local pid
    for pid in "${started[@]}"; do
        ! is_alive "$pid" || return 1
    done
}

end_all() {
    local status=$?
    ((status == 0)) || show_logs
    kill "${started[@]}" 2>/dev/null || true
    within 10 all_gone || kill -KILL "${started[@]}" 2>/dev/null || true
    exit "$status"
}

# within SECONDS COMMAND...: tries until the command succeeds or the time is over.
within() {
    local end=$((SECONDS + $1))
    shift
    until "$@" >/dev/null 2>&1; do
        ((SECONDS < end)) || return 1
        sleep 0.05
    done
}

# The processes of the program under test; found without a new process for each, for they
# do not live long.
running_programs() {
    local process
    for process in /proc/[0-9]*; do
        [[ ! $process/exe -ef $program ]] || echo "${process#/proc/}"
    done
}

# Kills one, with no chance to tidy up; fails where none runs.
kill_one_program() {
    local process
    for process in /proc/[0-9]*; do
        [[ ! $process/exe -ef $program ]] || ! kill -KILL "${process#/proc/}" 2>/dev/null ||
            return 0
    done
    return 1
}

no_programs() {
    [[ -z $(running_programs) ]]
}

kill_programs() {
    while kill_one_program; do :; done
    within 20 no_programs || fail "programs outlive their kill"
}

# printed PAGE PHRASE: the one block of code on the page that contains the phrase.
printed() {
    awk -v phrase="$2" '
        function close_block() {
            if (index(block, phrase)) { found = block; ++count }
            block = ""
        }
        /^    / { block = block blank substr($0, 5) "\n"; blank = ""; next }
        /^$/ && block != "" { blank = blank "\n"; next }
        { close_block(); blank = "" }
        END { close_block(); if (count == 1) printf "%s", found; else exit 1 }
    ' "$root/$1" || fail "$1 prints \"$2\" in no block, or in several"
}

# recipe PAGE PHRASE: the name of a file with what is printed there.
recipe() {
    local file
    file=$(mktemp "$scratch/state/recipe-XXXXXX")
    printed "$1" "$2" >"$file" || exit
    echo "$file"
}

# Folders and names that shells, lists, archives and protocols like to trip over.
folders=('plain' 'with space' "quote's" 'double"quote' $'line\nend' '-leading' 'größe été 写真'
    'back\slash\n' '$HOME `id` $(id)' 'glob*?[a]' ' edges ' 'per%20cent {} {/}' 'a.jpg'
    $'tab\there' '#~&;|<>!' "'\"'\$(x)'\"'" '.crayvell-x')
names=('photo.jpg' '-rf.JPG' $'two\nlines .jpeg' "it's \"ß\".png" 'no suffix.2024' '.jpg'
    'scan.BMP' 'dots..gif')

# make_album: in the current folder, each photo another picture.
make_album() {
    local folder name i number=0
    convert "$root/examples/beach/beach.jpg" -resize 3000x "$scratch/state/photo.mpc"
    for folder in "${folders[@]}"; do
        mkdir -p "album/$folder"
        for i in 0 1 2; do
            name=${names[(number + i * i) % ${#names[@]}]}
            # A JPEG by content, whatever the suffix says: packing PNGs takes too long here.
            convert "$scratch/state/photo.mpc" -roll "+$((number * 20))+$number" \
                jpg:- >"album/$folder/$name"
            number=$((number + 1))
        done
    done
}

# single_run: what all of it is compared with.
single_run() {
    find album -type f -print0 | "$program" -q --files-from - --null --keep-folders \
        --output-dir "$scratch/single" || fail "the single run"
    photos=$(find album -type f -printf x | wc -c)
    (($(count_sketches "$scratch/single") == photos)) || fail "the single run is incomplete"
    (($(count_different "$scratch/single") == photos)) || fail "two sketches are the same"
}

# Sketches of one content would hide that one took the other's place.
count_different() {
    find "$1" -type f -exec sha256sum --zero {} + | cut -z -c 1-64 | sort -zu | tr -dc '\0' | wc -c
}

# find_sketches FOLDER FORMAT: those that have their names; the recipes' own unfinished
# files and folders do not count.
find_sketches() {
    find "$1" -name '.part-*' -prune -o -type f -printf "$2" 2>/dev/null
}

count_sketches() {
    find_sketches "${1:-sketches}" x | wc -c
}

has_sketches() {
    (($(count_sketches) >= $1))
}

# Whether every sketch that is there is, byte for byte, that of the single run.
all_equal() {
    local sketch
    while IFS= read -r -d '' sketch; do
        cmp --quiet "sketches/$sketch" "$scratch/single/$sketch" || {
            printf '%q differs\n' "$sketch" >&2
            return 1
        }
    done < <(find_sketches sketches '%P\0')
}

# Which file each sketch is, with its time.
list_sketches() {
    find_sketches sketches '%i %T@ %P\0' | sort -z
}

# check_interrupted WHAT: the kills met work, and what is there is whole.
check_interrupted() {
    local made
    made=$(count_sketches)
    ((made < photos)) || fail "$1: the kills came too late, $made of $photos sketches"
    all_equal || fail "$1: an interrupted run left a sketch that is not that of a single run"
    list_sketches >"$scratch/state/before"
    say "$1: interrupted with $made of $photos sketches, each that of a single run"
}

# fails_by_name WHAT NAME COMMAND...: it fails, and says of which photo.
fails_by_name() {
    ! "${@:3}" 2>"$scratch/state/failure" || fail "$1: no failure, for all that $2 has no sketch"
    grep -qF -- "$2" "$scratch/state/failure" || fail "$1: a failure that does not name $2"
}

name_missing() {
    local sketch
    while IFS= read -r -d '' sketch; do
        [[ -e sketches/$sketch ]] || printf '%q is missing\n' "$sketch" >&2
    done < <(find_sketches "$scratch/single" '%P\0')
}

# check_complete WHAT: all are there and equal; those of before were left alone.
check_complete() {
    name_missing
    (($(count_sketches) == photos)) || fail "$1: $(count_sketches) of $photos sketches"
    all_equal || fail "$1: a sketch is not that of a single run"
    [[ -z $(comm -z -23 "$scratch/state/before" <(list_sketches) | tr '\0' ' ') ]] ||
        fail "$1: sketches that were there were made again"
    say "$1: given again, $photos of $photos sketches, each that of a single run"
    rm -rf sketches "$scratch/state/before"
}
