#!/usr/bin/env bash
# Every file of the tree has a licence and a copyright holder, as `reuse lint` sees it.
# usage: tst_licence.sh SOURCE_FOLDER
set -euo pipefail
export LC_ALL=C.UTF-8 # messages of the tool are looked at
source_folder=$1
source "$source_folder/tests/scripts/packtree.sh"
command -v reuse >/dev/null || {
    printf 'SKIPPED: reuse is not installed\n'
    exit 77
}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
tree=$scratch/tree

fail() {
    printf 'FAILED: %s\n' "$*" >&2
    exit 1
}

# REUSE.toml in the older form of .reuse/dep5, where one star is for any depth.
older_form() {
    python3 - "$tree/REUSE.toml" <<'PYTHON'
import sys
import tomllib

with open(sys.argv[1], "rb") as file:
    reuse = tomllib.load(file)
print("Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/")
for entry in reuse["annotations"]:
    assert set(entry) == {"path", "SPDX-FileCopyrightText", "SPDX-License-Identifier"}
    print("\nFiles:", entry["path"].replace("**", "*"))
    print("Copyright:", entry["SPDX-FileCopyrightText"])
    print("License:", entry["SPDX-License-Identifier"])
PYTHON
}

# lint: the report is in $scratch/told.
lint() {
    local version
    version=$(reuse --version | grep -o '[0-9]\+' | head -n 1)
    if ((version < 4)); then # knows no REUSE.toml, and later ones no other file beside it
        mkdir -p "$tree/.reuse"
        older_form >"$tree/.reuse/dep5"
    fi
    (cd "$tree" && reuse lint) >"$scratch/told" 2>&1
}

# refuses TEXT: that the copy has a fault, which is told with the text.
refuses() {
    if lint; then
        fail "nothing is said of $1"
    fi
    grep -q "$1" "$scratch/told" || fail "$1 is not named, but: $(<"$scratch/told")"
}

mkdir "$tree"
pack_tree "$source_folder" | tar --directory "$tree" --extract
lint || fail "$(<"$scratch/told")"

cp "$tree/REUSE.toml" "$scratch"
sed -i 's/"\*\*"/"app\/**"/' "$tree/REUSE.toml"
refuses batch/main.cpp
cp "$scratch/REUSE.toml" "$tree"
rm "$tree/LICENSES/GPL-3.0-or-later.txt"
refuses 'Missing licenses: *GPL-3.0-or-later'
printf 'every file has its licence\n'
