#!/usr/bin/env bash
# Runs tst_screenreader.py on a bus and a screen of its own.
#
#     tst_screenreader.sh PROGRAM
#
# Ends with 77, and says what is missing, where there is no such bus.
set -euo pipefail
here=$(dirname "${BASH_SOURCE[0]}")
# The system's own, for which the packages are, whatever else may be in the path.
python=/usr/bin/python3

skip() {
    printf 'SKIPPED: %s is not installed\n' "$1"
    exit 77
}

for program in Xvfb dbus-run-session "$python"; do
    command -v "$program" >/dev/null || skip "$program"
done
[[ -x /usr/libexec/at-spi-bus-launcher ]] || skip at-spi2-core
"$python" -c 'import gi; gi.require_version("Atspi", "2.0"); from gi.repository import Atspi' \
    2>/dev/null || skip "Atspi for Python"

folder=$(mktemp -d)
server=
# shellcheck disable=SC2317 # at the end
clean_up() {
    [[ -z $server ]] || kill "$server" 2>/dev/null || true
    rm -rf "$folder"
}
trap clean_up EXIT
export XDG_RUNTIME_DIR=$folder/run
mkdir -m 700 "$XDG_RUNTIME_DIR"
mkfifo "$folder/display"
Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp -noreset 3>"$folder/display" 2>/dev/null &
server=$!
read -r -t 60 display <"$folder/display" || {
    printf 'FAILED: no X server\n'
    exit 1
}
DISPLAY=:$display dbus-run-session -- "$python" "$here/tst_screenreader.py" "$1" "$folder"
