#!/usr/bin/env bash
# Follows the README on a system of nothing but Debian's minimal packages, as a newcomer
# would on a new machine. Takes root, an hour at most and 4 GB below TMPDIR (/var/tmp
# unless set), which are given back.
set -euo pipefail
root=$(dirname "$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")")
source "$root/scripts/setup.sh"

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
((EUID == 0)) || {
    say "Making a system of its own takes root."
    exit 1
}

release=bookworm

# "URI SUITE" of every place from which this machine gets packages of the release.
package_sources() {
    # shellcheck disable=SC2016 # apt's own variables
    apt-get indextargets --format '$(REPO_URI) $(CODENAME) $(COMPONENT)' \
        'Created-By: Packages' | awk -v release="$release" \
        '($2 == release || index($2, release "-") == 1) && $3 == "main" && !seen[$1 $2]++ \
            { print $1, $2 }'
}

make_system() {
    local mirror
    mirror=$(package_sources | awk -v release="$release" '$2 == release { print $1; exit }')
    [[ -n $mirror ]] || {
        say "This machine's package sources have no $release."
        exit 1
    }
    local include=()
    [[ $mirror != https:* ]] || include=(--include=ca-certificates)
    debootstrap --variant=minbase "${include[@]}" "$release" "$system" "$mirror" >&2
    package_sources | sed 's/.*/deb & main/' >"$system/etc/apt/sources.list"
    apt-config dump | { grep -i '^Acquire::.*Proxy' || true; } >"$system/etc/apt/apt.conf.d/50proxy"
}

# Where the README's reader works: with the environment of a first login.
follow_in_system() {
    mount -t proc proc "$system/proc"
    mount --rbind /sys "$system/sys"
    mount --rbind /dev "$system/dev"
    local variable environment=(HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin TERM=dumb)
    for variable in http_proxy https_proxy no_proxy; do
        [[ -z ${!variable:-} ]] || environment+=("$variable=${!variable}")
    done
    exec chroot "$system" /usr/bin/env -i "${environment[@]}" \
        bash "$place/tests/firsthour/follow.sh" "$place"
}

install_packages debootstrap git
work=$(mktemp -d "${TMPDIR:-/var/tmp}/firsthour-XXXXXX")
trap 'rm -rf --one-file-system "$work"' EXIT
export system=$work/system place="/root/un été/crayvell"
make_system
git -c safe.directory='*' clone --quiet --no-local "$root" "$system$place"
export -f follow_in_system
# With the namespace go the mounts and every process that was left behind.
unshare --mount --pid --fork --kill-child bash -euc follow_in_system
