#!/usr/bin/env bash
# What tests/skips.py tells of skipped tests and rows, and that CI takes none of them but
# those that are allowed.
# usage: tst_skips.sh SOURCE_FOLDER SKIPPING_TESTS
set -euo pipefail
source_folder=$1
program=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
build="$scratch/a, b/build"
reports=$build/tests/reports
unset CI
export QT_QPA_PLATFORM=offscreen # whatever the caller has

fail() {
    printf 'FAILED: %s\n' "$*" >&2
    exit 1
}

# A test of ctest: add NAME COMMAND, a line of CMake's language; owing ADD: one that owes a
# report of its rows.
add() {
    printf 'add_test(%s %s)\nset_tests_properties(%s PROPERTIES SKIP_RETURN_CODE 77)\n' \
        "$1" "$2" "$1" >>"$build/CTestTestfile.cmake"
}
owing() {
    add "$@"
    printf 'set_tests_properties(%s PROPERTIES ENVIRONMENT_MODIFICATION %s)\n' "$1" \
        "\"CRAYVELL_TEST_REPORT=set:$reports/$1\"" >>"$build/CTestTestfile.cmake"
}

begin() {
    rm -rf "$build"
    mkdir -p "$reports"
    : >"$build/CTestTestfile.cmake"
}

# told EXIT_CODE TEXT [ARGUMENT...]: what is said of a run, all of it.
told() {
    local expected=$1 text=$2 code=0 said
    shift 2
    ctest --test-dir "$build" --output-junit "$reports/ctest.xml" >"$scratch/ctest" 2>&1 || true
    said=$("$source_folder/tests/skips.py" "$build" "$@" 2>&1) || code=$?
    [[ $said == "$text" ]] || fail "said: $said
instead of: $text"
    [[ $code == "$expected" ]] || fail "exit code $code with: $said"
}

# exits CODE [VARIABLE...]: the program itself, with a report.
exits() {
    local expected=$1 code=0
    shift
    rm -f "$scratch/al,one/program.xml"
    env "$@" "CRAYVELL_TEST_REPORT=$scratch/al,one/program" "$program" >"$scratch/said" || code=$?
    [[ $code == "$expected" ]] || fail "$* ends the program with $code: $(<"$scratch/said")"
    [[ -s $scratch/al,one/program.xml ]] || fail "$*: no report"
}

exits 0 NONE=1
exits 77 SET_UP_SKIPS=1
exits 1 FAILING_ROWS=1
exits 1 FAILING_ROWS=77  # which is no skip
exits 1 FAILING_ROWS=256 # which is no success

begin
add folder/plain true
add whole true
told 0 'Of 2 rows none was skipped.'
CI=true told 0 'Of 2 rows none was skipped.'

begin
owing folder/rows "\"$program\""
owing folder/rows-2nd "\"$program\""
owing folder/all "env SET_UP_SKIPS=1 \"$program\""
add tool "sh -c \"echo one; echo 'SKIPPED: the tool is not installed'; exit 77\""
add silent "sh -c \"exit 77\""
add plain true
rows='  folder/rows, someRows(not here): a row lacks something
  folder/rows-2nd, someRows(not here): a row lacks something
  folder/all, all of it: nothing can be "set up" <here>
  tool: the tool is not installed
  silent: SKIP_RETURN_CODE=77'
told 0 "5 of 12 rows were skipped:
$rows"
CI=true told 1 "5 of 12 rows were skipped:
$rows
FAILED: where CI is set nothing is skipped but what skips.txt lists: folder/rows, \
someRows(not here), folder/rows-2nd, someRows(not here), folder/all, all of it, tool, silent"

# Those that the list allows, for its preset alone.
begin
add watched "sh -c \"echo 'SKIPPED: the address sanitizer is in the way'; exit 77\""
row='1 of 1 rows was skipped:
  watched: the address sanitizer is in the way'
CI=true told 0 "$row" --preset sanitize
CI=true told 1 "$row
FAILED: where CI is set nothing is skipped but what skips.txt lists: watched" --preset release

# A test that looks at rows and tells nobody.
begin
owing mute true
told 1 'Of 1 rows none was skipped.
FAILED: mute has passed without a report of its rows'
# One that fails is ctest's to tell.
begin
owing failing false
told 0 'Of 1 rows none was skipped.'
grep -q 'failing (Failed)' "$scratch/ctest" || fail "ctest: $(<"$scratch/ctest")"
printf 'skips are told\n'
