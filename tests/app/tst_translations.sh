#!/usr/bin/env bash
# Every text of the window stands in every translation, finished, and none stands there
# that the window no longer has.
#
#     tst_translations.sh TREE LUPDATE
set -euo pipefail
tree=$1
lupdate=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

sources=("$tree"/app/*.cpp "$tree"/app/*.h "$tree"/forms/*.ui)
translations=("$tree"/app/i18n/crayvell_*.ts)
((${#translations[@]} == 10)) || { printf 'FAILED: not ten translations\n' >&2; exit 1; }
faults=0
for translation in "${translations[@]}"; do
    name=$(basename "$translation")
    cp "$translation" "$scratch/$name"
    "$lupdate" -silent -no-obsolete -locations none "${sources[@]}" -ts "$scratch/$name" 2>/dev/null
    if ! difference=$(diff "$translation" "$scratch/$name"); then
        printf 'FAILED: %s does not have the texts of the sources:\n%s\n' "$name" "$difference" >&2
        faults=1
    fi
    if grep -n -B2 -E 'type="(unfinished|vanished|obsolete)"|<translation></translation>' "$scratch/$name" >&2; then
        printf 'FAILED: %s is not finished\n' "$name" >&2
        faults=1
    fi
done
exit "$faults"
