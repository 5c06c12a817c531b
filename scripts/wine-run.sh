#!/bin/sh
# Run a 32-bit Windows program under Wine, in the prefix of this tree and without a screen.
#
#   scripts/wine-run.sh PROGRAM [ARGUMENT...]
#
# WINEPREFIX names another prefix. scripts/test-windows.sh makes the prefix.
export WINEARCH=win32
export WINEDEBUG="${WINEDEBUG--all}"
export WINEPREFIX="${WINEPREFIX-$(cd "$(dirname "$0")/.." && pwd)/build/wine-prefix}"
# A program that crashes must end and not wait for a debugger.
export WINEDLLOVERRIDES='mscoree,mshtml,winemenubuilder.exe=,winedbg.exe='
unset DISPLAY
# Wine's own helpers outlive the program and would keep a pipe open, so that its reader waited for ever.
output=$(mktemp)
trap 'rm -f "$output"' EXIT
status=0
wine "$@" >"$output" 2>&1 || status=$?
cat "$output"
exit "$status"
