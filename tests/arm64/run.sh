#!/usr/bin/env bash
# Builds the engine for 64-bit ARM and runs its tests in an emulator. The
# packages that this takes are unpacked below build/arm64 and are not installed.
set -euo pipefail
root=$(dirname "$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")")
source "$root/scripts/setup.sh"

usage="usage: tests/arm64/run.sh"
if (($#)); then
    case $1 in
    -h | --help)
        printf '%s\n' "$usage" "Builds the engine for 64-bit ARM and runs its tests in an emulator."
        exit 0
        ;;
    esac
    say "$usage"
    exit 2
fi

folder=$root/build/arm64
sysroot=$folder/sysroot
apt=$folder/apt

# What the libraries of the tree take on that processor.
arm_packages=(qt6-base-dev libhwy-dev libstdc++-12-dev zlib1g-dev)

# A package database of its own: this machine's stays as it is, and the packages
# of the other architecture conflict with nothing.
arm_apt_get() {
    local option options=(
        APT::Architecture=arm64 APT::Architectures=arm64 APT::Sandbox::User=root
        Acquire::Languages=none Dir::State="$apt" Dir::State::status="$apt/status"
        Dir::Cache="$apt" Debug::NoLocking=1
    )
    local arguments=()
    for option in "${options[@]}"; do
        arguments+=(--option "$option")
    done
    apt-get "${arguments[@]}" "$@"
}

make_sysroot() {
    say "Unpacking packages for 64-bit ARM into $sysroot."
    rm -rf "$sysroot"
    mkdir -p "$apt/lists/partial" "$apt/archives/partial" "$sysroot"/usr/{lib,bin,sbin}
    : >"$apt/status"
    ln -s usr/{lib,bin,sbin} "$sysroot"
    arm_apt_get update >&2
    arm_apt_get install --download-only --yes --no-install-recommends \
        "${arm_packages[@]}" >&2
    local package
    for package in "$apt"/archives/*.deb; do
        dpkg-deb --fsys-tarfile "$package" |
            tar --extract --directory "$sysroot" --keep-directory-symlink
    done
    printf '%s' "${arm_packages[*]}" >"$sysroot/complete"
}

install_packages "${run_packages[@]}" g++-aarch64-linux-gnu qemu-user
[[ -e $sysroot/complete && $(<"$sysroot/complete") == "${arm_packages[*]}" ]] || make_sysroot
cmake -S "$root" -B "$folder/tree" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCRAYVELL_WERROR=ON \
    -DCRAYVELL_BATCH=OFF -DCRAYVELL_BENCH=OFF -DCRAYVELL_EXAMPLES=OFF -DCRAYVELL_SYSROOT="$sysroot" \
    -DCMAKE_TOOLCHAIN_FILE="$root/tests/arm64/toolchain.cmake" >&2
cmake --build "$folder/tree" --target tests/sketch/all -- --quiet >&2
export QT_PLUGIN_PATH=$sysroot/usr/lib/aarch64-linux-gnu/qt6/plugins
exec ctest --test-dir "$folder/tree" --tests-regex '^sketch/' --output-on-failure --no-tests=error
