#!/usr/bin/env bash
# What the sanitizers do not see: values never set, in whole programs that go everywhere once.
#
#   scripts/valgrind.sh [all]     all: every test program and fuzzer's corpus (an hour)
#
# The last line counts programs: "N passed, N failed, N skipped".
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

readonly bin=build/release/bin log=build/release/valgrind.log
passed=0
failed=0

check() {
    printf 'valgrind %s\n' "$*"
    if valgrind -q --error-exitcode=99 --leak-check=full "$bin/$1" "${@:2}" >"$log" 2>&1; then
        passed=$((passed + 1))
    else
        tail -n 40 "$log"
        failed=$((failed + 1))
    fi
}

if ! command -v valgrind >/dev/null; then
    warn "no valgrind"
    echo "0 passed, 0 failed, 1 skipped"
    exit 0
fi
cmake --preset release >/dev/null
cmake --build --preset release -j "$(jobs)" >/dev/null

# The engine: all operations, editors and notes; the C interface called by hosts good and bad; files.
check torture --digests torture/digests.txt
check fuzz_replay calls fuzz/corpus/calls
check fuzz_replay files fuzz/corpus/files
check unload_while_bound "$PWD/$bin/libkx3mpu6.so"
if [ "${1:-}" = all ]; then
    for fuzzer in reports blocks forms; do check fuzz_replay "$fuzzer" "fuzz/corpus/$fuzzer"; done
    for suite in engine console simulator; do check "${suite}_tests" --gtest_brief=1; done
    # The allocator that fails on purpose is replaced by valgrind's.
    check native_tests --gtest_brief=1 --gtest_filter=-Native.WithoutMemoryACallFailsAndTheNextOneWorks
fi
printf '%d passed, %d failed, 0 skipped\n' "$passed" "$failed"
[ "$failed" -eq 0 ]
