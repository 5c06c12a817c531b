#!/usr/bin/env bash
# Branch coverage of the engine by all native tests and the torture runner.
#
#   scripts/coverage.sh          a file each, the total, and what docs/uncovered.md does not name
#   scripts/coverage.sh FILE     the branches of one file that are not taken, line by line
#
# Branches that only an exception takes out of an expression are left out: every call could throw.
# Exit code 1 when fewer than 95 % are taken or one that is not has no reason on record.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

readonly build=build/coverage
scripts/setup.sh build checks demo
cmake --preset coverage >/dev/null
cmake --build --preset coverage -j "$(jobs)" >/dev/null
find "$build" -name '*.gcda' -delete
# The counters end the process in ways that the plug-in itself never does.
ctest --preset coverage -j "$(jobs)" -E native_exports >"$build"/tests.log || {
    tail -n 20 "$build"/tests.log
    exit 1
}
"$build"/bin/torture --sweep
"$build"/bin/torture --allocations

report() { gcovr -r . "$build" --filter "${1:-src/}" --branches --exclude-throw-branches --exclude-unreachable-branches "${@:2}"; }
if [ $# -gt 0 ]; then
    report "$1"
else
    report src/ --sort-uncovered
    report src/ --json "$build"/branches.json >/dev/null
    python3 scripts/uncovered.py "$build"/branches.json docs/uncovered.md
fi
