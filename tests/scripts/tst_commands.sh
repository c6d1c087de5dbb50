#!/usr/bin/env bash
# Tests of ./run, ./test and bench/run: arguments, a missing display, missing packages.
# usage: tst_commands.sh SOURCE_FOLDER
set -uo pipefail
source_folder=$1
scratch=$(mktemp -d)
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
check "test: unknown preset" 2 '^usage: \./test' "$source_folder/test" fast
check "test: too many arguments" 2 '^usage: \./test' "$source_folder/test" release debug
check "test: help" 0 '^usage: \./test' "$source_folder/test" --help
check "test: packages cannot be installed" 1 'apt-get install .*xvfb' \
    "${bare[@]}" "$source_folder/test"
check "bench/run: unknown option" 2 '^usage: bench/run' "$source_folder/bench/run" --fast
check "bench/run: unknown benchmark" 2 'no benchmark "speed"' "$source_folder/bench/run" speed
check "bench/run: help" 0 '^usage: bench/run' "$source_folder/bench/run" --help
check "bench/run: packages cannot be installed" 1 'apt-get install .*libopencv-dev' \
    "${bare[@]}" "$source_folder/bench/run"
check "arm64/run.sh: unknown option" 2 '^usage: tests/arm64/run.sh' \
    "$source_folder/tests/arm64/run.sh" --fast
check "firsthour/run.sh: unknown option" 2 '^usage: tests/firsthour/run.sh' \
    "$source_folder/tests/firsthour/run.sh" --fast
check "package/run.sh: unknown option" 2 '^usage: tests/package/run.sh' \
    "$source_folder/tests/package/run.sh" --fast

printf '%s passed, %s failed\n' "$passed" "$failed"
((failed == 0))
