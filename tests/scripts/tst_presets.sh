#!/usr/bin/env bash
# ./test debug and its tests build and start nothing of another preset.
# usage: tst_presets.sh SOURCE_FOLDER
set -euo pipefail
source_folder=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
unset CRAYVELL_BUILD CRAYVELL_PRESET CRAYVELL_TEST_ONLY CRAYVELL_TEST_WITHOUT

fail() {
    printf 'FAILED: %s\n' "$*" >&2
    exit 1
}

# stand_in TOOL LINE...: comes first in the path.
stand_in() {
    local tool=$scratch/bin/$1
    shift
    printf '%s\n' '#!/bin/sh' "$@" >"$tool"
    chmod +x "$tool"
}

# The commands alone, with tools that note what they are asked for; what is built only
# says where it is.
mkdir -p "$scratch/bin" "$scratch/tree"/{scripts,tests}
cp "$source_folder"/{run,test} "$scratch/tree"
printf '#!/bin/sh\n' >"$scratch/tree/tests/skips.py" # nothing was skipped
chmod +x "$scratch/tree/tests/skips.py"
cp "$source_folder/scripts/setup.sh" "$scratch/tree/scripts"
stand_in dpkg-query 'printf "/%s/installed/" "$@"'
stand_in ctest "printf 'ctest %s\\n' \"\$*\" >>'$scratch/asked'"
stand_in cmake "printf 'cmake %s\\n' \"\$*\" >>'$scratch/asked'" \
    '[ "$1" = --build ] || exit 0' \
    'mkdir -p "$2/batch"' \
    'printf "#!/bin/sh\necho \"\$0\"\n" >"$2/batch/crayvell-batch"' \
    'chmod +x "$2/batch/crayvell-batch"'
PATH=$scratch/bin:$PATH

# asks PRESET BUILDS COMMAND...: that the tools are asked for this preset and no other, all
# in its folder below BUILDS.
asks() {
    local preset=$1 builds=$2 line
    shift 2
    rm -rf "$scratch/asked" "$scratch/tree/build" "$scratch/else"
    (cd "$scratch/tree" && env "$@") >"$scratch/told" 2>&1 || fail "$*: $(<"$scratch/told")"
    [[ -s $scratch/asked ]] || fail "$*: nothing was asked for"
    while read -r line; do
        [[ $line == *" $builds/$preset"* ]] || fail "$*: not for $builds/$preset: $line"
        # Whatever folder it is told, it keeps its record in the preset's.
        [[ $line != "ctest "*--preset* ]] || fail "$*: ctest writes elsewhere: $line"
        [[ $line != *--preset* || $line == *" --preset $preset "* ]] || fail "$*: other preset: $line"
    done <"$scratch/asked"
}

tree_builds=$scratch/tree/build
for preset in release debug sanitize; do
    asks $preset "$tree_builds" ./test $preset
    asks $preset "$scratch/else" CRAYVELL_BUILD="$scratch/else" ./test $preset
    asks $preset "$tree_builds" CRAYVELL_PRESET=$preset ./run a.jpg
    grep -qxF "$tree_builds/$preset/batch/crayvell-batch" "$scratch/told" ||
        fail "./run starts another program: $(<"$scratch/told")"
done
asks release "$tree_builds" ./test
asks release "$tree_builds" ./run a.jpg
asks debug "$tree_builds" CRAYVELL_TEST_WITHOUT='^batch/' ./test debug
grep -qF -e '--exclude-regex ^batch/' "$scratch/asked" || fail "no test is left out"

# What was broken off before there was anything to build with is configured again, what
# can be built is not.
rm -f "$scratch/asked"
mkdir -p "$tree_builds/release/CMakeFiles"
(cd "$scratch/tree" && ./run a.jpg) >"$scratch/told" 2>&1 || fail "$(<"$scratch/told")"
grep -q '^cmake --preset release ' "$scratch/asked" || fail "half a configuration is taken for one"
rm "$scratch/asked"
touch "$tree_builds/release/build.ninja"
(cd "$scratch/tree" && ./run a.jpg) >"$scratch/told" 2>&1 || fail "$(<"$scratch/told")"
grep -q '^cmake --build ' "$scratch/asked" || fail "not built: $(<"$scratch/asked")"
! grep '^cmake --preset ' "$scratch/asked" || fail "configured once more"

# Tests that fail make ./test fail.
stand_in ctest 'exit 8'
code=0
(cd "$scratch/tree" && ./test) >"$scratch/told" 2>&1 || code=$?
((code == 8)) || fail "tests failed, and ./test ended with $code: $(<"$scratch/told")"
PATH=${PATH#*:}

# Which tests the debug preset has, and what each of them is told.
cmake --preset debug -S "$source_folder" -B "$scratch/debug" >"$scratch/told" 2>&1 ||
    fail "$(<"$scratch/told")"
ctest --test-dir "$scratch/debug" --show-only=json-v1 >"$scratch/tests.json"
python3 - "$scratch" <<'PYTHON'
import json
import pathlib
import re
import sys

scratch = sys.argv[1]
faults = []
runners = 0
for test in json.loads(pathlib.Path(scratch, "tests.json").read_text())["tests"]:
    script = next((part for part in test.get("command", []) if part.endswith(".sh")), None)
    if script is None or not re.search(r"^[^#]*(follow\.sh|folder/run\")", pathlib.Path(script).read_text(), re.M):
        continue
    runners += 1
    properties = {entry["name"]: entry["value"] for entry in test["properties"]}
    told = properties.get("ENVIRONMENT", [])
    if not {"CRAYVELL_PRESET=debug", f"CRAYVELL_BUILD={scratch}"} <= set(told):
        faults.append(f"{test['name']} starts ./run without its preset: {told}")
if runners == 0:
    faults.append("no test starts ./run")
for fault in faults:
    print("FAILED:", fault)
sys.exit(bool(faults))
PYTHON
printf 'each preset builds its own\n'
