#!/usr/bin/env bash
# Tries the recipes of docs/batch.md for object storage, as they are printed there, with a
# server that speaks the S3 protocol (s3rver, from the npm registry) and two hosts with
# daemons of their own, while a program, a host and the server are killed. Takes root and a
# few minutes; not part of ./test.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"
source "$root/tests/cluster/hosts.sh"

usage="usage: tests/cluster/objects.sh"
if (($#)); then
    say "$usage"
    exit 2
fi
server=$root/build/cluster/s3rver
if [[ -z ${CLUSTER_SCRATCH:-} ]]; then
    command -v npm >/dev/null || install_packages nodejs npm
    [[ -d $server/node_modules ]] ||
        npm install --silent --no-audit --no-fund --prefix "$server" s3rver@3.7.1
    enter_own_system openssh-server openssh-client parallel rclone awscli jq --
    exit
fi

port=16824
key=S3RVER # the server's only user, and his password

configure_clients() {
    mkdir -p "$HOME/.config/rclone" "$HOME/.aws"
    cat >"$HOME/.config/rclone/rclone.conf" <<END
[store]
type = s3
provider = Other
endpoint = http://127.0.0.1:$port
access_key_id = $key
secret_access_key = $key
force_path_style = true
END
    printf '[default]\naws_access_key_id = %s\naws_secret_access_key = %s\n' "$key" "$key" \
        >"$HOME/.aws/credentials"
    printf '[default]\nregion = us-east-1\n' >"$HOME/.aws/config"
    # This client is told the address of a server by an option alone.
    printf '#!/bin/sh\nexec /usr/bin/aws --endpoint-url http://127.0.0.1:%s "$@"\n' "$port" \
        >"$scratch/bin/aws"
    chmod +x "$scratch/bin/aws"
}

start_server() {
    S3RVER=$server/node_modules/s3rver start s3rver node \
        --require "$root/tests/cluster/wholeobjects.js" \
        "$server/node_modules/.bin/s3rver" --address 127.0.0.1 \
        --port "$port" --directory "$scratch/state/buckets" \
        --configure-bucket album --configure-bucket sketches
    within 30 rclone lsf store: || fail "the server does not answer"
}

# The sketches under the names that the recipe gives them.
single_run() {
    local photo
    while IFS= read -r -d '' photo; do
        mkdir -p "$scratch/single/$(dirname -- "./$photo")"
        "$program" -q -o "$scratch/single/$photo.jpg" "album/$photo" ||
            fail "the single run"
    done < <(find album -type f -printf '%P\0')
    photos=$(find album -type f -printf x | wc -c)
}

has_sketches() {
    (($(find "$scratch/state/buckets/sketches" -name '*._S3rver_object' -printf x | wc -c) >= $1))
}

fetch_sketches() {
    mkdir -p sketches
    # The server's listings by folder leave out names with a percent sign.
    rclone sync --fast-list store:sketches sketches || fail "fetching the sketches"
}

interrupted() {
    local script=$1
    setsid bash "$script" &
    local recipe=$!
    within 180 has_sketches 4 && within 60 kill_one_program || fail "no program to kill"
    within 180 has_sketches 10 || fail "does not go on after a kill"
    kill_host beta
    start_host beta alone
    within 180 has_sketches 16 || fail "does not go on after a host"
    kill -KILL "$s3rver_pid"
    wait "$s3rver_pid" 2>/dev/null || true
    start_server
    within 180 has_sketches 20 || fail "does not go on after the server"
    kill -KILL -- "-$recipe"
    wait "$recipe" 2>/dev/null || true
    # What the hosts still store would be counted among what was there before.
    stop_hosts
    start_hosts alone
}

# rclone's own, as printed.
try_recipe() {
    local script
    script=$(recipe docs/batch.md 'keys() {')
    interrupted "$script"
    fetch_sketches
    check_interrupted "docs/batch.md, sketch-object"
    bash "$script" || fail "given again"
    fetch_sketches
    check_complete "docs/batch.md, sketch-object"
    rclone delete --fast-list store:sketches
}

# printed_client NAME COLUMN: a command of the table of clients.
printed_client() {
    awk -F ' *[|] *' -v name="\`$1\`" -v column="$2" '$2 == name { print $column }' \
        "$root/docs/batch.md" | tr -d '`'
}

# try_client NAME: the recipe with another client in the place of rclone.
try_client() {
    local reads stores photo number=0
    reads=$(printed_client "$1" 3) stores=$(printed_client "$1" 4)
    [[ -n $reads && -n $stores ]] || fail "docs/batch.md names no commands of $1"
    READS=$reads STORES=$stores perl -pe \
        's/rclone cat "[^"]*"/$ENV{READS}/; s/rclone copyto "[^"]*" "[^"]*"/$ENV{STORES}/' \
        "$scratch/bin/sketch-object" >"$scratch/state/client"
    grep -q rclone "$scratch/state/client" && fail "$1: rclone is still there"
    while IFS= read -r -d '' photo; do
        bash "$scratch/state/client" "$photo" >&2 || fail "$1: $(printf %q "$photo")"
        number=$((number + 1))
    done < <(find album -type f -printf '%P\0' | sort -z | sed -zn '1~3p')
    fetch_sketches
    (($(count_sketches) == number)) || fail "$1: $(count_sketches) of $number sketches"
    all_equal || fail "$1: a sketch is not that of a single run"
    say "docs/batch.md, $1: $number sketches, each that of a single run"
    rclone delete --fast-list store:sketches
    rm -rf sketches
}

# Half a photo is told by its name, and nothing is stored for it.
failing_photo() {
    head -c 20000 album/plain/photo.jpg | rclone rcat store:album/half.jpg
    fails_by_name sketch-object half.jpg sketch-object half.jpg
    [[ -z $(rclone lsf store:sketches) ]] || fail "half a photo has a sketch"
    say "docs/batch.md, sketch-object: fails by name"
    rclone deletefile store:album/half.jpg
}

# Why the recipe has a file in the middle: what is said of pipes is so.
try_pipe() {
    local photo=album/plain/photo.jpg
    ! head -c 1000 "$photo" | "$program" -o - - 2>"$scratch/log/pipe" |
        rclone rcat store:sketches/pipe.jpg || fail "a failure in a pipe is not told"
    rclone lsf store:sketches | grep -qx pipe.jpg || fail "a pipe that fails stores nothing"
    rclone delete --fast-list store:sketches
}

prepare_own_system
make_album
single_run
write_configuration
configure_clients
start_server
rclone copy album store:album || fail "storing the album"
(($(rclone lsjson --recursive --files-only store:album | jq length) == photos)) ||
    fail "the server does not keep the album"
start_hosts alone
say "s3rver 3.7.1, $(rclone --version | head -n 1), $(aws --version | cut -d ' ' -f 1)"
printed docs/batch.md '# usage: sketch-object' >"$scratch/bin/sketch-object"
chmod +x "$scratch/bin/sketch-object"
try_recipe
try_client aws
failing_photo
try_pipe
say "passed"
