#!/usr/bin/env bash
# Test of the README's "Start it": its commands in a fresh clone, in a folder whose name has
# a space and a letter beyond ASCII. Of the tests, ./test runs those of the commands there:
# the others, and this one, do not depend on where the tree is.
# usage: tst_readme.sh SOURCE_FOLDER
set -euo pipefail
source_folder=$1
source "$source_folder/tests/scripts/packtree.sh"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
clone="$scratch/un été/crayvell"

# A clone with what is not committed yet, or a copy of a tree without git.
make_clone() {
    mkdir -p "$clone"
    [[ ! -e $source_folder/.git ]] || git clone --quiet "$source_folder" "$clone" || true
    pack_tree "$source_folder" | tar --directory "$clone" --extract
}

make_clone
# What editors leave beside an open file is nothing to them.
ln -sf "somebody@somewhere.1234:5678" "$clone/app/.#mainwindow.cpp"
mkdir -p "$clone/app/build/CMakeFiles"
touch "$clone/app/build/mocs_compilation.cpp" "$clone/app/build/CMakeFiles/CompilerId.cpp"
touch "$clone/app/.mainwindow.cpp.swp" "$clone/app/mainwindow.cpp~" \
    "$clone/examples/beach/beach.jpg~"
export CRAYVELL_TEST_ONLY=scripts/commands
# What has been compiled for the tree itself need not be compiled again.
[[ -n ${CMAKE_CXX_COMPILER_LAUNCHER+named} ]] ||
    export CCACHE_DIR=${CCACHE_DIR:-${CRAYVELL_BUILD:-$source_folder/build}/ccache}
unset CRAYVELL_BUILD # the clone has a folder of its own
bash "$clone/tests/firsthour/follow.sh" "$clone"
