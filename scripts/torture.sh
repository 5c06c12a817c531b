#!/usr/bin/env bash
# Every outside call of the plug-in fails in every way, and what else must not break it.
#
#   scripts/torture.sh [COUNT]        (100000) at least so many faulted runs
#   PRESET=sanitize scripts/torture.sh
#
# Beyond the single faults, of which there are fewer than 100000, two or three at once; SEED says which.
# With a COUNT of a million and more the other figures are the full ones, too: every bit flip, a
# thousand kills, a million sessions. A failure prints the arguments that replay it.
#
# The last line counts checks: "N passed, N failed, N skipped".
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

readonly count=${1:-100000} preset=${PRESET:-release} seed=${SEED:-1}
readonly bin=build/$preset/bin
passed=0
failed=0

check() {
    printf 'torture %s\n' "$*"
    if "$bin/torture" "$@"; then passed=$((passed + 1)); else failed=$((failed + 1)); fi
}

cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" -j "$(jobs)" --target torture >/dev/null

if [ "$count" -ge 1000000 ]; then
    stride=1 kills=1000 sessions=1000000
else
    stride=61 kills=50 sessions=20000
fi
check --digests torture/digests.txt
check --count "$count" --seed "$seed" --workers "$(jobs)"
check --allocations --workers "$(jobs)"
check --flips "$stride"
check --kill "$kills" --seed "$seed"
# An instrumented allocator keeps memory back: growth is measured without.
[ "$preset" = sanitize ] || check --soak "$sessions"
printf '%d passed, %d failed, 0 skipped\n' "$passed" "$failed"
[ "$failed" -eq 0 ]
