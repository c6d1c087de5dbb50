#!/usr/bin/env bash
# What is installed when less is built, or when another project takes the tree in.
# usage: tst_choices.sh SOURCE_FOLDER BUILD_FOLDER
set -euo pipefail
source_folder=$1
build=$2
source "$source_folder/tests/install/installation.sh"
built=$build
off=(-DCRAYVELL_TESTS=OFF -DCRAYVELL_BENCH=OFF -DCRAYVELL_EXAMPLES=OFF
    -DCRAYVELL_FREI0R=OFF -DCRAYVELL_GEGL=OFF)

configure() {
    cmake -G Ninja -DCMAKE_BUILD_TYPE=Release "$@" >"$scratch/told" 2>&1 ||
        fail "$(<"$scratch/told")"
}

# Its programs and libraries are those of the build that is there.
build=$scratch/less
configure -S "$source_folder" -B "$build" -DCRAYVELL_BATCH=OFF "${off[@]}"
for file in app/crayvell sketch/kernel/libcrayvell_kernels.a sketch/libcrayvell_sketch.a \
    canvas/libcrayvell_canvas.a; do
    cp "$built/$file" "$build/$file"
done
install_to "$scratch/without-batch"
files "$scratch/without-batch" | grep 'batch' | grep -v '^share/doc/' &&
    fail "these are there without crayvell-batch"
[[ -x $scratch/without-batch/bin/crayvell ]] || fail "no program is installed"

mkdir "$scratch/host"
printf '%s\n' 'cmake_minimum_required(VERSION 3.25)' 'project(Host LANGUAGES CXX)' \
    "add_subdirectory(\"$source_folder\" crayvell)" >"$scratch/host/CMakeLists.txt"
build=$scratch/host/build
configure -S "$scratch/host" -B "$build" -DCRAYVELL_BATCH=ON
install_to "$scratch/taken-in"
[[ ! -e $scratch/taken-in ]] || same "installed with a host" "" "$(files "$scratch/taken-in")"
printf 'nothing more is installed than what was asked for\n'
