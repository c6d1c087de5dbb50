#!/usr/bin/env bash
# Runs the tests wherever somebody may want to run them: in an odd folder, as somebody else,
# in another language, in another year. Each place takes as long as ./test; root is needed to
# make some of them, and a place that cannot be made is a failure.
set -euo pipefail
root=$(dirname "$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")")
source "$root/scripts/setup.sh"
source "$root/tests/scripts/packtree.sh"
source "$root/tests/anywhere/places.sh"

usage="usage: tests/anywhere/run.sh [--only REGEX | --without REGEX] [--in FOLDER] [PLACE...]"

help() {
    printf '%s\n' "$usage" \
        "Runs the tests in the named places, or in all: ${places[*]}." \
        "--only REGEX runs one test, or those of a folder (batch/cli/.*), and builds no more" \
        "than these need; --without REGEX leaves out the tests whose names match;" \
        "--in FOLDER works there and leaves there what was built and what was said."
}

is_place() {
    [[ " ${places[*]} " == *" $1 "* ]]
}

only="" without="" work="" chosen=()
while (($#)); do
    case $1 in
    -h | --help) help && exit 0 ;;
    --only | --without | --in)
        (($# > 1)) || { say "$usage" && exit 2; }
        case $1 in
        --only) only=$2 ;;
        --without) without=$2 ;;
        --in) work=$2 ;;
        esac
        shift
        ;;
    -*) say "$usage" && exit 2 ;;
    *)
        is_place "$1" || { say "There is no place \"$1\"." "$usage" && exit 2; }
        chosen+=("$1")
        ;;
    esac
    shift
done
((${#chosen[@]})) || chosen=("${places[@]}")
((EUID == 0)) || refuse "Making these places takes root."

install_packages "${run_packages[@]}" "${test_packages[@]}"
if [[ -z $work ]]; then
    work=$(mktemp -d "${TMPDIR:-/var/tmp}/anywhere-XXXXXX")
    trap 'rm -rf --one-file-system "$work"' EXIT
fi
mkdir -p "$work"/{logs,empty}
work=$(realpath "$work")
chmod 755 "$work" # an ordinary user goes through
make_tree "$work/tree"
tree=$(realpath "$work/tree")

failed=()
printf '%-20s %7s  %s\n' place seconds outcome
for place in "${chosen[@]}"; do
    log=$work/logs/$place
    : >"$log"
    began=$SECONDS
    outcome=$("at_${place//-/_}") || failed+=("$place")
    printf '%-20s %7s  %s\n' "$place" $((SECONDS - began)) "$outcome"
    [[ " ${failed[*]:-} " != *" $place "* ]] || tail -n 60 "$log" >&2
done
printf '%s places, %s failed%s\n' "${#chosen[@]}" "${#failed[@]}" "${failed[*]:+: ${failed[*]}}"
((!${#failed[@]}))
