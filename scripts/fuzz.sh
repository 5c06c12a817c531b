#!/usr/bin/env bash
# Run every fuzzer for its share of the time.
#
#   scripts/fuzz.sh [SECONDS]         (60) for all fuzzers together, without the build
#   FUZZERS='forms files' scripts/fuzz.sh 600
#
# Starts from the committed corpora and what earlier runs have found; new inputs stay in build/fuzz.
# An input that breaks something is left in build/fuzz/finds; fuzz_NAME FILE replays it.
#
# The last line counts fuzzers: "N passed, N failed, N skipped".
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

read -ra fuzzers <<<"${FUZZERS:-reports blocks forms calls files}"
readonly seconds=${1:-60}
readonly share=$((seconds / ${#fuzzers[@]} > 0 ? seconds / ${#fuzzers[@]} : 1))
passed=0
failed=0
executions=0

if ! command -v clang++ >/dev/null; then
    warn "no clang++"
    printf '0 passed, 0 failed, %d skipped\n' "${#fuzzers[@]}"
    exit 0
fi
cmake --preset sanitize >/dev/null
cmake --build --preset sanitize -j "$(jobs)" --target "${fuzzers[@]/#/fuzz_}" kx6io kx3io mpu6records >/dev/null

mkdir -p build/fuzz/finds
for name in "${fuzzers[@]}"; do
    corpus=$PWD/build/fuzz/corpus/$name log=build/fuzz/$name.log status=0
    mkdir -p "$corpus"
    build/sanitize/bin/fuzz_"$name" -max_total_time="$share" -timeout=20 -rss_limit_mb=2048 -max_len=4096 \
        -print_final_stats=1 -artifact_prefix="$PWD"/build/fuzz/finds/"$name"- \
        "$corpus" "$PWD"/fuzz/corpus/"$name" >"$log" 2>&1 || status=$?
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    executions=$((executions + ${runs:-0}))
    if [ "$status" -eq 0 ] && [ "${runs:-0}" -gt 0 ]; then
        passed=$((passed + 1))
        printf '%-8s %10d executions in %d s\n' "$name" "$runs" "$share"
    else
        failed=$((failed + 1))
        grep -vE '^#[0-9]+' "$log" | tail -n 40
        warn "$name: failed"
    fi
done
printf '%d executions\n' "$executions"
printf '%d passed, %d failed, 0 skipped\n' "$passed" "$failed"
[ "$failed" -eq 0 ]
