#!/usr/bin/env bash
# Follows the README's "Start it" to the letter: the commands of that section as they
# are printed, in their order, each twice.
# usage: follow.sh TREE, a fresh copy of the tree
set -uo pipefail
tree=$1
output=$(mktemp) || exit
trap 'rm -f "$output"' EXIT

fail() {
    printf 'FAILED: %s, time %s: %s; output:\n' "$command" "$round" "$1"
    cat "$output"
    exit 1
}

# The indented lines of the section.
commands() {
    awk '/^## / { inside = $0 == "## Start it" } inside && sub(/^    /, "")' "$tree/README.md"
}

# Runs the command where the reader stands: in the tree's top folder, without a display.
in_tree() {
    cd "$tree" && exec env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "$@" bash -c "$command"
}

# The first time there is a sketch, the second time a line that says how to go on.
follow_photo() {
    local code sketch=$tree/${command#./run }
    sketch=${sketch%.*}-sketch.jpg
    (in_tree) >"$output" 2>&1 </dev/null
    code=$?
    [[ -s $sketch ]] || fail "there is no $sketch"
    if ((round == 1)); then
        ((code == 0)) || fail "exit code $code"
    else
        ((code == 1)) || fail "exit code $code"
        grep -q -e '--overwrite.*--skip-existing' "$output" || fail "no line with the way on"
    fi
}

# The window is drawn and stays until it is closed.
follow_window() {
    local code
    (in_tree QT_QPA_PLATFORM=offscreen QT_LOGGING_RULES=qt.widgets.painting=true) \
        >"$output" 2>&1 </dev/null &
    local window=$!
    grep -q 'Flushing .* of MainWindow' < <(tail --lines +1 --follow --pid $window "$output") ||
        fail "the window was never drawn"
    timeout 3 tail --follow --pid $window /dev/null # ends early with the window
    kill $window 2>/dev/null || fail "the window did not stay"
    wait $window
    code=$?
    ((code == 128 + 15)) || fail "exit code $code"
}

follow_test() {
    (in_tree) >"$output" 2>&1 </dev/null || fail "exit code $?"
    grep -q '100% tests passed' "$output" || fail "no test has passed"
}

mapfile -t list < <(commands)
seen=
for command in "${list[@]}"; do
    for round in 1 2; do
        printf 'time %s: %s\n' "$round" "$command" # some take minutes
        case $command in
        "./run "*) follow_photo && seen+="photo " ;;
        ./run) follow_window && seen+="window " ;;
        ./test) follow_test && seen+="test " ;;
        *)
            printf 'FAILED: nothing says what the command "%s" has to do\n' "$command"
            exit 1
            ;;
        esac
        printf 'as the README says, after %s s\n' "$SECONDS"
    done
done
[[ $seen == "photo photo window window test test " ]] || {
    printf 'FAILED: the README has other commands than these: %s\n' "${list[*]}"
    exit 1
}
