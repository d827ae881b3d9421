#!/usr/bin/env bash
# Sets up, builds and runs every test: the suites in a plain build, again under
# AddressSanitizer + UndefinedBehaviorSanitizer and under ThreadSanitizer, and the fuzz
# targets for a bounded time each.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"

FUZZ_SECONDS=${VELMORA_FUZZ_SECONDS:-20}
passed=0
failed=0

run_suites() {
    local dir=$1 label=$2 out
    echo "== $label"
    if out=$(cd "$dir" && ctest --output-on-failure -j"$(nproc)" 2>&1); then
        echo "$out" | grep -E 'tests passed' || true
    else
        echo "$out"
    fi
    local line
    line=$(echo "$out" | grep -E 'tests passed, [0-9]+ tests failed out of [0-9]+' | tail -1)
    local total fail
    total=$(echo "$line" | sed -E 's/.*out of ([0-9]+).*/\1/')
    fail=$(echo "$line" | sed -E 's/.* ([0-9]+) tests failed.*/\1/')
    if [ -z "$line" ]; then
        failed=$((failed + 1))
    else
        passed=$((passed + total - fail))
        failed=$((failed + fail))
    fi
}

# One fuzz target for FUZZ_SECONDS; its verdict goes to a file, its log beside it.
run_fuzzer() {
    local target=$1 logs=$2 name corpus
    name=$(basename "$target")
    corpus=$(mktemp -d)
    if "$target" -max_total_time="$FUZZ_SECONDS" -print_final_stats=0 "$corpus" \
        >"$logs/$name.log" 2>&1; then
        echo clean >"$logs/$name.verdict"
    else
        echo FAILED >"$logs/$name.verdict"
    fi
    rm -rf "$corpus"
}

# The targets are single-threaded: as many run side by side as there are cores.
run_fuzzers() {
    local dir=$1 logs=$1/fuzz-logs target name running=0
    echo "== fuzz (${FUZZ_SECONDS}s each)"
    rm -rf "$logs"
    mkdir -p "$logs"
    for target in "$dir"/bin/fuzz_*; do
        [ -f "$target" ] && [ -x "$target" ] || continue
        run_fuzzer "$target" "$logs" &
        running=$((running + 1))
        if [ "$running" -ge "$(nproc)" ]; then
            wait -n || true
            running=$((running - 1))
        fi
    done
    wait || true
    for target in "$dir"/bin/fuzz_*; do
        [ -f "$target" ] && [ -x "$target" ] || continue
        name=$(basename "$target")
        if [ "$(cat "$logs/$name.verdict" 2>/dev/null)" = clean ]; then
            echo "$name: clean"
            passed=$((passed + 1))
        else
            tail -40 "$logs/$name.log"
            echo "$name: FAILED (log: $logs/$name.log)"
            failed=$((failed + 1))
        fi
    done
}

velmora_install_packages
velmora_install_npm

velmora_build "$VELMORA_ROOT/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELMORA_TESTS=ON \
    -DVELMORA_BENCH=ON
run_suites "$VELMORA_ROOT/build" "tests"

# One clang build serves both the AddressSanitizer + UBSan suites and the fuzz targets.
velmora_build "$VELMORA_ROOT/build-asan" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
    -DVELMORA_SANITIZE=address -DVELMORA_FUZZ=ON -DVELMORA_TESTS=ON
run_suites "$VELMORA_ROOT/build-asan" "tests under AddressSanitizer + UBSan"
run_fuzzers "$VELMORA_ROOT/build-asan"

velmora_build "$VELMORA_ROOT/build-tsan" -DCMAKE_BUILD_TYPE=Debug -DVELMORA_SANITIZE=thread \
    -DVELMORA_TESTS=ON
TSAN_OPTIONS="suppressions=$VELMORA_ROOT/tools/tsan.supp" \
    run_suites "$VELMORA_ROOT/build-tsan" "tests under ThreadSanitizer"

echo "summary: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
