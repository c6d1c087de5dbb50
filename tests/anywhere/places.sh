# shellcheck shell=bash
# The places in which run.sh runs the tests; sourced, not run. Each is a function that
# prints its outcome in a line and fails where the suite did neither pass nor say what it
# lacks. They expect $work, a folder for all of them, $tree, a copy of the tree in it, that
# they share with all that is built, $log, $only and $without.

places=(root user path read-only home-unset home-missing
    tmpdir-missing tmpdir-unset tmpdir-another tmpdir-own tmpdir-noexec tmpdir-accent
    umask-077 umask-0277 posixly locale-C locale-tr locale-ar no-display scale
    one-core two-clones year-2033 litter debug)

somebody=(setpriv --reuid 65534 --regid 65534 --clear-groups)

# Nothing of the caller's own surroundings, but the way to packages and compiled files.
environment() {
    local variable
    printf '%s\0' PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME=/root \
        LANG=C.UTF-8 "CRAYVELL_TEST_ONLY=$only" "CRAYVELL_TEST_WITHOUT=$without" \
        "CCACHE_DIR=${CCACHE_DIR:-$root/build/ccache}"
    for variable in http_proxy https_proxy no_proxy; do
        [[ -z ${!variable:-} ]] || printf '%s\0' "$variable=${!variable}"
    done
}

# make_tree FOLDER: as it is in a package of the sources, without git.
make_tree() {
    mkdir -p "$1"
    pack_tree "$root" | tar --directory "$1" --extract --no-same-owner
}

# in_plain COMMAND...
in_plain() {
    local variables
    mapfile -d '' variables < <(environment)
    env -i "${variables[@]}" "$@" >>"$log" 2>&1 </dev/null
}

# How many tests passed, and which were skipped.
summary() {
    local skipped
    skipped=$(grep -c '\*\*\*Skipped' "$log") || true
    printf 'passed %s tests' "$(sed -n 's/.*tests failed out of \([0-9]*\)$/\1/p' "$log" | tail -n 1)"
    ((!skipped)) || printf ', %s skipped' "$skipped"

}

# passes COMMAND...: the suite, or what is around it, that has to pass.
passes() {
    if in_plain "$@" && grep -q '^100% tests passed' "$log"; then
        summary
        return 0
    fi
    printf 'FAILED: %s' "$(sed -n 's/^\t *[0-9]* - \([^ ]*\) .*/\1/p' "$log" | tr '\n' ' ')"
    return 1
}

# says COMMAND...: it has to end at once with a line that says what is lacking.
says() {
    local code=0 lines
    : >"$log"
    in_plain "$@" || code=$?
    lines=$(wc -l <"$log")
    if ((code == 1 && lines == 1)); then
        printf 'said: %s' "$(<"$log")"
        return 0
    fi
    printf 'FAILED: exit code %s with %s lines' "$code" "$lines"
    return 1
}

# as_somebody CHECK COMMAND...: with a tree of his own for as long.
as_somebody() {
    local check=$1 code=0
    shift
    mkdir -p "$work/home"
    chown -R 65534:65534 "$tree/." "$work/home"
    "$check" "${somebody[@]}" env HOME="$work/home" CCACHE_DIR="$work/home/ccache" "$@" || code=$?
    chown -R 0:0 "$tree/."
    return $code
}

# mounted SCRIPT CHECK COMMAND...: with mounts of its own, which the script makes.
mounted() {
    local script=$1 check=$2
    shift 2
    "$check" unshare --mount bash -euc "$script"'; exec "$@"' bash "$@"
}

# folder NAME MODE OWNER: an empty one.
folder() {
    rm -rf "${work:?}/$1"
    mkdir -p -m "$2" "$work/$1"
    chown "$3" "$work/$1"
    printf '%s' "$work/$1"
}

at_root() { passes "$tree/test"; }
at_user() { as_somebody passes "$tree/test"; }

# CMake knows no way around a double quote.
at_path() {
    local clone="$work/it's un été, ça/crayvell" other="$work/an \"été\"/crayvell"
    make_tree "$other"
    says "$other/test" || return
    make_tree "$clone"
    printf "; it's un été, ça: "
    passes "$clone/test"
}

# Nothing can be built in it, but elsewhere; and no test writes among the sources.
at_read_only() {
    local around="mount --bind '$tree' '$tree'" closed="mount -o remount,ro,bind '$tree'"
    local build="mount --bind '$tree/build' '$tree/build'"
    mounted "$around; $closed" says "$tree/test" || return
    mkdir -p "$tree/build"
    printf '; with build/ of its own '
    mounted "$around; $build; $closed" passes "$tree/test" || return
    printf '; with CRAYVELL_BUILD '
    mounted "$around; $closed" passes env CRAYVELL_BUILD="$(folder elsewhere 755 root)" \
        CRAYVELL_TEST_ONLY=scripts/commands "$tree/test"
}

at_home_unset() { passes env -u HOME "$tree/test"; }
at_home_missing() { passes env HOME=/no/home "$tree/test"; }
at_tmpdir_missing() { says env TMPDIR=/no/folder "$tree/test"; }
at_tmpdir_unset() { passes env -u TMPDIR "$tree/test"; }
at_tmpdir_another() { as_somebody says env TMPDIR="$(folder tmp 700 root)" "$tree/test"; }
at_tmpdir_own() { passes env TMPDIR="$(folder tmp 700 root)" "$tree/test"; }
at_tmpdir_noexec() {
    local tmp
    tmp=$(folder tmp 1777 root)
    mounted "mount -t tmpfs -o noexec none '$tmp'" says env TMPDIR="$tmp" "$tree/test"
}
at_tmpdir_accent() { passes env TMPDIR="$(folder "un été" 1777 root)" "$tree/test"; }
at_umask_077() { passes bash -c 'umask 077; exec "$0"' "$tree/test"; }
at_umask_0277() { as_somebody passes bash -c 'umask 0277; exec "$0"' "$tree/test"; }
at_posixly() { passes env POSIXLY_CORRECT=1 "$tree/test"; }

# in_locale NAME: which need not be one of the system's.
in_locale() {
    [[ -d $work/locales/$1 ]] || {
        mkdir -p "$work/locales"
        localedef -i "${1%.*}" -f UTF-8 "$work/locales/$1" >>"$log" 2>&1
    }
    [[ $(LOCPATH="$work/locales" LC_ALL="$1" locale charmap 2>>"$log") == UTF-8 ]] ||
        { printf 'FAILED: there is no %s' "$1" && return 1; }
    passes env LOCPATH="$work/locales" LC_ALL="$1" "$tree/test"
}
at_locale_C() { passes env LC_ALL=C "$tree/test"; }
at_locale_tr() { in_locale tr_TR.UTF-8; }
at_locale_ar() { in_locale ar_EG.UTF-8; }
# Of the caller's the least: neither a display nor a platform for windows that is there.
at_no_display() { passes env -u DISPLAY QT_QPA_PLATFORM=xcb "$tree/test"; }
at_scale() { passes env QT_SCALE_FACTOR=2 "$tree/test"; }
at_one_core() { passes taskset --cpu-list 0 "$tree/test"; }

at_two_clones() {
    local second=$work/second/crayvell other code=0
    make_tree "$second"
    (log=$log.second && passes "$second/test") >"$log.outcome" &
    other=$!
    passes "$tree/test" || code=1
    wait $other || code=1
    cat "$log.second" >>"$log"
    printf '; the other %s' "$(<"$log.outcome")"
    return $code
}

# The kernel's clock is everybody's: the suite alone is told another time. A program of
# others for that, libfaketime, opens a file where standard output was closed.
at_year_2033() {
    local later=$((2001000000 - $(date +%s)))
    # shellcheck disable=SC2016 # of the other shell
    in_plain bash -c 'root=$0; source "$0/scripts/setup.sh"; configure release; build release all' \
        "$tree" || { printf 'FAILED: the build' && return 1; }
    local lie=(env LD_PRELOAD="$tree/build/release/tests/support/libcrayvell_latertime.so"
        CRAYVELL_LATER=$later)
    [[ $("${lie[@]}" date +%Y) == 2033 ]] || { printf 'FAILED: the clock' && return 1; }
    passes "${lie[@]}" "$tree/test"
}

# What editors, builds and users leave behind.
at_litter() {
    local litter=(app/.#mainwindow.cpp app/build app/mainwindow.cpp~ canvas/build-debug
        sketch/kernel/.levelskernel.cpp.swp examples/beach/other.jpg examples/beach/notes.txt
        examples/beach/beach-sketch.jpg examples/beach/.directory) code=0
    ln -s 'somebody@somewhere.1234:5678' "$tree/app/.#mainwindow.cpp"
    mkdir -p "$tree"/{app,canvas}/{build,build-debug}/CMakeFiles
    rmdir "$tree"/{app/build-debug,canvas/build}{/CMakeFiles,}
    touch "$tree"/{app/build,canvas/build-debug}/{a.cpp,ui_mainwindow.h,CMakeFiles/id.cpp} \
        "$tree/app/mainwindow.cpp~" "$tree/sketch/kernel/.levelskernel.cpp.swp" \
        "$tree"/examples/beach/{notes.txt,.directory}
    cp "$tree/examples/beach/beach.jpg" "$tree/examples/beach/other.jpg"
    cp "$tree/examples/beach/beach.jpg" "$tree/examples/beach/beach-sketch.jpg"
    passes "$tree/test" || code=1
    (cd "$tree" && rm -r "${litter[@]}")
    return $code
}

# Its tests, too, build nothing of another preset.
at_debug() {
    local clone=$work/debug/crayvell other
    rm -rf "$clone"
    make_tree "$clone"
    passes env CRAYVELL_TEST_ONLY='scripts/.*' "$clone/test" debug || return
    other=$(find "$clone/build" -mindepth 1 -maxdepth 1 ! -name debug ! -name ccache)
    [[ -z $other ]] || { printf 'FAILED: %s was built' "$other" && return 1; }
}
