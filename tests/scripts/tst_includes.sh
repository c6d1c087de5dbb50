#!/usr/bin/env bash
# The rules of cmake/CheckIncludes.cmake: this tree keeps them, and trees that do not
# are found out, each with a line that says why.
set -euo pipefail
export LC_ALL=C.UTF-8 # what a to z are is another thing elsewhere
tree=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() {
    printf 'FAILED: %s\n' "$*" >&2
    exit 1
}

check() {
    cmake -D TOP="$1" -P "$tree/cmake/CheckIncludes.cmake" 2>&1
}

check "$tree" || fail "this tree breaks its own rules"

# refuses FILE INCLUDE REASON [FOLDER]: an include that must not be there; the tree has
# that folder as well.
refuses() {
    local top=$scratch/tree
    rm -rf "$top"
    mkdir -p "$top/$(dirname "$1")" "$top/${4:-$(dirname "$1")}"
    printf '#include %s\n' "$2" >"$top/$1"
    local told
    if told=$(check "$top"); then
        fail "$1 may include $2"
    fi
    # Messages are wrapped.
    told=$(tr -s ' \n' ' ' <<<"$told")
    [[ $told == *"$1 includes "*"$3"* ]] || fail "$1 includes $2: not said why, but: $told"
}

# sees_through DIRECTIVE...: lines by which app/ reaches batch/ in a spelling of its own.
sees_through() {
    local top=$scratch/tree
    rm -rf "$top"
    mkdir -p "$top/app"
    printf '%b\n' "$1" >"$top/app/a.cpp"
    local told
    if told=$(check "$top"); then
        fail "app/a.cpp may include by $1"
    fi
    [[ $(tr -s ' \n' ' ' <<<"$told") == *"app/a.cpp includes "* ]] || fail "$1: not said why, but: $told"
}

# takes FILE INCLUDE: an include that is in order.
takes() {
    local top=$scratch/tree
    rm -rf "$top"
    mkdir -p "$top/$(dirname "$1")"
    printf '#include %s\n' "$2" >"$top/$1"
    check "$top" >/dev/null || fail "$1 may not include $2"
}

refuses sketch/kernel/a.cpp '<QImage>' "know no toolkit"
refuses plugins/gegl/a.cpp '<QImage>' "know no toolkit"
refuses plugins/gegl/a.cpp '"sketch/levels.h"' "plugins/ may include sketch/kernel"
refuses sketch/kernel/a.h '"sketch/levels.h"' "may include nothing else of the tree"
refuses sketch/a.cpp '"photo/photofile.h"' "sketch/ may include sketch/kernel"
refuses sketch/a.cpp '"sketch/reference/levels.h"' "sketch/ may include sketch/kernel"
refuses photo/a.cpp '"photo/decode/jpegdecoder.h"' "may include nothing else of the tree"
refuses photo/decode/a.cpp '"photo/encode/jpegencoder.h"' "photo/decode/ may include photo"
refuses canvas/a.cpp '"app/mainwindow.h"' "canvas/ may include nothing"
refuses app/a.cpp '"batch/plan.h"' "app/ may include sketch, canvas, photo"
refuses app/a.cpp '"sketch/kernel/edgekernel.h"' "app/ may include sketch, canvas, photo"
refuses batch/a.cpp '"app/mainwindow.h"' "batch/ may include"
refuses batch/cli/a.cpp '"batch/plan.h"' "batch/cli/ may include nothing"
refuses batch/a.cpp '"tests/support/pictures.h"' "know nothing of their tests"
refuses batch/a.cpp '"plan.h"' "must begin with a folder of the tree"
refuses app/a.cpp '"batch/plan.h" // <x>' "app/ may include sketch, canvas, photo"
refuses app/a.cpp '<batch/plan.h>' "the tree's own files stand in quotes" batch
refuses app/a.cpp '"app/../batch/plan.h"' "must be written in one way"
refuses photo/a.cpp '"photo/./decode/photodecoder.h"' "must be written in one way"
refuses photo/a.cpp '"photo//decode/photodecoder.h"' "must be written in one way"
refuses photo/a.inl '"batch/plan.h"' "may include nothing else of the tree"
refuses canvas/a.cpp '"ui_mainwindow.h"' "must begin with a folder of the tree"
refuses app/a.cpp '"sketch/levels.inc"' "only headers"
refuses app/builder/a.cpp '"batch/plan.h"' "app/ may include sketch, canvas, photo"
sees_through '/**/#include "batch/plan.h"'
sees_through '/*\n*/ #include "batch/plan.h"'
sees_through '# /**/ include "batch/plan.h"'
sees_through '#\\\ninclude "batch/plan.h"'
sees_through '#inc\\\nlude "batch/plan.h"'
sees_through '#include \\\n"batch/plan.h"'
sees_through '# /*\n*/ include "batch/plan.h"'
sees_through '%:include "batch/plan.h"'
sees_through '#import "batch/plan.h"'
sees_through '#include_next "batch/plan.h"'
sees_through '#define P "batch/plan.h"\n#include P'
sees_through '#include "sketch/levels.h" // [\n#include "batch/plan.h"\n// ]'
sees_through '#include "sketch/levels.h" // ;[;\n#include "batch/plan.h"'
mkdir -p "$scratch"/new/{app,shop,build-2,obj-of-a-package/CMakeFiles,debian/include,docs}
touch "$scratch"/new/{app,shop,build-2,obj-of-a-package,debian/include}/a.cpp "$scratch/new/docs/a.md"
if told=$(check "$scratch/new"); then
    fail "a folder without a rule is taken"
fi
[[ $(grep -o '[^ ]*/ has no rule' <<<"$told") == "shop/ has no rule" ]] || fail "$told"
takes app/a.cpp '"sketch/levels.h"'
takes app/.a.cpp '"batch/plan.h"' # is of an editor
takes app/build/a.cpp '"batch/plan.h"' # is of a build
takes app/build-debug/moc/a.cpp '"plan.h"'
takes app/a.cpp '"ui_mainwindow.h"'
takes batch/a.cpp '"photo/decode/photodecoder.h"'
takes batch/cli/a.cpp '<QString>'
takes sketch/kernel/a.cpp '<hwy/highway.h>'


# The picture of the house shows the same arrows as the rules.
rules=$(sed -n 's/^ *"\([a-z/]*\):\([a-z/,]*\)")*$/\1 \2/p' "$tree/cmake/CheckIncludes.cmake" |
    while read -r folder allowed; do
        for target in ${allowed//,/ }; do
            [[ $target == "$folder" ]] || printf '%s -> %s\n' "$folder" "$target"
        done
    done | sort)
arrows=$(sed -n 's/^ *"\([^"]*\)" -> "\([^"]*\)";$/\1 -> \2/p' "$tree/docs/house.dot" | sort)
[[ -n $rules ]] || fail "no rules found"
[[ $rules == "$arrows" ]] || fail "docs/house.dot shows other arrows:
$(diff <(printf '%s\n' "$rules") <(printf '%s\n' "$arrows"))"
mapfile -t nodes < <(sed -n 's/^    "\([a-z/]*\)" \[.*/\1/p' "$tree/docs/house.dot")
((${#nodes[@]} > 1)) || fail "no folders found in docs/house.dot"
for node in "${nodes[@]}"; do
    grep -q ">${node}/<" "$tree/docs/house.svg" || fail "docs/house.svg lacks $node: run docs/render.sh"
done
printf 'the rules of includes hold\n'
