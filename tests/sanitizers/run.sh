#!/usr/bin/env bash
# Watches the programs by tools that find what the tests cannot see:
# tests/sanitizers/run.sh [thread] [memory] [valgrind]
#
#   thread    ThreadSanitizer over tests/batch, in build/thread
#   memory    MemorySanitizer over the kernels, in build/memory; needs clang
#   valgrind  memcheck over one run of each program of build/release; needs valgrind, Xvfb,
#             openbox and xdotool
#
# All of them unless some are named. Exit code 1 where anything was found.
set -euo pipefail
root=$(readlink -f "$(dirname "${BASH_SOURCE[0]}")/../..")
here=$root/tests/sanitizers
cd "$root"

watch_thread() {
    [[ -f build/thread/build.ninja ]] || cmake --preset thread >&2
    cmake --build --preset thread --target batch/all tests/support/all tests/batch/all -- --quiet >&2
    QTEST_FUNCTION_TIMEOUT=3600000 \
        TSAN_OPTIONS="suppressions=$here/thread.supp history_size=4 die_after_fork=0" \
        ctest --preset thread --tests-regex '^batch/' --timeout 3600
}

watch_memory() {
    [[ -f build/memory/build.ninja ]] ||
        cmake -S . -B build/memory -G Ninja -DCMAKE_CXX_COMPILER=clang++ \
            -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCRAYVELL_SANITIZE=memory -DCRAYVELL_BENCH=OFF >&2
    cmake --build build/memory --target crayvell_kernelsweep -- --quiet >&2
    build/memory/tests/sanitizers/crayvell_kernelsweep
}

# memcheck PROGRAM...: errors, and memory that nobody can give back any more, are faults.
memcheck() {
    valgrind --quiet --error-exitcode=99 --leak-check=full --show-leak-kinds=definite \
        --errors-for-leak-kinds=definite --suppressions="$here/valgrind.supp" "$@"
}

watch_valgrind() {
    cmake --build --preset release --target crayvell crayvell-batch -- --quiet >&2
    local work
    work=$(mktemp -d)
    # shellcheck disable=SC2064 # the folder of now
    trap "rm -rf '$work'" EXIT
    mkdir "$work/album"
    cp examples/beach/beach.jpg "$work/album/one.jpg"
    convert examples/beach/beach.jpg -resize 400x "$work/album/two.png"
    convert examples/beach/beach.jpg -resize 300x "$work/album/three.tiff"
    memcheck build/release/batch/crayvell-batch -j2 --output-dir "$work/out" "$work/album"
    memcheck build/release/batch/crayvell-batch -j2 --format png --output-dir "$work/png" "$work/album"
    printf 'crayvell-batch: an album, nothing found\n'
    # The toolkit's regular expressions make code that memcheck cannot judge.
    QT_ENABLE_REGEXP_JIT=0 HOME=$work bash "$here/window.sh" "$work/album/two.png" "$work/sketch.png" \
        valgrind --quiet --error-exitcode=99 --suppressions="$here/valgrind.supp" \
        build/release/app/crayvell
    # The sliders have moved: it is not the sketch of the levels at first.
    [[ -s $work/sketch.png && -s $work/png/two.png ]]
    local code=0
    compare -metric AE "$work/sketch.png" "$work/png/two.png" null: 2>/dev/null || code=$?
    ((code == 1)) # 0 for the same picture, 2 for none
    printf 'crayvell: open, process, sliders, save, quit, nothing found\n'
}

(($#)) || set -- thread memory valgrind
if (($# > 1)); then
    failed=()
    for tool in "$@"; do
        bash "$here/run.sh" "$tool" || failed+=("$tool")
    done
    ((${#failed[@]} == 0)) || printf 'FAILED: %s\n' "${failed[*]}" >&2
    exit $((${#failed[@]} > 0))
fi
[[ $(type -t "watch_$1") == function ]] || {
    printf 'no tool %s\n' "$1" >&2
    exit 2
}
printf '== %s\n' "$1"
"watch_$1"
