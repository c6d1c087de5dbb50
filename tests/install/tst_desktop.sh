#!/usr/bin/env bash
# What desktops read of the installation: entries, metainfo, icons, manual pages; and that
# the running window is matched to its entry, on X11 and on Wayland.
# usage: tst_desktop.sh SOURCE_FOLDER BUILD_FOLDER
set -euo pipefail
source_folder=$1
build=$2
source "$source_folder/tests/install/installation.sh"
id=example.dellumbra.crayvell
prefix=$scratch/prefix
share=$prefix/share
install_to "$prefix" --component app
[[ ! -x $build/batch/crayvell-batch ]] || install_to "$prefix" --component batch
export HOME=$scratch XDG_CONFIG_HOME=$scratch/config XDG_RUNTIME_DIR=$scratch/runtime
mkdir -m 700 "$XDG_RUNTIME_DIR"
unset DISPLAY WAYLAND_DISPLAY QT_QPA_PLATFORM
# A sanitized program is watched elsewhere.
export ASAN_OPTIONS=detect_leaks=0

# of KEY ENTRY: its value.
of() {
    sed -n "s/^$1=//p" "$share/applications/$2.desktop"
}

# The homepage's domain from its end makes the names; both are written more than once.
domain=$(sed -n 's,.*https://www\.\([a-z.]*\)/.*,\1,p' "$source_folder/app/homepage.h")
[[ $id == "${domain#*.}.${domain%%.*}.crayvell" ]] || fail "$id is not of $domain"

# check_entry ENTRY ICON
check_entry() {
    local told
    told=$(desktop-file-validate "$share/applications/$1.desktop" 2>&1) || fail "$1: $told"
    [[ -z $told ]] || fail "$1: $told"
    [[ $(of Icon "$1") == "$2" ]] || fail "$1 has another icon"
    [[ -x $prefix/bin/$(of TryExec "$1") ]] || fail "$1 starts what is not there"
}

# Each picture has the size of its folder, and none is missing.
check_icons() {
    local size seen
    for size in 16 22 24 32 48 64 128 256; do
        seen=$(identify -format '%wx%h %m' "$share/icons/hicolor/${size}x$size/apps/$1.png")
        [[ $seen == "${size}x$size PNG" ]] || fail "the icon of $size is $seen"
    done
    local drawing=$share/icons/hicolor/scalable/apps/$1.svg
    grep -q 'width="\([0-9]*\)" height="\1" viewBox="0 0 \1 \1"' "$drawing" ||
        fail "the drawing is not square"
    grep -E 'stylesheet|url\(|href="[^#]' "$drawing" && fail "the drawing needs other files"
    return 0
}

check_entry $id $id
check_icons $id
[[ $(of Exec $id) == crayvell ]] || fail "the window takes no files"
[[ -z $(of MimeType $id) ]] || fail "the window takes no files"
if [[ -x $build/batch/crayvell-batch ]]; then
    batch=zz-$id.batch
    check_entry $batch $id.batch
    check_icons $id.batch
    [[ $(of NoDisplay $batch) == true ]] || fail "it is shown in menus"
    [[ $(of Exec $batch) == "crayvell-batch --skip-existing --notify %F" ]] ||
        fail "another command: $(of Exec $batch)"
    for type in jpeg png tiff webp bmp gif x-portable-{pixmap,graymap,anymap}; do
        [[ $(of MimeType $batch) =~ (^|;)"image/$type;" ]] || fail "not offered for image/$type"
    done
    cp "$source_folder/examples/beach/beach.jpg" "$scratch/un été.jpg"
    read -ra command < <(of Exec $batch)
    "$prefix/bin/${command[0]}" "${command[@]:1:${#command[@]}-2}" "$scratch/un été.jpg" ||
        fail "its command does not work"
    [[ -s $scratch/un\ été-sketch.jpg ]] || fail "its command makes no sketch"
    # Who opens a photo must get a viewer, as long as there is one.
    printf '%s\n' '[Desktop Entry]' Type=Application Name=Viewer 'Exec=viewer %F' \
        'MimeType=image/jpeg;' >"$share/applications/xviewer.desktop"
    update-desktop-database "$share/applications"
    grep -qx "image/jpeg=xviewer.desktop;$batch.desktop;" "$share/applications/mimeinfo.cache" ||
        fail "photos are opened by: $(grep jpeg "$share/applications/mimeinfo.cache")"
fi

metainfo=$share/metainfo/$id.metainfo.xml
appstreamcli validate --no-net "$metainfo" >"$scratch/told" || fail "$(<"$scratch/told")"
launched=$(sed -n 's,.*<launchable type="desktop-id">\(.*\)</launchable>.*,\1,p' "$metainfo")
[[ $launched == "$id.desktop" ]] || fail "software centres start $launched"
version=$(sed -n 's/^project(Crayvell VERSION \([0-9.]*\).*/\1/p' "$source_folder/CMakeLists.txt")
grep -m 1 '<release ' "$metainfo" | grep -q "version=\"$version\" date=\"20" ||
    fail "the newest release is not $version"

for page in "$share"/man/man1/*.1; do
    warnings=$(MANROFFSEQ='' LC_ALL=C.UTF-8 man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>&1 \
        >/dev/null) || fail "$page cannot be shown: $warnings"
    [[ -z $warnings ]] || fail "$page has these warnings: $warnings"
done

# wait_for COMMAND...: until it succeeds.
wait_for() {
    local end=$((SECONDS + 60))
    until "$@"; do
        ((SECONDS < end)) || fail "waited in vain: $*"
        sleep 0.05
    done
}

# has_window PID: its window is in $scratch/window then. Others that vanish while they are
# looked at end the search.
has_window() {
    xdotool search --onlyvisible --pid "$1" 2>/dev/null | head -n 1 >"$scratch/window"
    [[ -s $scratch/window ]]
}

# What is seen there is in $scratch/seen.
show_on_x11() {
    local display
    mkfifo "$scratch/display"
    Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp -noreset 3>"$scratch/display" 2>/dev/null &
    processes+=($!)
    read -r -t 60 display <"$scratch/display" || fail "no X server"
    DISPLAY=:$display "$prefix/bin/crayvell" &
    processes+=($!)
    DISPLAY=:$display wait_for has_window $!
    DISPLAY=:$display xprop -id "$(<"$scratch/window")" WM_CLASS >"$scratch/seen"
}

show_on_wayland() {
    weston --backend=headless-backend.so --socket=crayvell --idle-time=0 \
        --log="$scratch/weston" >/dev/null 2>&1 &
    processes+=($!)
    wait_for test -S "$XDG_RUNTIME_DIR/crayvell"
    WAYLAND_DISPLAY=crayvell WAYLAND_DEBUG=1 QT_QPA_PLATFORM=wayland "$prefix/bin/crayvell" \
        >/dev/null 2>"$scratch/seen" &
    processes+=($!)
    wait_for grep -q 'set_app_id(' "$scratch/seen"
}

show_on_x11
grep -qxF "WM_CLASS(STRING) = \"crayvell\", \"$(of StartupWMClass $id)\"" "$scratch/seen" ||
    fail "X11: $(<"$scratch/seen")"
show_on_wayland
grep -qF "set_app_id(\"$id\")" "$scratch/seen" ||
    fail "Wayland: $(grep 'set_app_id(' "$scratch/seen")"
printf 'desktops find the programs\n'
