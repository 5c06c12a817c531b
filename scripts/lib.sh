# shellcheck shell=bash
# Small helpers that the scripts of this folder share. To be sourced from the repository's root.

# Number of jobs that builds and tests run side by side.
jobs() { printf '%s\n' "${KX3_JOBS:-$(nproc)}"; }

# Headline of a step.
announce() { printf '\n== %s\n' "$*"; }

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
