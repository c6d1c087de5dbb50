#!/usr/bin/env bash
# Tests of ./run, ./test and bench/run: arguments, a missing display, missing packages.
# usage: tst_commands.sh SOURCE_FOLDER
set -uo pipefail
source_folder=$1
scratch=$(mktemp -d) || exit
trap 'rm -rf "$scratch"' EXIT
passed=0
failed=0

# check NAME EXPECTED_CODE EXPECTED_TEXT COMMAND...: the exit code, and a regular
# expression that the output (both streams) must match.
check() {
    local name=$1 code=$2 text=$3 output actual
    shift 3
    output=$("$@" 2>&1 </dev/null)
    actual=$?
    if [[ $actual == "$code" && $output =~ $text ]]; then
        ((++passed))
    else
        ((++failed))
        printf 'FAILED: %s: exit code %s instead of %s, output:\n%s\n' \
            "$name" "$actual" "$code" "$output"
    fi
}

without_display=(env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM)

# A machine on which the package is not installed and cannot be: its tools are
# stand-ins that come first in the path.
mkdir "$scratch/bare"
for tool in dpkg-query apt-get sudo; do
    printf '#!/bin/sh\nexit 1\n' >"$scratch/bare/$tool"
    chmod +x "$scratch/bare/$tool"
done
bare=(env "PATH=$scratch/bare:$PATH")
# Without them ./test would run as a whole, and this test within it.
"$scratch/bare/dpkg-query" 2>/dev/null
(($? == 1)) || {
    printf 'FAILED: in %s no program may be started\n' "$scratch"
    exit 1
}
# A chmod that does nothing stands for a mount on which no file is a program.
mkdir "$scratch/noexec"
printf '#!/bin/sh\n' >"$scratch/noexec/chmod"
chmod +x "$scratch/noexec/chmod"

cd "$scratch" # neither command minds where it is called from
check "run: unknown option" 2 '^usage: \./run' "$source_folder/run" --frobnicate
check "run: help" 0 '^usage: \./run' "$source_folder/run" --help
check "run: no display" 2 'there is none.*DISPLAY' "${without_display[@]}" "$source_folder/run"
# Builds, where the release preset was not built before.
check "run: display that does not answer" 2 '":987".*does not answer' \
    "${without_display[@]}" DISPLAY=:987 "$source_folder/run"
check "run: packages cannot be installed" 1 \
    'apt-get update && apt-get install --no-install-recommends .*qt6-base-dev' \
    "${bare[@]}" DISPLAY=:0 "$source_folder/run"
check "run: a photo that is not there" 1 'missing photo\.jpg' "${without_display[@]}" \
    "$source_folder/run" "missing photo.jpg"
cp "$source_folder/examples/beach/beach.jpg" "$scratch/a photo.jpg"
check "run: a photo, no display" 0 '' "${without_display[@]}" "$source_folder/run" "a photo.jpg"
check "run: its sketch" 0 '' test -s "$scratch/a photo-sketch.jpg"
check "run: an option behind a photo" 0 '' "${without_display[@]}" -u POSIXLY_CORRECT \
    "$source_folder/run" "a photo.jpg" --format png
check "run: its sketch in the format" 0 '' test -s "$scratch/a photo-sketch.png"
check "run: an option behind a photo, where that is none" 1 '--strip: cannot be read' \
    "${without_display[@]}" POSIXLY_CORRECT=1 "$source_folder/run" "a photo.jpg" --strip
check "test: unknown preset" 2 '^usage: \./test' "$source_folder/test" fast
check "test: too many arguments" 2 '^usage: \./test' "$source_folder/test" release debug
check "test: help" 0 '^usage: \./test' "$source_folder/test" --help
check "test: packages cannot be installed" 1 'apt-get install .*xvfb' \
    "${bare[@]}" "$source_folder/test"
check "test: temporary folder missing" 1 "^The tests need a folder [[:print:]]* /no/folder,[[:print:]]*$" \
    "${bare[@]}" TMPDIR=/no/folder "$source_folder/test"
check "test: temporary folder without a name of its own" 1 "^The tests need a folder [[:print:]]*$" \
    "${bare[@]}" TMPDIR=. "$source_folder/test"
check "test: temporary folder without programs" 1 "^The tests start programs [[:print:]]*$" \
    "${bare[@]}" "PATH=$scratch/noexec:$scratch/bare:$PATH" "$source_folder/test"
# Not even root makes one there.
for command in test run bench/run; do
    check "$command: build folder cannot be written" 1 "^The folder /proc/build cannot be [[:print:]]*$" \
        "${bare[@]}" DISPLAY=:0 CRAYVELL_BUILD=/proc/build "$source_folder/$command"
    check "$command: build folder without a place" 1 "^CRAYVELL_BUILD has to begin [[:print:]]*$" \
        "${bare[@]}" DISPLAY=:0 CRAYVELL_BUILD=build "$source_folder/$command"
done
# Signs that CMake's own language or ninja's takes for its own.
for sign in '"' ';' "\\" '#' '[' ']' $'\n'; do
    place="$scratch/a ${sign}b"
    mkdir -p "$place/scripts"
    cp "$source_folder"/{run,test} "$place"
    cp "$source_folder/scripts/setup.sh" "$place/scripts"
    check "test: $sign in the path" 1 "^CMake cannot build in [[:print:]]*$" "${bare[@]}" "$place/test"
    check "run: $sign in the path" 1 "^CMake cannot build in [[:print:]]*$" \
        "${bare[@]}" DISPLAY=:0 "$place/run"
done
check "bench/run: unknown option" 2 '^usage: bench/run' "$source_folder/bench/run" --fast
check "bench/run: unknown benchmark" 2 'no benchmark "speed"' "$source_folder/bench/run" speed
check "bench/run: help" 0 '^usage: bench/run' "$source_folder/bench/run" --help
check "bench/run: packages cannot be installed" 1 'apt-get install .*libopencv-dev' \
    "${bare[@]}" "$source_folder/bench/run"
check "arm64/run.sh: unknown option" 2 '^usage: tests/arm64/run.sh' \
    "$source_folder/tests/arm64/run.sh" --fast
check "firsthour/run.sh: unknown option" 2 '^usage: tests/firsthour/run.sh' \
    "$source_folder/tests/firsthour/run.sh" --fast
check "anywhere/run.sh: unknown option" 2 '^usage: tests/anywhere/run.sh' \
    "$source_folder/tests/anywhere/run.sh" --fast
check "anywhere/run.sh: unknown place" 2 'no place "moon"' \
    "$source_folder/tests/anywhere/run.sh" moon
check "package/run.sh: unknown option" 2 '^usage: tests/package/run.sh' \
    "$source_folder/tests/package/run.sh" --fast

printf '%s passed, %s failed\n' "$passed" "$failed"
((failed == 0))
