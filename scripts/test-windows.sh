#!/usr/bin/env bash
# Build for 32-bit Windows with mingw-w64 and run every suite under Wine: the engine's unit tests, the
# plug-in's library and its dialogs from a host's side, and a script client of the registered class.
#
#   scripts/test-windows.sh
#
# The last line counts tests and checks: "N passed, N failed, N skipped". What cannot be installed
# counts as skipped. Exit code 1 when anything failed. Results: build/test-logs, prefix:
# build/wine-prefix.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

readonly logs=$PWD/build/test-logs
readonly bin=build/windows/bin
readonly wine=scripts/wine-run.sh
export WINEPREFIX=$PWD/build/wine-prefix
passed=0
failed=0
skipped=0

pass() {
    passed=$((passed + 1))
    printf 'ok: %s\n' "$1"
}

fail() {
    failed=$((failed + 1))
    warn "FAILED: $1"
}

finish() {
    printf '%d passed, %d failed, %d skipped\n' "$passed" "$failed" "$skipped"
    if [ "$failed" -gt 0 ]; then exit 1; fi
    exit 0
}

skip_all() {
    local suite
    for suite in "unit tests under Wine" "library file" "script client" "package"; do
        warn "SKIPPED: $suite ($1)"
        skipped=$((skipped + 1))
    done
    finish
}

build() {
    announce "build"
    cmake --preset windows >"$logs/windows-build.log" 2>&1 &&
        cmake --build --preset windows -j "$(jobs)" >>"$logs/windows-build.log" 2>&1 && return 0
    tail -n 60 "$logs/windows-build.log"
    return 1
}

prepare_wine() {
    announce "Wine"
    prepare_wine_prefix >"$logs/windows-prefix.log" 2>&1
    # One server for all the short programs that follow, until the end of this script.
    wineserver -p
    trap 'wineserver -k' EXIT
}

# Blocks have names that all processes of a prefix share, so that tests run one after another.
run_unit_tests() {
    announce "unit tests"
    local junit=$logs/windows.xml tests failures left_out status=0
    rm -rf "$junit" build/windows/test-results
    ctest --preset windows -j 1 --output-junit "$junit" >"$logs/windows-tests.log" 2>&1 || status=$?
    [ -s "$junit" ] || {
        tail -n 40 "$logs/windows-tests.log"
        fail "unit tests: no result file"
        return
    }
    read -r tests failures left_out < <(ctest_counts "$junit" build/windows/test-results/*.xml)
    printf '%d tests, %d failed, %d skipped\n' "$tests" "$failures" "$left_out"
    passed=$((passed + tests - failures - left_out))
    skipped=$((skipped + left_out))
    failed=$((failed + failures))
    if [ "$failures" -gt 0 ]; then
        sed -n '/The following tests FAILED/,$p' "$logs/windows-tests.log"
    elif [ "$status" -ne 0 ] || [ "$tests" -eq 0 ]; then
        fail "unit tests: ctest ended with status $status after $tests tests"
    fi
}

imports_of() { i686-w64-mingw32-objdump -p "$1" | sed -n 's/^[[:space:]]*DLL Name: //p' | tr '[:upper:]' '[:lower:]' | sort; }
# The names that a library exports, without their ordinals.
exports_of() { i686-w64-mingw32-objdump -p "$1" | sed -n '/Name Pointer/,/^$/s/^[[:space:]]*\[ *[0-9]*\] //p' | sort; }

check_library() {
    announce "library file"
    local dll=$bin/kx3mpu6.dll foreign names size
    foreign=$(imports_of "$dll" | grep -vxE 'advapi32\.dll|comctl32\.dll|gdi32\.dll|kernel32\.dll|msvcrt\.dll|ole32\.dll|oleaut32\.dll|user32\.dll|uxtheme\.dll' || true)
    if [ -z "$foreign" ]; then pass "imports system libraries only"; else fail "imports $foreign"; fi
    names=$(exports_of "$dll" | xargs)
    if [ "$names" = "DllCanUnloadNow DllGetClassObject DllInstall DllRegisterServer DllUnregisterServer" ]; then
        pass "exports exactly the five functions"
    else
        fail "exports: $names"
    fi
    size=$(stat -c %s "$dll")
    if [ "$size" -lt $((2 * 1024 * 1024)) ]; then pass "$size bytes, below 2 MiB"; else fail "$size bytes are too many"; fi
}

# Registers the library as an installer would, and drives it by a script that knows its name alone.
run_script_client() {
    announce "script client"
    local log=$logs/windows-client.log status=0
    if ! $wine regsvr32 /s $bin/kx3mpu6.dll; then
        fail "regsvr32"
        return
    fi
    pass "regsvr32"
    $wine cscript //nologo $bin/client.vbs >"$log" 2>&1 || status=$?
    tr -d '\r' <"$log" | sed 's/^/  /'
    passed=$((passed + $(grep -c '^ok: ' "$log" || true)))
    failed=$((failed + $(grep -c '^FAILED: ' "$log" || true)))
    if [ "$status" -ne 0 ] || ! grep -q '^ok: ' "$log"; then fail "script client ended with status $status"; fi
    if $wine regsvr32 /s /u $bin/kx3mpu6.dll &&
        ! $wine reg query 'HKLM\Software\Classes\kx3mpu6.clsMPU' >/dev/null 2>&1; then
        pass "regsvr32 /u leaves no entry"
    else
        fail "regsvr32 /u"
    fi
}

check_package() {
    announce "package"
    local zip
    if zip=$(scripts/build-windows.sh | tail -n 1) && cmake -E tar tf "$zip" >"$logs/windows-package.log"; then
        pass "$zip"
    else
        fail "scripts/build-windows.sh"
    fi
}

mkdir -p "$logs"
scripts/setup.sh build || true
scripts/setup.sh windows || true
for tool in cmake i686-w64-mingw32-g++-posix i686-w64-mingw32-widl wine wineserver; do
    command -v "$tool" >/dev/null || skip_all "no $tool"
done
if build; then
    prepare_wine
    run_unit_tests
    check_library
    run_script_client
    check_package
else
    fail "build"
fi
finish
