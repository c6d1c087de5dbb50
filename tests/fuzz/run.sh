#!/usr/bin/env bash
# Fuzzes each target for so many seconds: tests/fuzz/run.sh SECONDS [TARGET...]
# What is found, the inputs that reached new code and what all runs together took stay
# below build/fuzz/. Needs clang and libFuzzer (Debian: clang-14 libclang-rt-14-dev).
set -euo pipefail
root=$(readlink -f "$(dirname "${BASH_SOURCE[0]}")/../..")
seconds=${1:?usage: tests/fuzz/run.sh SECONDS [TARGET...]}
shift
targets=("$@")
((${#targets[@]})) || targets=(album window metadata options canvas engine)
# The most megabytes that each may take, at least twice what the seeds take with the
# sanitizers: the fuzzer's own tables grow with what it has reached.
declare -A memory=([album]=300 [window]=250 [metadata]=250 [options]=250 [canvas]=250 [engine]=200)

cd "$root"
[[ -f build/fuzz/build.ninja ]] || cmake --preset fuzz >&2
cmake --build --preset fuzz --target crayvell_fuzzseeds "${targets[@]/#/fuzz_}" -- --quiet >&2
work=$root/build/fuzz
# The toolkit and its fonts keep what they made once to the end. Memory that was given
# back is kept for a while to find late uses: little of it, else it hides what is taken.
export ASAN_OPTIONS=detect_leaks=0:allocator_may_return_null=1:quarantine_size_mb=16 QT_QPA_PLATFORM=offscreen
"$work/tests/fuzz/crayvell_fuzzseeds" "$work/seeds"
mkdir -p "$work/runs"
export LC_ALL=C # figures with a point

# fuzz TARGET: a line "EXECUTIONS PROCESSOR-SECONDS" for the runs' file. Returns the
# target's exit code: one that the system ends leaves no input behind.
fuzz() {
    local log=$work/$1.log used code=0 TIMEFORMAT='%U %S'
    mkdir -p "$work/corpus/$1" "$work/found/$1"
    used=$({ time "$work/tests/fuzz/fuzz_$1" -max_total_time="$seconds" -timeout=25 -report_slow_units=25 \
        -rss_limit_mb="${memory[$1]}" -max_len=16384 -print_final_stats=1 \
        -artifact_prefix="$work/found/$1/" "$work/corpus/$1" "$work/seeds/$1" \
        >"$log" 2>&1; } 2>&1) || code=$?
    awk -v used="$used" '/^stat::number_of_executed_units/ { runs = $2 }
        END { split(used, part, " "); print runs + 0, part[1] + part[2] }' "$log"
    return "$code"
}

faults=0
printf '%-10s %12s %10s %8s %8s %8s\n' target executions 'processor' coverage inputs faults
for target in "${targets[@]}"; do
    code=0
    fuzz "$target" >>"$work/runs/$target" || code=$?
    read -r executions used < <(awk '{ runs += $1; used += $2 }
        END { printf "%.0f %.0f\n", runs, used }' "$work/runs/$target")
    coverage=$(grep -o 'cov: [0-9]*' "$work/$target.log" | tail -1) || true
    found=$(find "$work/found/$target" -type f | wc -l)
    if ((code != 0)); then
        echo "fuzz_$target ended with exit code $code" >&2
        ((found > 0)) || found=1
    fi
    printf '%-10s %12s %8s s %8s %8s %8s\n' "$target" "$executions" "$used" "${coverage#cov: }" \
        "$(find "$work/corpus/$target" -type f | wc -l)" "$found"
    faults=$((faults + found))
done
((faults == 0)) || { echo "Faults: see build/fuzz/found/ and build/fuzz/TARGET.log" >&2; exit 1; }
