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

run_fuzzers() {
    local dir=$1 target name corpus log
    echo "== fuzz (${FUZZ_SECONDS}s each)"
    mkdir -p "$dir/fuzz-logs"
    for target in "$dir"/bin/fuzz_*; do
        [ -f "$target" ] && [ -x "$target" ] || continue
        name=$(basename "$target")
        log="$dir/fuzz-logs/$name.log"
        corpus=$(mktemp -d)
        if "$target" -max_total_time="$FUZZ_SECONDS" -print_final_stats=0 "$corpus" \
            >"$log" 2>&1; then
            echo "$name: clean"
            passed=$((passed + 1))
        else
            tail -40 "$log"
            echo "$name: FAILED (log: $log)"
            failed=$((failed + 1))
        fi
        rm -rf "$corpus"
    done
}

velmora_install_packages
velmora_install_npm

velmora_build "$VELMORA_ROOT/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELMORA_TESTS=ON \
    -DVELMORA_BENCH=ON
run_suites "$VELMORA_ROOT/build" "tests"

velmora_build "$VELMORA_ROOT/build-asan" -DCMAKE_BUILD_TYPE=Debug -DVELMORA_SANITIZE=address -DVELMORA_TESTS=ON
run_suites "$VELMORA_ROOT/build-asan" "tests under AddressSanitizer + UBSan"

velmora_build "$VELMORA_ROOT/build-tsan" -DCMAKE_BUILD_TYPE=Debug -DVELMORA_SANITIZE=thread -DVELMORA_TESTS=ON
TSAN_OPTIONS="suppressions=$VELMORA_ROOT/tools/tsan.supp" \
    run_suites "$VELMORA_ROOT/build-tsan" "tests under ThreadSanitizer"

velmora_build "$VELMORA_ROOT/build-fuzz" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
    -DVELMORA_FUZZ=ON -DVELMORA_TESTS=OFF -DVELMORA_SANITIZE=address -DVELMORA_TESTS=ON
run_fuzzers "$VELMORA_ROOT/build-fuzz"

echo "summary: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
