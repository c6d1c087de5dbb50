#!/usr/bin/env bash
# crayvell_check_sources() of cmake/CrayvellTargets.cmake: a source that belongs to no target
# stops the configuration, and what editors and builds leave among the sources does not.
# usage: tst_sources.sh SOURCE_FOLDER
set -euo pipefail
source_folder=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
tree=$scratch/tree

fail() {
    printf 'FAILED: %s\n' "$*" >&2
    exit 1
}

# with FILE: configures a tree that has it beside the one source of its one target; what is
# told is in $told.
with() {
    rm -rf "$tree"
    mkdir -p "$tree/app" "$(dirname "$tree/$1")"
    printf '%s\n' 'cmake_minimum_required(VERSION 3.25)' 'project(Tree LANGUAGES NONE)' \
        "include(\"$source_folder/cmake/CrayvellTargets.cmake\")" \
        '_crayvell_note_sources(app/main.cpp)' \
        'crayvell_check_sources(FOLDERS app EXCEPT app/other/)' >"$tree/CMakeLists.txt"
    touch "$tree/app/main.cpp"
    ln -sf "nobody@nowhere.1:2" "$tree/$1" # a link that leads nowhere, as an editor's lock is
    told=$(cmake -G Ninja -S "$tree" -B "$scratch/build" 2>&1)
}

for file in app/forgotten.cpp app/deep/forgotten.cpp app/builder/forgotten.cpp; do
    ! with "$file" || fail "nothing is said of $file"
    [[ $(tr -s ' \n' ' ' <<<"$told") == *"$file belongs to no target"* ]] ||
        fail "$file is not named, but: $told"
done
for file in app/main.h app/other/a.cpp app/.#main.cpp app/.deep/main.cpp app/main.cpp~ \
    app/build/a.cpp app/build/CMakeFiles/3.25.1/CompilerIdCXX/a.cpp app/deep/build-debug/moc.cpp; do
    with "$file" || fail "$file is not taken: $told"
done
printf 'only a forgotten source stops the configuration\n'
