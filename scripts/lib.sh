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
