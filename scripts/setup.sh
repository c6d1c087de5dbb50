# Set-up that ./run, ./test and bench/run share; sourced, not run. Expects $root to be the
# top folder of the tree.

# What building and showing the programs takes.
run_packages=(g++ ccache cmake ninja-build pkg-config qt6-base-dev qt6-image-formats-plugins
    qt6-wayland qt6-tools-dev qt6-tools-dev-tools qt6-l10n-tools qt6-translations-l10n
    libhwy-dev libexiv2-dev libjpeg62-turbo-dev libpng-dev libtiff-dev
    libisal-dev zlib1g-dev fonts-dejavu-core x11-utils)
# What the tests and benchmarks take beyond that.
test_packages=(libbenchmark-dev libx11-dev xvfb xauth openbox xdotool imagemagick util-linux
    bsdutils parallel gdk-pixbuf-tests zsh fish man-db bash-completion mandoc locales strace reuse
    desktop-file-utils appstream weston fonts-droid-fallback at-spi2-core dbus gir1.2-atspi-2.0
    python3-gi frei0r-plugins-dev ffmpeg melt libgegl-dev gegl gimp libgimp2.0-dev)

say() {
    printf '%s\n' "$*" >&2
}

# The given packages that are not installed, one a line. They are asked for at once, as
# every question has the whole database read.
missing_packages() {
    local package installed
    installed=$(dpkg-query -W -f '/${Package}/${db:Status-Status}/' "$@" 2>/dev/null || true)
    for package in "$@"; do
        [[ $installed == */"$package"/installed/* ]] || printf '%s\n' "$package"
    done
}

# Installs the given packages where they are missing. Ends the script with 1,
# and with the command that would help, where that is not possible.
install_packages() {
    local missing
    mapfile -t missing < <(missing_packages "$@")
    ((${#missing[@]})) || return 0

    local get=(apt-get --option DPkg::Lock::Timeout=300)
    local install=("${get[@]}" install --yes --no-install-recommends "${missing[@]}")
    local as_root=()
    if ((EUID != 0)); then
        as_root=(sudo)
        [[ -t 0 ]] || as_root+=(--non-interactive) # nobody there to type a password
    fi
    say "Installing: ${missing[*]}"
    if { ((EUID == 0)) || command -v sudo >/dev/null; } &&
        "${as_root[@]}" "${get[@]}" update >&2 &&
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive "${install[@]}" >&2; then
        return 0
    fi
    say "These packages are missing and could not be installed from here. As root, please run:"
    say "    apt-get update && apt-get install --no-install-recommends ${missing[*]}"
    exit 1
}

# Takes compiled files from a cache within the tree, so that they serve a copy of the
# tree, too. Whoever names a launcher, or a cache, keeps it.
use_ccache() {
    export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$root}
    [[ -z ${CMAKE_CXX_COMPILER_LAUNCHER+named} ]] && command -v ccache >/dev/null || return 0
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_DIR=${CCACHE_DIR:-$root/build/ccache}
}

# configure PRESET: looks again for what has been installed since.
configure() {
    (use_ccache && cd "$root" && cmake --preset "$1" >&2)
}

# build PRESET TARGET: builds what has changed.
build() {
    (use_ccache && cd "$root" && cmake --build --preset "$1" --target "$2" -- --quiet >&2)
}
