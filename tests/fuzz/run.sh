#!/usr/bin/env bash
# Fuzzes each target for so many seconds: tests/fuzz/run.sh SECONDS [TARGET...]
# What is found, and the inputs that reached new code, stay below build/fuzz/.
# Needs clang and libFuzzer (Debian: clang-14 libclang-rt-14-dev).
set -euo pipefail
root=$(readlink -f "$(dirname "${BASH_SOURCE[0]}")/../..")
seconds=${1:?usage: tests/fuzz/run.sh SECONDS [TARGET...]}
shift
targets=("$@")
((${#targets[@]})) || targets=(album window metadata options canvas engine)

cd "$root"
[[ -f build/fuzz/build.ninja ]] || cmake --preset fuzz >&2
cmake --build --preset fuzz --target crayvell_fuzzseeds "${targets[@]/#/fuzz_}" -- --quiet >&2
work=$root/build/fuzz
# The toolkit and its fonts keep what they made once to the end.
export ASAN_OPTIONS=detect_leaks=0:allocator_may_return_null=1 QT_QPA_PLATFORM=offscreen
"$work/tests/fuzz/crayvell_fuzzseeds" "$work/seeds"

faults=0
printf '%-10s %12s %10s %8s %8s\n' target executions coverage inputs faults
for target in "${targets[@]}"; do
    mkdir -p "$work/corpus/$target" "$work/found/$target"
    log=$work/$target.log
    "$work/tests/fuzz/fuzz_$target" -max_total_time="$seconds" -timeout=25 -rss_limit_mb=2048 \
        -max_len=16384 -print_final_stats=1 -artifact_prefix="$work/found/$target/" \
        "$work/corpus/$target" "$work/seeds/$target" >"$log" 2>&1 || true
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
    coverage=$(grep -o 'cov: [0-9]*' "$log" | tail -1)
    found=$(find "$work/found/$target" -type f | wc -l)
    printf '%-10s %12s %10s %8s %8s\n' "$target" "${executions:-0}" "${coverage#cov: }" \
        "$(find "$work/corpus/$target" -type f | wc -l)" "$found"
    faults=$((faults + found))
done
((faults == 0)) || { echo "Faults: see build/fuzz/found/ and build/fuzz/TARGET.log" >&2; exit 1; }
