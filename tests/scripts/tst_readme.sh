#!/usr/bin/env bash
# Test of the README's "Start it": its commands in a fresh clone, in a folder whose name has
# a space and a letter beyond ASCII. Of the tests, ./test runs those of the commands there:
# the others, and this one, do not depend on where the tree is.
# usage: tst_readme.sh SOURCE_FOLDER
set -euo pipefail
source_folder=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
clone="$scratch/un été/crayvell"

pack() {
    tar --directory "$source_folder" --create "$@"
}

# What git would give to others, with what is not committed yet. A tree without git
# leaves out what .gitignore names.
make_clone() {
    mkdir -p "$clone"
    if [[ -e $source_folder/.git ]] && git clone --quiet "$source_folder" "$clone"; then
        git -C "$source_folder" ls-files -z --cached --others --exclude-standard |
            pack --null --verbatim-files-from --files-from - --ignore-failed-read
    else
        pack --exclude ./build --exclude ./.git --exclude ./.cache --exclude '*.user' \
            --exclude ./CMakeUserPresets.json --exclude compile_commands.json \
            --exclude './examples/beach/beach-sketch.*' .
    fi | tar --directory "$clone" --extract
}

make_clone
# What editors leave beside an open file is nothing to them.
ln -s "somebody@somewhere.1234:5678" "$clone/app/.#mainwindow.cpp"
touch "$clone/app/.mainwindow.cpp.swp" "$clone/app/mainwindow.cpp~" \
    "$clone/examples/beach/beach.jpg~"
export CRAYVELL_TEST_ONLY=scripts/commands
# What has been compiled for the tree itself need not be compiled again.
[[ -n ${CMAKE_CXX_COMPILER_LAUNCHER+named} ]] ||
    export CCACHE_DIR=${CCACHE_DIR:-$source_folder/build/ccache}
bash "$clone/tests/firsthour/follow.sh" "$clone"
