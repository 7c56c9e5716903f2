#!/usr/bin/env bash
# Builds the fuzz targets (libFuzzer, AddressSanitizer, UndefinedBehaviorSanitizer) in fuzz/build and runs
# each one for SECONDS seconds (default 60). Exits non-zero on any finding: a crash, a hang, a leak, running
# out of memory or a violated property. Reproducers go to fuzz/build/artifacts, logs to fuzz/build/logs.
#
#   scripts/fuzz.sh [SECONDS]
#   VEXIL_FUZZ_JOBS=2        run two targets at a time
#   VEXIL_FUZZ_TARGETS="objectmap eventdata"   run only these
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
case "$seconds" in
    '' | *[!0-9]*) echo "usage: $0 [SECONDS]" >&2; exit 2 ;;
esac
parallel=${VEXIL_FUZZ_JOBS:-1}
read -r -a targets <<< "${VEXIL_FUZZ_TARGETS:-objectname objectmap touchxml eventdata primitives descriptors agentframes}"

# What the library needs, then the compiler and the libFuzzer runtime, only when missing.
scripts/install-deps.sh clang libclang-rt-14-dev

build=fuzz/build
echo "== Fuzz targets (${seconds}s each)"
CC=clang CXX=clang++ cmake -S fuzz -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j"${VEXIL_JOBS:-2}" >/dev/null
mkdir -p "$build/artifacts" "$build/logs"

# Runs one target over its seeds and its growing working corpus; prints one line about it.
run_target() {
    local t=$1
    local log="$build/logs/$t.log"
    mkdir -p "$build/corpus/$t"
    local rc=0
    ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
    UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
        "$build/fuzz_$t" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
        -artifact_prefix="$build/artifacts/$t-" "$build/corpus/$t" "fuzz/corpus/$t" >"$log" 2>&1 || rc=$?
    local runs
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
    if [ "$rc" -eq 0 ]; then
        echo "fuzz_$t: ok, ${runs:-?} inputs"
    else
        echo "fuzz_$t: FAILED (exit $rc), log $log"
        grep -E 'ERROR|property violated|SUMMARY|Test unit written|#[0-9]+ 0x' "$log" | head -30 || true
    fi
    return "$rc"
}

failed=0
passed=0
pids=()
names=()
collect() {
    local i=$1
    if wait "${pids[$i]}"; then passed=$((passed + 1)); else failed=$((failed + 1)); fi
}
for t in "${targets[@]}"; do
    if [ ! -x "$build/fuzz_$t" ]; then
        echo "fuzz_$t: no such target" >&2
        failed=$((failed + 1))
        continue
    fi
    run_target "$t" &
    pids+=($!)
    names+=("$t")
    if [ ${#pids[@]} -ge "$parallel" ]; then
        collect 0
        pids=("${pids[@]:1}")
        names=("${names[@]:1}")
    fi
done
for i in "${!pids[@]}"; do
    collect "$i"
done

echo "fuzz: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
