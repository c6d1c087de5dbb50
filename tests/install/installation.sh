# shellcheck shell=bash disable=SC2154
# What the tests of this folder share; sourced, not run. Expects $build, the build folder.

scratch=$(mktemp -d)

# Installing writes manifests into the build folder. Somebody may need his own to
# uninstall.
mkdir "$scratch/manifests"
find "$build" -maxdepth 1 -name 'install_manifest*.txt' -exec mv -t "$scratch/manifests" {} +
processes=() # to be ended with the test
clean_up() {
    ((!${#processes[@]})) || kill "${processes[@]}" 2>/dev/null || true
    wait
    rm -f "$build"/install_manifest*.txt
    find "$scratch/manifests" -type f -exec mv -t "$build" {} +
    rm -rf "$scratch"
}
trap clean_up EXIT

fail() {
    printf 'FAILED: %s\n' "$*" >&2
    exit 1
}

# files FOLDER: what is in it, sorted, relative to it.
files() {
    (cd "$1" && find . ! -type d -printf '%P\n' | LC_ALL=C sort)
}

# same WHAT EXPECTED ACTUAL: two texts.
same() {
    [[ $2 == "$3" ]] || fail "$1:
$(diff <(printf '%s\n' "$2") <(printf '%s\n' "$3"))"
}

# install_to PREFIX [ARGUMENT...]
install_to() {
    cmake --install "$build" --prefix "$@" >"$scratch/told" || fail "$(<"$scratch/told")"
}
