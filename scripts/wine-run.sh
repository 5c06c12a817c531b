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
exec wine "$@"
