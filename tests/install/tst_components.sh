#!/usr/bin/env bash
# Which files each component of the installation has, wherever it goes, and that it can
# be taken away again.
# usage: tst_components.sh SOURCE_FOLDER BUILD_FOLDER
set -euo pipefail
source_folder=$1
build=$2
source "$source_folder/tests/install/installation.sh"
components=(app batch doc dev)
[[ ! -e $build/plugins/frei0r/crayvell.so ]] || components+=(frei0r)
[[ ! -e $build/plugins/gegl/crayvell-sketch.so ]] || components+=(gegl)
id=example.dellumbra.crayvell
zsh=share/zsh/site-functions
[[ ! -e /etc/debian_version ]] || zsh=share/zsh/vendor-completions

icons() {
    local size
    for size in 16 22 24 32 48 64 128 256; do
        printf 'share/icons/hicolor/%sx%s/apps/%s.png\n' $size $size "$1"
    done
    printf 'share/icons/hicolor/scalable/apps/%s.svg\n' "$1"
}

# expected COMPONENT: its files. Only a few of the readers' are named here.
expected() {
    case $1 in
    app)
        printf '%s\n' bin/crayvell share/applications/$id.desktop \
            share/man/man1/crayvell.1 share/metainfo/$id.metainfo.xml
        icons $id
        ;;
    batch)
        printf '%s\n' bin/crayvell-batch share/applications/zz-$id.batch.desktop \
            share/bash-completion/completions/crayvell-batch \
            share/fish/vendor_completions.d/crayvell-batch.fish \
            share/man/man1/crayvell-batch.1 $zsh/_crayvell-batch
        icons $id.batch
        ;;
    doc)
        printf 'share/doc/crayvell/%s\n' CHANGELOG.md CONTRIBUTING.md LICENSES/GPL-3.0-or-later.txt \
            README.md docs/architecture.md docs/batch.md docs/install.md docs/window.png \
            examples/beach/beach.jpg
        ;;
    frei0r)
        printf '%s\n' lib/frei0r-1/crayvell.so share/kdenlive/effects/frei0r_crayvell.xml
        ;;
    gegl)
        printf '%s\n' lib/gegl-0.4/crayvell-sketch.so
        ;;
    dev)
        printf 'include/crayvell/%s.h\n' canvas/tarngraphicsview sketch/{edgebuffer,levels} \
            sketch/{gaussianblur,greytable} sketch/kernel/{edgekernel,gaussianblurkernel} \
            sketch/kernel/{gaussianblurplan,imageview,levelscurve,levelskernel}
        printf 'lib/libcrayvell_%s.a\n' canvas kernels sketch
        printf 'lib/cmake/Crayvell/%s.cmake\n' CrayvellConfig{,Version} \
            Crayvell-{canvas,kernels,sketch}{,-BUILD}
        ;;
    esac | LC_ALL=C sort
}

# Without the names of the machine's folder for libraries and of the kind of build.
actual() {
    files "$1" | sed -E 's,^lib(64|/[^/]*-linux-[^/]*)?/(cmake|libc|gegl),lib/\2,
        s,(Crayvell-[a-z]*)-[a-z]*\.cmake,\1-BUILD.cmake,' | LC_ALL=C sort
}

check_component() {
    local folder=$scratch/by-prefix/$1 round names
    for round in first second; do
        install_to "$folder" --component "$1"
        names=$(actual "$folder")
        if [[ $1 == doc ]]; then # more readers' pages may be there
            names=$(comm -12 <(expected doc) - <<<"$names")
        fi
        same "$1, installed for the $round time" "$(expected "$1")" "$names"
    done
    find "$folder" -type f ! -path '*/bin/*' -perm /111 | grep . && fail "executable in $1"
    DESTDIR=$scratch/by-destdir install_to /usr --component "$1"
}

for component in "${components[@]}"; do
    check_component "$component"
done

# All at once is no more and no less, wherever it goes.
install_to "$scratch/whole"
same "all components together" \
    "$(for component in "${components[@]}"; do files "$scratch/by-prefix/$component"; done |
        LC_ALL=C sort)" "$(files "$scratch/whole")"
[[ $(actual "$scratch/by-destdir/usr") == "$(actual "$scratch/whole")" ]] ||
    fail "DESTDIR and prefix differ"
for component in "${components[@]}"; do
    # That they differ is no surprise: the others' files are in one of them only.
    differing=$(LC_ALL=C diff -r "$scratch/by-prefix/$component" "$scratch/whole" |
        grep -v '^Only in .*/whole') || true
    [[ -z $differing ]] || fail "$component differs from what is installed with all: $differing"
done

# Nothing leads back to where the tree was built.
grep -rlIF -e "$source_folder" -e "$build" "$scratch/whole" && fail "these name the build"

# Debian's zsh looks there below /usr/local alone.
DESTDIR=$scratch/local install_to /usr/local --component batch
[[ -f $scratch/local/usr/local/share/zsh/site-functions/_crayvell-batch ]] ||
    fail "no completion where the zsh of /usr/local is"

# The manifest names all that can be taken away again.
install_to "$scratch/whole"
touch "$scratch/whole/bin/other"
xargs -d '\n' rm <"$build/install_manifest.txt"
same "left behind" bin/other "$(files "$scratch/whole")"
printf 'the components are complete\n'
