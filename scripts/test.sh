#!/usr/bin/env bash
# Everything that must hold before a change goes in: install what is missing, build, run every suite.
#
#   scripts/test.sh quick      what to run all day: the style of the sources, and the native tests
#   scripts/test.sh            all suites
#   scripts/test.sh SUITE...   only these: format shell release sanitize torture thread valgrind fuzz lint windows
#
# Suite lint runs the static analyzer, too, when it is asked for by name.
# The last line counts tests and checks over all suites: "N passed, N failed, N skipped". A suite
# whose tools cannot be installed counts as one skipped. Exit code 1 when anything failed.
# Logs and JUnit results: build/test-logs.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

readonly logs=build/test-logs
readonly suites=(format shell release sanitize torture thread valgrind fuzz lint windows)
passed=0
failed=0
skipped=0
failures=()
lint_options=(--analyze)

fail() {
    failed=$((failed + 1))
    failures+=("$1")
}

skip_suite() {
    skipped=$((skipped + 1))
    warn "SKIPPED: $1 ($2)"
}

have() {
    local tool
    for tool in "$@"; do command -v "$tool" >/dev/null || return 1; done
}

# logged LOG COMMAND...: run with all output in the log; show the log's end, without the tests that
# passed, when it fails.
logged() {
    local log=$logs/$1.log
    shift
    "$@" >"$log" 2>&1 && return 0
    grep -vE '^ +Start +[0-9]+: | Passed +[0-9.]+ sec$' "$log" | tail -n 60
    warn "failed: $* (all of it: $log)"
    return 1
}

# check NAME COMMAND...: a check that counts as one test.
check() {
    if logged "$@"; then
        passed=$((passed + 1))
    else
        fail "$1"
    fi
}

configure_and_build() { # PRESET [configure option...]
    cmake --preset "$@" && cmake --build --preset "$1" -j "$(jobs)" -- -k 0
}

# Count the tests of a ctest run. A run that went wrong without a failed test, or that found no test at all, is
# a failure, too.
count_ctest() { # NAME JUNIT STATUS [RESULT FILE OF A PROGRAM...]
    local name=$1 junit=$2 status=$3 tests failures_here left_out
    shift 3
    if [ ! -s "$junit" ]; then
        fail "$name: no result file"
        return
    fi
    read -r tests failures_here left_out < <(ctest_counts "$junit" "$@")
    printf '%s tests, %s failed, %s skipped\n' "$tests" "$failures_here" "$left_out"
    passed=$((passed + tests - failures_here - left_out))
    skipped=$((skipped + left_out))
    failed=$((failed + failures_here))
    if [ "$failures_here" -gt 0 ]; then
        failures+=("$name: $failures_here tests")
    elif [ "$status" -ne 0 ] || [ "$tests" -eq 0 ]; then
        fail "$name: ctest ended with status $status after $tests tests"
    fi
}

run_ctest() { # PRESET
    local junit=$PWD/$logs/$1.xml status=0
    rm -rf "$junit" "build/$1/test-results"
    logged "$1-tests" ctest --preset "$1" -j "$(jobs)" --output-junit "$junit" || status=$?
    count_ctest "$1" "$junit" "$status" "build/$1/test-results"/*.xml
}

build_and_test() { # PRESET
    announce "$1: build"
    if ! logged "$1-build" configure_and_build "$1"; then
        fail "$1: build"
        return
    fi
    announce "$1: tests"
    run_ctest "$1"
}

# Names the files that clang-format would change, and the command that repairs them.
check_format() {
    local file bad=()
    while IFS= read -r file; do
        clang-format "$file" | cmp -s - "$file" || bad+=("$file")
    done < <(source_files '*.h' '*.cpp')
    [ "${#bad[@]}" -gt 0 ] || return 0
    printf 'clang-format -i %s\n' "${bad[*]}"
    return 1
}

check_shell() {
    source_files 'scripts/*.sh' '.ci/run' 'bench/*.sh' | xargs -d '\n' shellcheck -x
}

suite_format() {
    announce "format"
    if have clang-format; then check format check_format; else skip_suite format "no clang-format"; fi
}

suite_shell() {
    announce "shell scripts"
    if have shellcheck; then check shell check_shell; else skip_suite shell "no shellcheck"; fi
}

suite_release() { build_and_test release; }

lint_product() { cmake --preset sanitize >/dev/null && scripts/lint.py "${lint_options[@]}"; }

suite_lint() {
    announce "clang-tidy"
    if have clang++ clang-tidy; then check lint lint_product; else skip_suite lint "no clang++ or clang-tidy"; fi
}

suite_sanitize() {
    if have clang++; then build_and_test sanitize; else skip_suite sanitize "no clang++"; fi
}

# A script that counts its checks in its last line, as this one does.
run_counting() { # NAME COMMAND...
    local name=$1 status=0 line
    shift
    announce "$name"
    "$@" 2>&1 | tee "$logs/$name.log" || status=$?
    line=$(tail -n 1 "$logs/$name.log")
    if [[ $line =~ ^([0-9]+)\ passed,\ ([0-9]+)\ failed,\ ([0-9]+)\ skipped$ ]]; then
        passed=$((passed + BASH_REMATCH[1]))
        failed=$((failed + BASH_REMATCH[2]))
        skipped=$((skipped + BASH_REMATCH[3]))
        if [ "${BASH_REMATCH[2]}" -gt 0 ]; then
            failures+=("$name: ${BASH_REMATCH[2]} tests")
        elif [ "$status" -ne 0 ]; then
            fail "$name: $1 ended with status $status"
        fi
    else
        fail "$name: $1 ended with status $status and without its counts"
    fi
}

suite_windows() { run_counting windows scripts/test-windows.sh; }

suite_valgrind() { run_counting valgrind scripts/valgrind.sh; }

suite_torture() { run_counting torture scripts/torture.sh; }

# A short run of each fuzzer; their corpora are tests of the suites release and sanitize.
suite_fuzz() { run_counting fuzz scripts/fuzz.sh 10; }

run_two_threads() {
    cmake --preset thread && cmake --build --preset thread -j "$(jobs)" --target thread_stress torture &&
        build/thread/bin/thread_stress && build/thread/bin/torture --digests torture/digests.txt
}

suite_thread() {
    announce "thread sanitizer"
    if have clang++; then check thread run_two_threads; else skip_suite thread "no clang++"; fi
}

install_tools() {
    announce "tools"
    scripts/setup.sh build
    scripts/setup.sh ui || warn "tests of the Qt dialogs will be skipped"
    scripts/setup.sh checks || warn "some checks will be skipped"
    scripts/setup.sh demo || warn "tests with real firmware will be skipped"
}

main() {
    local suite
    if [ $# -eq 0 ]; then
        set -- "${suites[@]}"
        lint_options=()
    elif [ "$*" = quick ]; then
        set -- format shell release
    fi
    for suite in "$@"; do
        [[ " ${suites[*]} " == *" $suite "* ]] || {
            warn "unknown suite '$suite'; suites are ${suites[*]}"
            exit 2
        }
    done
    mkdir -p "$logs"
    install_tools
    for suite in "$@"; do "suite_$suite"; done

    announce "result"
    if [ "${#failures[@]}" -gt 0 ]; then printf 'failed: %s\n' "${failures[@]}"; fi
    printf '%d passed, %d failed, %d skipped\n' "$passed" "$failed" "$skipped"
    [ "$failed" -eq 0 ]
}

main "$@"
