#!/usr/bin/env bash
# Pictures of every editor in every mode, in English, simplified Chinese and Russian, as each presenter
# draws them: build/gallery/PRESENTER/EDITOR-modeNN-LANGUAGE.png, and a page with all of them,
# build/gallery/index.html.
#
#   scripts/gallery.sh [PRESENTER...]     without a name: every presenter that this machine can run
#
# Builds what it needs, presets release and windows. Exit code 1 when a presenter that was
# named cannot draw.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

readonly gallery=build/gallery
readonly presenters=(qt win32)

# Each function draws its presenter's pictures into the folder of its argument; 77 when this machine
# lacks what it needs.

draw_qt() {
    cmake --preset release >/dev/null
    cmake --build --preset release --target help | grep -q '^kx3-qt-gallery:' || {
        warn "qt: Qt 6 Widgets is not installed; scripts/setup.sh ui installs it"
        return 77
    }
    cmake --build --preset release -j "$(jobs)" --target kx3-qt-gallery >/dev/null || return 1
    QT_QPA_PLATFORM=offscreen build/release/bin/kx3-qt-gallery "$1" 2> >(grep -v 'propagateSizeHints' >&2)
}

draw_win32() {
    local tool
    export WINEPREFIX=$PWD/build/wine-prefix
    for tool in i686-w64-mingw32-g++-posix wine; do
        command -v "$tool" >/dev/null || {
            warn "win32: $tool is not installed; scripts/setup.sh windows ui installs it"
            return 77
        }
    done
    cmake --preset windows >/dev/null &&
        cmake --build --preset windows -j "$(jobs)" --target win32_gallery >/dev/null || return 1
    prepare_wine_prefix >/dev/null 2>&1
    scripts/wine-run.sh build/windows/bin/win32_gallery.exe "$1"
}

# One page to look at them all, a row for each editor and mode.
write_page() {
    local picture name
    printf '<!doctype html><meta charset="utf-8"><title>Dialogs</title><style>img{margin:8px;vertical-align:top}</style>\n'
    for picture in "$gallery"/*/*-en.png; do
        name=${picture#"$gallery"/}
        name=${name%-en.png}
        printf '<h2>%s</h2>\n' "$name"
        printf '<img src="%s-%s.png" alt="">\n' "$name" en "$name" zh-cn "$name" ru
    done
}

main() {
    local presenter status named=$#
    [ $# -gt 0 ] || set -- "${presenters[@]}"
    for presenter in "$@"; do
        [[ " ${presenters[*]} " == *" $presenter "* ]] || {
            warn "unknown presenter '$presenter'; presenters are ${presenters[*]}"
            exit 2
        }
    done
    for presenter in "$@"; do
        announce "$presenter"
        rm -rf "${gallery:?}/$presenter"
        mkdir -p "$gallery/$presenter"
        status=0
        "draw_$presenter" "$gallery/$presenter" || status=$?
        [ "$status" -eq 0 ] || { [ "$status" -eq 77 ] && [ "$named" -eq 0 ]; } || exit 1
    done
    write_page >"$gallery/index.html"
    printf '%s\n' "$gallery/index.html"
}

main "$@"
