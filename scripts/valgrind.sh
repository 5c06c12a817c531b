#!/usr/bin/env bash
# The tests of the engine, the C interface and the console host under valgrind: invalid accesses,
# values never set, leaks.
#
#   scripts/valgrind.sh [all]     all: the long ones, too (an hour)
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

for suite in host notes buffer_init session console; do check "${suite}_tests" --gtest_brief=1; done
check arm_tests --gtest_brief=1 --gtest_filter=-HostileBlocks.*
# The allocator that fails on purpose is replaced by valgrind's.
check native_tests --gtest_brief=1 --gtest_filter=-Native.WithoutMemoryACallFailsAndTheNextOneWorks
for fuzzer in reports blocks forms calls files; do check "fuzz_$fuzzer" "$PWD/fuzz/corpus/$fuzzer"; done
check torture --digests torture/digests.txt
check unload_while_bound "$PWD/$bin/libkx3mpu6.so"
if [ "${1:-}" = all ]; then
    for suite in arm editors simulator; do check "${suite}_tests" --gtest_brief=1; done
fi
printf '%d passed, %d failed, 0 skipped\n' "$passed" "$failed"
[ "$failed" -eq 0 ]
