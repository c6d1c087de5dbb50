#!/usr/bin/env bash
# Opens a photo in a real window, makes its sketch, moves the sliders, saves and quits, all
# by keyboard: window.sh PHOTO TARGET COMMAND... The exit code is the command's.
set -euo pipefail
photo=$1 target=$2
shift 2
work=$(mktemp -d)
mkfifo "$work/display"
Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp 3>"$work/display" 2>/dev/null &
server=$!
trap 'kill $server; wait; rm -r "$work"' EXIT
read -r -t 60 display <"$work/display"
export DISPLAY=:$display LC_ALL=C.UTF-8 QT_QPA_PLATFORM=xcb
openbox >/dev/null 2>&1 &
for ((tries = 0; tries < 300; ++tries)); do
    ! xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q '#' || break
    sleep 0.1
done

"$@" &
program=$!

# window NAME: the id of the window of that title, as soon as there is one. A search fails
# where another window goes while it looks.
window() {
    local found tries
    for ((tries = 0; tries < 600; ++tries)); do
        found=$(timeout 60 xdotool search --onlyvisible --name "$1" 2>/dev/null | tail -n 1) || true
        if [[ -n $found ]]; then
            printf '%s\n' "$found"
            return
        fi
        sleep 0.5
    done
    printf 'no window %s\n' "$1" >&2
    return 1
}

# activate WINDOW: gives it the keys; a request may be lost among those of others.
activate() {
    local tries
    for ((tries = 0; tries < 10; ++tries)); do
        ! timeout 30 xdotool windowactivate --sync "$1" 2>/dev/null || return 0
    done
    printf 'window %s does not become the active one\n' "$1" >&2
    return 1
}

# choose DIALOG FILE: types the name into a dialog.
choose() {
    activate "$(window "$1")"
    xdotool type --delay 100 "$2"
    xdotool key Return
}

main=$(window '^Crayvell')
activate "$main"
xdotool key ctrl+o
choose '^Open Image' "$photo"
window "^Crayvell - $(basename "$photo")" >/dev/null
eval "$(xdotool getwindowgeometry --shell "$main")"
# The sliders: the pointer's wheel moves them, and each step makes the sketch anew.
for y in 20 45; do
    xdotool mousemove $((X + WIDTH / 2)) $((Y + HEIGHT - y)) click --repeat 3 --delay 300 5
done
activate "$main"
xdotool key ctrl+s
choose '^Save Image' "$target"
for ((tries = 0; tries < 300; ++tries)); do
    [[ ! -s $target ]] || break
    sleep 0.2
done
activate "$main"
xdotool key ctrl+q
wait $program
