#!/usr/bin/env bash
# Show kx3mpu6 at work on a simulated programmer: install what is missing, build, drive two ARM devices
# with the real firmware of a small board, and a device with fuses with a real boot loader. Every command
# is shown as one would type it.
#
#   scripts/demo.sh
#
# Everything it makes lies in build/demo. Exit code 0 only when all came out as announced; the last
# line says what was shown.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

readonly firmware=/usr/share/firmware-microbit-micropython/firmware.hex
readonly boards=/usr/share/arduino/hardware/arduino/avr
readonly broken_address=0x1234
progress=auto
if [ ! -t 2 ]; then
    progress=always # whole lines instead of a bar that is redrawn
    exec 2>&1       # messages stay beside the commands that they belong to
fi
shown=()

# show COMMAND...: print the command as typed, then run it.
show() {
    printf '\n$ %s\n' "$*"
    "$@"
}

# show_failing STATUS COMMAND...: the same for a command that must end with this exit code.
show_failing() {
    local wanted=$1 status=0
    shift
    show "$@" || status=$?
    printf '(exit code %d)\n' "$status"
    if [ "$status" -ne "$wanted" ]; then
        warn "this should have ended with exit code $wanted"
        return 1
    fi
}

prepare() {
    announce "Installing and building"
    scripts/setup.sh build demo
    cmake --preset release >/dev/null
    cmake --build --preset release --target mpu6 -j "$(jobs)" | tail -n 1
    rm -rf build/demo
    mkdir -p build/demo
    PATH=$PWD/build/release/bin:$PATH
    cd build/demo
    cp "$firmware" firmware.hex
}

# The firmware leaves gaps, which read back as erased flash, and has one record outside the flash.
compare_with_firmware() { # HEX_FILE
    show srec_cmp "$1" -Intel firmware.hex -Intel -crop 0 0x40000 -fill 0xFF 0 0x40000
    printf 'identical\n'
}

program_and_read_back() { # DEVICE CHIP HEX_FILE
    local device=$1 chip=$2 copy=$3
    show mpu6 auto --device "$device" --chip "$chip" --input firmware.hex --skip-outside \
        --progress "$progress" --faults slow=2000
    show mpu6 verify --device "$device" --chip "$chip" --input firmware.hex --skip-outside
    show mpu6 read --device "$device" --chip "$chip" --output "$copy"
    compare_with_firmware "$copy"
}

demonstrate_arm_prg_32f() {
    announce "A 256 KiB ARM device of model type 80: automatic sequence, verify, read back, compare"
    program_and_read_back ARM80-256K arm80.chip arm80.hex
    shown+=("model type 80 auto-programmed, verified and read back identical")
}

demonstrate_arm_prg() {
    announce "The same on the other driver: a 256 KiB ARM device of model type 60"
    program_and_read_back ARM60-256K arm60.chip arm60.hex
    shown+=("model type 60 likewise")
}

demonstrate_verify_error() {
    announce "A chip with one bad bit at $broken_address: verify names the place"
    show mpu6 program --device ARM80-256K --chip arm80.chip --input firmware.hex --skip-outside \
        --faults "bitflip@$broken_address.3"
    show_failing 3 mpu6 verify --device ARM80-256K --chip arm80.chip --input firmware.hex --skip-outside
    shown+=("one bad bit at $broken_address found by verify")
}

# board_entry KEY...: the first of these entries that the list of boards has.
board_entry() {
    local key
    for key in "$@"; do
        if sed -n "s/^${key//./\\.}=//p" "$boards/boards.txt" | grep .; then return; fi
    done
    warn "$boards/boards.txt has none of: $*"
    return 1
}

demonstrate_fuses() {
    announce "A device with fuses: a real boot loader with the fuse and lock bytes of its board"
    local board=diecimila processor=atmega328 name key value fuses=()
    for name in low=low_fuses high=high_fuses extended=extended_fuses lock=lock_bits; do
        key=bootloader.${name#*=}
        value=$(board_entry "$board.menu.cpu.$processor.$key" "$board.$key")
        fuses+=(--fuse "${name%=*}=$value")
    done
    cp "$boards/bootloaders/$(board_entry "$board.menu.cpu.$processor.bootloader.file")" loader.hex

    show mpu6 auto --device FUSE55-32K --chip fuse55.chip --input loader.hex "${fuses[@]}" --trace story.jsonl
    show mpu6 verify --device FUSE55-32K --chip fuse55.chip --input loader.hex "${fuses[@]}"
    show mpu6 read --device FUSE55-32K --chip fuse55.chip --output fuse55.hex
    show srec_cmp fuse55.hex -Intel loader.hex -Intel -fill 0xFF 0 0x8000
    printf 'identical\n'
    show cat story.jsonl
    shown+=("a boot loader with its fuses and lock bits likewise")
}

demonstrate_wrong_identifier() {
    announce "Another chip in the socket: the question answered Abort, then Retry, then Ignore"
    local check=(mpu6 verify --device FUSE55-32K --chip fuse55.chip --input loader.hex)
    show_failing 4 "${check[@]}" --faults chipid@1+:wrong --on-wrong-id abort
    show "${check[@]}" --faults chipid@1:wrong --on-wrong-id retry
    show "${check[@]}" --faults chipid@1+:wrong --on-wrong-id ignore
    shown+=("a wrong chip identifier aborted, retried and ignored")
}

main() {
    prepare
    demonstrate_arm_prg_32f
    demonstrate_arm_prg
    demonstrate_verify_error
    demonstrate_fuses
    demonstrate_wrong_identifier

    local list
    list=$(printf '; %s' "${shown[@]}")
    printf '\nShown: %s.\n' "${list:2}"
}

main "$@"
