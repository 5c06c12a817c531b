#!/usr/bin/env bash
# Coverage of the engine by all native tests: lines and branches of src/, a file each, and the total.
#
#   scripts/coverage.sh [FILE]      the branches of one file that no test takes, line by line
#
# Branches that only an exception takes out of an expression are left out: every call could throw.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

scripts/setup.sh build checks demo
cmake --preset coverage >/dev/null
cmake --build --preset coverage -j "$(jobs)" >/dev/null
find build/coverage -name '*.gcda' -delete
ctest --preset coverage -j "$(jobs)" >build/coverage/tests.log || tail -n 5 build/coverage/tests.log

report() { gcovr -r . build/coverage --filter "$1" --branches --exclude-throw-branches --exclude-unreachable-branches "${@:2}"; }
if [ $# -gt 0 ]; then report "$1"; else report src/ --sort-uncovered; fi
