#!/usr/bin/env bash
# Builds the Debian packages on a system of nothing but Debian's minimal packages and what
# they say they need, judges them, and installs them on another such system: there a sketch
# is made, the window opens, another program is built with the libraries, and nothing stays
# when they are removed. Takes root, half an hour and 4 GB below TMPDIR (/var/tmp unless
# set), which are given back.
set -euo pipefail
root=$(dirname "$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")")
source "$root/scripts/setup.sh"
source "$root/scripts/baresystem.sh"
source "$root/tests/scripts/packtree.sh"

usage="usage: tests/package/run.sh [FOLDER]"
case $#:${1:-} in
0: | 1:[!-]*) ;;
1:-h | 1:--help)
    printf '%s\n' "$usage" \
        "Builds the Debian packages on a bare system and tries them on another." \
        "The packages and a picture of the window are left in FOLDER."
    exit 0
    ;;
*)
    say "$usage"
    exit 2
    ;;
esac
need_root
kept=${1:-}
[[ -z $kept ]] || kept=$(realpath "$kept")

fail() {
    say "FAILED: $*"
    exit 1
}

# step WORDS...: what begins now, and when.
step() {
    printf '== %s (after %s s)\n' "$*" "$SECONDS"
}

# install SYSTEM PACKAGE...: with apt, no more than needed; a package that begins with a
# slash is a pattern of the system's files.
install() {
    local system=$1 package files packages=()
    shift
    for package in "$@"; do
        files=("$package")
        # shellcheck disable=SC2206 # a pattern
        [[ $package != /* ]] || files=("$system"$package)
        packages+=("${files[@]#"$system"}")
    done
    in_system "$system" env DEBIAN_FRONTEND=noninteractive apt-get install --quiet=2 --yes \
        --no-install-recommends "${packages[@]}" >"$log" 2>&1 || fail "$(<"$log")"
}

build_packages() {
    mkdir -p "$builder/build/crayvell"
    pack_tree "$root" | tar --directory "$builder/build/crayvell" --extract --no-same-owner
    install "$builder" build-essential
    in_system "$builder" env DEBIAN_FRONTEND=noninteractive \
        apt-get build-dep --quiet=2 --yes --no-install-recommends /build/crayvell \
        >"$log" 2>&1 || fail "$(<"$log")"
    in_system "$builder" bash -c 'cd /build/crayvell && dpkg-buildpackage -us -uc -b' \
        >"$log" 2>&1 || fail "$(tail -n 40 "$log")"
    ls -l "$builder"/build/*.deb
}

judge_packages() {
    install "$builder" lintian
    in_system "$builder" bash -c 'cd /build && lintian --allow-root --info crayvell_*.changes' \
        >"$log" 2>&1 || true
    cat "$log"
    ! grep -q '^[EW]: ' "$log" || fail "lintian has complaints"
    printf 'lintian prints no error and no warning\n'
}

# smoke TEST: one of debian/tests, with the packages that it asks for.
smoke() {
    local packages folder=/tmp/artifacts
    packages=$(awk -v test="$1" '$1 == "Tests:" { here = $2 == test }
        here && sub(/^Depends: /, "") { gsub(/,/, ""); print }' "$root/debian/tests/control")
    [[ -n $packages ]] || fail "no test $1"
    # shellcheck disable=SC2086 # a list
    install "$user" $packages
    mkdir -p "$user$folder"
    in_system "$user" bash -c 'cd /tree && AUTOPKGTEST_ARTIFACTS=$1 debian/tests/$0' "$1" $folder \
        >"$log" 2>&1 || fail "$1: $(<"$log")"
    cat "$log"
}

install_packages debootstrap git
work=$(mktemp -d "${TMPDIR:-/var/tmp}/package-XXXXXX")
trap 'rm -rf --one-file-system "$work"' EXIT
log=$work/log builder=$work/builder user=$work/user

step "making two systems"
make_system "$builder" 2>"$log" || fail "$(<"$log")"
in_system "$builder" apt-get update --quiet=2
cp -a "$builder" "$user"

step "building the packages"
build_packages
step "judging them"
judge_packages

step "installing them"
mkdir "$user/packages" "$user/tree"
cp "$builder"/build/*.deb "$user/packages"
rm "$user"/packages/*-dbgsym_*.deb
pack_tree "$root" | tar --directory "$user/tree" --extract --no-same-owner
before=$(in_system "$user" find / -xdev -iname '*crayvell*' ! -path '/tree/*' ! -path '/packages/*')
[[ -z $before ]] || fail "there before: $before"
in_system "$user" bash -c 'cd /packages && dpkg-deb --info crayvell-batch_*.deb' | grep Depends
install "$user" /packages/crayvell-batch_*.deb
in_system "$user" bash -c 'cp /tree/examples/beach/beach.jpg /tmp && crayvell-batch /tmp/beach.jpg'
ls -l "$user"/tmp/beach*
[[ -s $user/tmp/beach-sketch.jpg ]] || fail "no sketch"
install "$user" /packages/{crayvell,libcrayvell-dev,frei0r-crayvell,gegl-crayvell}_*.deb
for test in sketch window film operation library; do
    step "test: $test"
    smoke $test
done
[[ -z $kept ]] || cp "$builder"/build/*crayvell*.{deb,changes} "$user/tmp/artifacts/window.png" "$kept"

step "removing them"
in_system "$user" apt-get purge --quiet=2 --yes crayvell crayvell-batch libcrayvell-dev \
    frei0r-crayvell gegl-crayvell \
    >"$log" 2>&1 || fail "$(<"$log")"
after=$(in_system "$user" find /usr /etc /var -xdev -iname '*crayvell*' ! -path '/var/cache/apt/*')
[[ -z $after ]] || fail "left behind: $after"
step "the packages are in order"
