# Debian systems of nothing but the minimal packages, for tests of what a newcomer or a
# package meets; sourced, not run. Takes root, and scripts/setup.sh sourced before.

bare_release=bookworm

need_root() {
    ((EUID == 0)) || {
        say "Making a system of its own takes root."
        exit 1
    }
}

# "URI SUITE" of every place from which this machine gets packages of the release.
package_sources() {
    # shellcheck disable=SC2016 # apt's own variables
    apt-get indextargets --format '$(REPO_URI) $(CODENAME) $(COMPONENT)' \
        'Created-By: Packages' | awk -v release="$bare_release" \
        '($2 == release || index($2, release "-") == 1) && $3 == "main" && !seen[$1 $2]++ \
            { print $1, $2 }'
}

# make_system FOLDER
make_system() {
    local mirror
    mirror=$(package_sources | awk -v release="$bare_release" '$2 == release { print $1; exit }')
    [[ -n $mirror ]] || {
        say "This machine's package sources have no $bare_release."
        exit 1
    }
    local include=()
    [[ $mirror != https:* ]] || include=(--include=ca-certificates)
    debootstrap --variant=minbase "${include[@]}" "$bare_release" "$1" "$mirror" >&2
    package_sources | sed 's/.*/deb & main/' >"$1/etc/apt/sources.list"
    apt-config dump | { grep -i '^Acquire::.*Proxy' || true; } >"$1/etc/apt/apt.conf.d/50proxy"
}

_enter_system() {
    local system=$1
    shift
    mount -t proc proc "$system/proc"
    mount --rbind /sys "$system/sys"
    mount --rbind /dev "$system/dev"
    local variable environment=(HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin TERM=dumb)
    for variable in http_proxy https_proxy no_proxy; do
        [[ -z ${!variable:-} ]] || environment+=("$variable=${!variable}")
    done
    exec chroot "$system" /usr/bin/env -i "${environment[@]}" "$@"
}
export -f _enter_system

# in_system FOLDER COMMAND...: with the environment of a first login. With the namespace go
# the mounts and every process that was left behind.
in_system() {
    unshare --mount --pid --fork --kill-child bash -euc '_enter_system "$@"' bash "$@"
}
