#!/usr/bin/env bash
# Work the editors of the registered plug-in by real key events on a display: a host opens a dialog,
# xdotool presses the keys, and the host prints the bytes that the dialog has left.
#
#   xvfb-run tests/windows_ui/keys.sh FOLDER
#
# FOLDER has windows_keys_host.exe; WINEPREFIX is a prefix where the plug-in is registered and windows
# are drawn. Prints "ok: ..." or "FAILED: ..." a case and "all keys pressed" at the end; exit code 1
# when one failed.
set -euo pipefail

readonly host=$1/windows_keys_host.exe
export WINEARCH=win32 WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml,winemenubuilder.exe=,winedbg.exe='
output=$(mktemp)
trap 'rm -f "$output"' EXIT
failed=0

# check WHAT EXPECTED "HOST ARGUMENTS" KEY...
check() {
    local what=$1 expected=$2 arguments=$3 window running got
    shift 3
    # shellcheck disable=SC2086 # the arguments are words
    wine "$host" $arguments >"$output" 2>/dev/null &
    running=$!
    window=$(timeout 60 xdotool search --sync --onlyvisible --name '^Edit Configuration' | head -n 1) || true
    if [ -n "$window" ]; then
        # No window manager does that here.
        xdotool windowfocus --sync "$window"
        xdotool key --delay 60 "$@"
        for _ in $(seq 100); do
            kill -0 "$running" 2>/dev/null || break
            sleep 0.1
        done
    fi
    if kill "$running" 2>/dev/null; then echo "the dialog is still open" >>"$output"; fi
    wait "$running" || true
    got=$(tr -d '\r' <"$output")
    if [ "$got" = "$expected" ]; then
        printf 'ok: %s: %s\n' "$what" "$got"
    else
        printf "FAILED: %s: '%s' instead of '%s'\n" "$what" "$got" "$expected"
        failed=1
    fi
}

check "the first and the third list" "FD FC" "12 128 F8 FC" Down Tab Tab Down Return
check "an access key, and the keys of the buttons" "F8 FD" "12 128 F8 FC" alt+n Down alt+o
check "Escape" "F8 FC" "12 128 F8 FC" Down Escape
check "a hexadecimal box" "78 B6 34 F2" "64 24 78 56 34 12" Home g BackSpace Delete F Right Right Right b Return
echo "all keys pressed"
exit "$failed"
