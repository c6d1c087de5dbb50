#!/usr/bin/env bash
# Runs the whole suite again and again, in two clones at once, so that a test which fails
# only now and then, or in the way of another, is seen.
set -euo pipefail
root=$(dirname "$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")")
source "$root/scripts/setup.sh"
source "$root/tests/scripts/packtree.sh"

usage="usage: tests/repeat/run.sh [--in FOLDER] RUNS"

help() {
    printf '%s\n' "$usage" \
        "RUNS is how often in all. --in FOLDER works there and leaves there what was built" \
        "and what was said; a later run in the same folder goes on with what was built."
}

work="" runs=""
while (($#)); do
    case $1 in
    -h | --help) help && exit 0 ;;
    --in)
        (($# > 1)) || { say "$usage" && exit 2; }
        work=$2
        shift
        ;;
    *)
        [[ -z $runs && $1 =~ ^[1-9][0-9]{0,5}$ ]] || { say "$usage" && exit 2; }
        runs=$1
        ;;
    esac
    shift
done
[[ -n $runs ]] || { say "$usage" && exit 2; }

install_packages "${run_packages[@]}" "${test_packages[@]}"
if [[ -z $work ]]; then
    work=$(mktemp -d "${TMPDIR:-/var/tmp}/repeat-XXXXXX")
    trap 'rm -rf --one-file-system "$work"' EXIT
fi
mkdir -p "$work"
work=$(realpath "$work")

# The clone's share of the runs, one after the other; a line for each.
in_clone() {
    local clone=$work/$1 run log began outcome
    for ((run = $1; run <= runs; run += 2)); do
        log=$work/run$run.log
        began=$SECONDS
        outcome=passed
        "$clone/test" >"$log" 2>&1 </dev/null ||
            outcome="FAILED: $(sed -n 's/^\t *[0-9]* - \([^ ]*\) .*/\1/p' "$log" | tr '\n' ' ')"
        printf 'run %3s %6s s  %s\n' "$run" $((SECONDS - began)) "$outcome"
        [[ $outcome != passed ]] || rm "$log"
    done
}

for number in 1 2; do
    mkdir -p "$work/$number"
    pack_tree "$root" | tar --directory "$work/$number" --extract --no-same-owner
done
{
    in_clone 1 &
    in_clone 2
    wait $!
} | tee "$work/outcome"
failed=$(grep --count FAILED "$work/outcome") || true
printf '%s runs, two at a time, %s failed\n' "$(wc -l <"$work/outcome")" "$failed"
((!failed))
