# shellcheck shell=bash
# Small helpers that the scripts of this folder share. To be sourced from the repository's root.

# Number of jobs that builds and tests run side by side.
jobs() { printf '%s\n' "${KX3_JOBS:-$(nproc)}"; }

# Headline of a step, with the minutes and seconds since the script began.
announce() { printf '\n== %s (%d:%02d)\n' "$*" $((SECONDS / 60)) $((SECONDS % 60)); }

# Something that a reader must not miss.
warn() { printf '!! %s\n' "$*" >&2; }

# The repository's own source files that match the patterns, also the ones not yet committed.
source_files() {
    if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
        git ls-files --cached --others --exclude-standard --deduplicate -- "$@" |
            while IFS= read -r file; do [ ! -f "$file" ] || printf '%s\n' "$file"; done
    else
        local pattern
        for pattern in "$@"; do
            find . -path ./build -prune -o -type f -name "$pattern" -printf '%P\n'
        done
    fi
}

# Sum of an attribute over all elements of that name in GoogleTest's result files, one to a line.
result_sum() { # ELEMENT ATTRIBUTE FILE...
    local element=$1 attribute=$2
    shift 2
    echo $(($(sed -n 's/^ *<'"$element"'\( .*\)\{0,1\} '"$attribute"'="\([0-9]\{1,\}\)".*/\2/p' "$@" | paste -sd+) + 0))
}

# Prints how many tests a ctest run had, how many failed and how many were left out, by its JUnit file. A
# program of many cases is one test for ctest; its cases count, as its GoogleTest result file tells them.
ctest_counts() { # JUNIT [RESULT FILE OF A PROGRAM...]
    local junit=$1 programs failed_programs
    shift
    [ -e "${1:-}" ] || set -- # a pattern that matched no file
    programs=$#
    [ $# -gt 0 ] || set -- /dev/null
    # An attribute of the testsuite element, which ctest writes one to a line.
    of_ctest() { sed -n '/<testcase/q;s/^[[:space:]]*'"$1"'="\([0-9]\{1,\}\)".*/\1/p' "$junit"; }
    failed_programs=$({ grep -lE '^<testsuites .*failures="[1-9]' "$@" || true; } | wc -l)
    echo $(($(of_ctest tests) - programs + $(result_sum testsuites tests "$@"))) \
        $(($(of_ctest failures) - failed_programs + $(result_sum testsuites failures "$@"))) \
        $(($(of_ctest disabled) + $(of_ctest skipped) + $(result_sum testsuite skipped "$@")))
}

# Let the programs of $WINEPREFIX draw their windows by a driver: "null" keeps them in memory, so that no
# screen is needed; "x11" takes the display.
draw_windows_by() {
    scripts/wine-run.sh reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d "$1" /f
    WINEARCH=win32 wineserver -w
}

# Make the prefix $WINEPREFIX, unless it is there; a fresh one takes a quarter of a minute. Windows are
# kept in memory, and Chinese has a font.
prepare_wine_prefix() {
    [ -f "$WINEPREFIX/system.reg" ] || {
        scripts/wine-run.sh wineboot -i
        WINEARCH=win32 wineserver -w
    }
    scripts/wine-run.sh reg add 'HKCU\Software\Wine\Fonts\Replacements' /v SimSun /d 'Noto Sans CJK SC' /f
    draw_windows_by null
}
