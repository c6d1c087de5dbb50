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

# window NAME: the id of the window of that title, as soon as there is one.
window() {
    timeout 300 xdotool search --sync --onlyvisible --name "$1" | tail -n 1
}

# choose DIALOG FILE: types the name into a dialog.
choose() {
    xdotool windowactivate --sync "$(window "$1")"
    xdotool type --delay 100 "$2"
    xdotool key Return
}

main=$(window '^Crayvell')
xdotool windowactivate --sync "$main" key ctrl+o
choose '^Open Image' "$photo"
window "^Crayvell - $(basename "$photo")" >/dev/null
eval "$(xdotool getwindowgeometry --shell "$main")"
# The sliders: the pointer's wheel moves them, and each step makes the sketch anew.
for y in 20 45; do
    xdotool mousemove $((X + WIDTH / 2)) $((Y + HEIGHT - y)) click --repeat 3 --delay 300 5
done
xdotool windowactivate --sync "$main" key ctrl+s
choose '^Save Image' "$target"
for ((tries = 0; tries < 300; ++tries)); do
    [[ ! -s $target ]] || break
    sleep 0.2
done
xdotool windowactivate --sync "$main" key ctrl+q
wait $program
