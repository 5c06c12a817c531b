#!/usr/bin/env bash
# Every outside call of the plug-in fails in every way, and what else must not break it.
#
#   scripts/torture.sh [COUNT]        (90000) at least so many runs with failing outside calls
#   PRESET=sanitize scripts/torture.sh
#
# Beyond the single faults, of which there are fewer than 90000, two or three at once; SEED says which.
# With a COUNT of a million and more the other figures are the full ones, too: every bit flip, a
# thousand kills, a million sessions. A failure prints the arguments that replay it.
#
# The last line counts checks: "N passed, N failed, N skipped".
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

readonly count=${1:-90000} preset=${PRESET:-release} seed=${SEED:-1}
readonly bin=build/$preset/bin
passed=0
failed=0

check() {
    printf '%s\n' "${*##*/}"
    if "$@"; then passed=$((passed + 1)); else failed=$((failed + 1)); fi
}

# A sweep, shared by one process for each core.
sweep() {
    local part workers=() status=0
    for part in $(seq "$(jobs)"); do
        "$bin/torture" "$@" "$part" "$(jobs)" &
        workers+=($!)
    done
    for part in "${workers[@]}"; do wait "$part" || status=1; done
    return "$status"
}

cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" -j "$(jobs)" --target torture >/dev/null

if [ "$count" -ge 1000000 ]; then
    stride=1 kills=1000 sessions=1000000
else
    stride=401 kills=50 sessions=10000
fi
check "$bin/torture" --digests torture/digests.txt
check sweep --sweep "$count" "$seed"
check sweep --allocations
check "$bin/torture" --flips "$stride"
check "$bin/torture" --kill "$kills" "$seed"
# An instrumented allocator keeps memory back: growth is measured without.
[ "$preset" = sanitize ] || check "$bin/torture" --soak "$sessions"
printf '%d passed, %d failed, 0 skipped\n' "$passed" "$failed"
[ "$failed" -eq 0 ]
