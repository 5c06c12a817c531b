#!/usr/bin/env bash
# Install the packages that building, testing and showing kx3mpu6 need on Debian 12.
#
#   scripts/setup.sh [build] [ui] [checks] [demo] [windows]     without a name: all of them
#
# Only packages that are missing are installed, as root or through sudo; when none is missing, the
# network is not touched. Exit code 1 when some could not be installed; they are named.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

# Compiler, build system, test library, and the libraries of the console host.
build_packages=(
    g++ cmake ninja-build libgtest-dev libbenchmark-dev python3
    libcli11-dev libsrecord-dev libboost-dev libtomlplusplus-dev nlohmann-json3-dev libfmt-dev
)
# Real dialogs: Qt 6, fonts for all languages, a display without a screen, and a keyboard without hands.
ui_packages=(qt6-base-dev fonts-dejavu-core fonts-noto-cjk xvfb xauth xdotool)
# Second compiler with its sanitizers, style and lint.
checks_packages=(clang libclang-rt-14-dev clang-format clang-tidy shellcheck git gcovr valgrind)
# Real firmware, boot loaders with their boards' fuses, and a tool of somebody else's to compare load
# files with.
demo_packages=(firmware-microbit-micropython arduino-core-avr srecord)
# Other programs that bench/compare.sh measures beside mpu6, and what measures their memory.
bench_packages=(flashrom avrdude time)
# Cross compiler for 32-bit Windows, and Wine to run what it makes.
windows_packages=(
    g++-mingw-w64-i686-posix mingw-w64-tools libwine-dev googletest cmake ninja-build
    wine wine32:i386 xvfb xauth xdotool fonts-dejavu-core fonts-noto-cjk
)

is_installed() {
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

missing_of() {
    local package
    for package in "$@"; do
        is_installed "$package" || printf '%s\n' "$package"
    done
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        warn "neither root nor sudo: cannot run $*"
        return 1
    fi
}

apt_install() {
    local release=()
    # Keeps apt to the versions that belong together where a machine knows several releases.
    if apt-cache policy 2>/dev/null | grep -q 'n=bookworm,'; then release=(-t bookworm); fi
    as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${release[@]}" "$@" >/dev/null
}

wanted_packages() {
    local group
    for group in "$@"; do
        case $group in
        build) printf '%s\n' "${build_packages[@]}" ;;
        ui) printf '%s\n' "${ui_packages[@]}" ;;
        checks) printf '%s\n' "${checks_packages[@]}" ;;
        demo) printf '%s\n' "${demo_packages[@]}" ;;
        bench) printf '%s\n' "${bench_packages[@]}" ;;
        windows) printf '%s\n' "${windows_packages[@]}" ;;
        *)
            warn "unknown group '$group'; groups are build, ui, checks, demo and windows"
            return 2
            ;;
        esac
    done
}

main() {
    local wanted missing
    wanted=$(wanted_packages "$@")
    mapfile -t wanted <<<"$wanted"
    mapfile -t missing < <(missing_of "${wanted[@]}")
    [ "${#missing[@]}" -gt 0 ] || return 0

    announce "installing: ${missing[*]}"
    if [[ ${missing[*]} == *:i386* ]]; then as_root dpkg --add-architecture i386; fi
    as_root apt-get update -qq || true # an index that is out of step is no reason to stop
    if ! apt_install "${missing[@]}"; then
        # One that cannot be had must not keep the others away.
        local package
        for package in "${missing[@]}"; do apt_install "$package" || true; done
    fi

    mapfile -t missing < <(missing_of "${wanted[@]}")
    [ "${#missing[@]}" -eq 0 ] || {
        warn "could not be installed: ${missing[*]}"
        return 1
    }
}

if [ $# -eq 0 ]; then set -- build ui checks demo windows; fi
main "$@"
