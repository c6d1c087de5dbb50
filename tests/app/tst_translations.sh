#!/usr/bin/env bash
# Every text of the window stands in every translation, finished, and none stands there
# that the window no longer has, nor the same for two things; and all are built in.
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
built_in=$(sed -n 's/^ *set(translations \(.*\))$/\1/p' "$tree/app/CMakeLists.txt")
# Names of actions and what they are called.
alike='Create sketch=Process Smart Select=SmartSelect Zoom In=ZoomPlus Zoom Out=ZoomMinus'

# said_twice FILE: pairs of texts with one translation, but for those that are alike.
said_twice() {
    LC_ALL=C awk -v alike="$alike" '
        /<source>/ { source = $0; gsub(/^ *<source>|<\/source>$/, "", source) }
        /<translation>/ {
            gsub(/^ *<translation>|<\/translation>$/, "")
            former = by[$0]
            by[$0] = source
            pair = former < source ? former "=" source : source "=" former
            if (former != "" && former != source && index(alike, pair) == 0)
                print pair ": " $0
        }' "$1"
}

faults=0
for translation in "${translations[@]}"; do
    name=$(basename "$translation")
    language=${name#crayvell_}
    if [[ " $built_in " != *" ${language%.ts} "* ]]; then
        printf 'FAILED: %s is not built in\n' "$name" >&2
        faults=1
    fi
    if ! twice=$(said_twice "$translation") || [[ -n $twice ]]; then
        printf 'FAILED: %s says the same for %s\n' "$name" "$twice" >&2
        faults=1
    fi
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
