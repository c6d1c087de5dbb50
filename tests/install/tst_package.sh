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

# finds ARGUMENTS: what find_package() with these makes of it, in one line.
finds() {
    mkdir -p "$scratch/finder"
    printf '%s\n' 'cmake_minimum_required(VERSION 3.25)' 'project(Finder LANGUAGES CXX)' \
        "find_package(Crayvell $1)" \
        'foreach(part IN ITEMS kernels sketch canvas)' \
        'if(TARGET Crayvell::${part})' 'string(APPEND parts " ${part}")' 'endif()' \
        'endforeach()' \
        'message(STATUS "found ${Crayvell_FOUND} ${Crayvell_VERSION}:${parts}, Qt ${Qt6_FOUND}")' \
        >"$scratch/finder/CMakeLists.txt"
    rm -rf "$scratch/finder/build"
    cmake -G Ninja -S "$scratch/finder" -B "$scratch/finder/build" \
        -DCMAKE_PREFIX_PATH="$prefix" 2>&1 | tr -s '\n ' ' '
}

# says ARGUMENTS PATTERN
says() {
    local told
    told=$(finds "$1" || true)
    [[ $told =~ $2 ]] || fail "find_package(Crayvell $1) says: $told"
}

says 'REQUIRED' 'found (1|TRUE) 1\.[0-9.]*: kernels sketch canvas, Qt (1|TRUE)'
says '1.0 REQUIRED COMPONENTS sketch' 'found (1|TRUE) [0-9.]*: kernels sketch, '
says 'REQUIRED COMPONENTS canvas' 'found (1|TRUE) [0-9.]*: canvas, '
says 'REQUIRED COMPONENTS kernels' 'found (1|TRUE) [0-9.]*: kernels, Qt  *--'
says 'REQUIRED COMPONENTS sketch oils' 'no component oils, but: kernels, sketch, canvas'
says 'COMPONENTS sketch OPTIONAL_COMPONENTS oils' 'found (1|TRUE) [0-9.]*: kernels sketch, '
says '2.0' 'found (0|FALSE)'

# What stood there is gone with the manifest.
xargs -d '\n' rm <"$build/install_manifest_dev.txt"
same "left behind" "" "$(files "$prefix")"
says 'COMPONENTS sketch' 'found (0|FALSE)'
printf 'the package serves another project\n'
