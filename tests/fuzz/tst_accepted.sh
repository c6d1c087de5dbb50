#!/usr/bin/env bash
# The album takes every seed but those that nothing here reads: a seed that is refused by
# mistake would leave its kind without one.
# usage: tst_accepted.sh CRAYVELL_BATCH SEEDS
set -euo pipefail
program=$1
seeds=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

expected="colourtiles.tiff deflatedtiles.tiff header52.bmp header56.bmp scans.jpeg tiles.tiff"
refused=()
for photo in "$seeds"/album/*.{jpeg,jpg,png,tiff,webp,bmp,gif,ppm,pgm}; do
    [[ -e $photo ]] || continue
    "$program" -q --overwrite -o "$scratch/sketch.jpg" "$photo" 2>>"$scratch/said" ||
        refused+=("${photo##*/}")
done
sorted=$(printf '%s\n' "${refused[@]}" | LC_ALL=C sort | paste -sd ' ')
[[ $sorted == "$expected" ]] || {
    printf 'FAILED: refused are %s\n' "$sorted" >&2
    cat "$scratch/said" >&2
    exit 1
}
