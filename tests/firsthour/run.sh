#!/usr/bin/env bash
# Follows the README on a system of nothing but Debian's minimal packages, as a newcomer
# would on a new machine. Takes root, an hour at most and 4 GB below TMPDIR (/var/tmp
# unless set), which are given back.
set -euo pipefail
root=$(dirname "$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")")
source "$root/scripts/setup.sh"
source "$root/scripts/baresystem.sh"

usage="usage: tests/firsthour/run.sh"
if (($#)); then
    case $1 in
    -h | --help)
        printf '%s\n' "$usage" "Follows the README's \"Start it\" on a bare Debian system of its own."
        exit 0
        ;;
    esac
    say "$usage"
    exit 2
fi
need_root

install_packages debootstrap git
work=$(mktemp -d "${TMPDIR:-/var/tmp}/firsthour-XXXXXX")
trap 'rm -rf --one-file-system "$work"' EXIT
system=$work/system place="/root/un été/crayvell"
make_system "$system"
git -c safe.directory='*' clone --quiet --no-local "$root" "$system$place"
in_system "$system" bash "$place/tests/firsthour/follow.sh" "$place"
