#!/usr/bin/env bash
# find_package(Crayvell): another project is built with what is installed, and runs.
# usage: tst_package.sh SOURCE_FOLDER BUILD_FOLDER
set -euo pipefail
source_folder=$1
build=$2
source "$source_folder/tests/install/installation.sh"
# As a host would have it: a prefix that CMake does not look into by itself.
prefix="$scratch/un préfixe"
export QT_QPA_PLATFORM=offscreen ASAN_OPTIONS=detect_leaks=0 XDG_CONFIG_HOME=$scratch/config
install_to "$prefix" --component dev

# Of another kind than the libraries, mostly.
cmake -G Ninja -S "$source_folder/tests/install/consumer" -B "$scratch/consumer" \
    -DCMAKE_PREFIX_PATH="$prefix" -DCRAYVELL_HEADERS="$prefix/include/crayvell" \
    -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 >"$scratch/told" 2>&1 || fail "$(<"$scratch/told")"
cmake --build "$scratch/consumer" >"$scratch/told" || fail "$(<"$scratch/told")"
"$scratch/consumer/consumer" || fail "the consumer has other results"
grep -F "$source_folder" "$scratch/consumer/build.ninja" | grep -v tests/install/consumer &&
    fail "the consumer uses the tree"

# finds ARGUMENTS...: what find_package() makes of each of these, in a folder of its own of one
# project; on one line, with the number of the folder.
finds() {
    local arguments folder number=0
    rm -rf "$scratch/finder"
    mkdir -p "$scratch/finder"
    printf '%s\n' 'cmake_minimum_required(VERSION 3.25)' 'project(Finder LANGUAGES CXX)' \
        >"$scratch/finder/CMakeLists.txt"
    for arguments in "$@"; do
        folder=folder$((++number))
        mkdir "$scratch/finder/$folder"
        printf 'add_subdirectory(%s)\n' "$folder" >>"$scratch/finder/CMakeLists.txt"
        printf '%s\n' "find_package(Crayvell $arguments)" \
            'foreach(part IN ITEMS kernels sketch canvas)' \
            'if(TARGET Crayvell::${part})' 'string(APPEND parts " ${part}")' 'endif()' \
            'endforeach()' \
            "message(STATUS \"$number found \${Crayvell_FOUND} \${Crayvell_VERSION}:\${parts}, Qt \${Qt6_FOUND}.\")" \
            >"$scratch/finder/$folder/CMakeLists.txt"
    done
    cmake -G Ninja -S "$scratch/finder" -B "$scratch/finder/build" \
        -DCMAKE_PREFIX_PATH="$prefix" 2>&1 | tr -s '\n ' ' '
}

# says WHAT PATTERN
says() {
    [[ $1 =~ $2 ]] || fail "instead of \"$2\" find_package(Crayvell) says: $1"
}

told=$(finds 'COMPONENTS kernels REQUIRED' '1.0 REQUIRED COMPONENTS sketch' \
    'REQUIRED COMPONENTS canvas' 'REQUIRED' 'COMPONENTS sketch OPTIONAL_COMPONENTS oils' '2.0' '0.9' ||
    true)
says "$told" '-- 1 found (1|TRUE) 1\.[0-9.]*: kernels, Qt \. '
says "$told" '-- 2 found (1|TRUE) [0-9.]*: kernels sketch, Qt (1|TRUE)\. '
says "$told" '-- 3 found (1|TRUE) [0-9.]*: canvas, Qt (1|TRUE)\. '
says "$told" '-- 4 found (1|TRUE) [0-9.]*: kernels sketch canvas, Qt (1|TRUE)\. '
says "$told" '-- 5 found (1|TRUE) [0-9.]*: kernels sketch, Qt (1|TRUE)\. '
says "$told" '-- 6 found (0|FALSE) '
says "$told" '-- 7 found (0|FALSE) ' # another major version promises nothing
says "$(finds 'REQUIRED COMPONENTS sketch oils' || true)" \
    'no component oils, but: kernels, sketch, canvas'

# What stood there is gone with the manifest.
xargs -d '\n' rm <"$build/install_manifest_dev.txt"
same "left behind" "" "$(files "$prefix")"
says "$(finds 'COMPONENTS sketch')" '-- 1 found (0|FALSE) '
printf 'the package serves another project\n'
