#!/usr/bin/env bash
# Peak memory of a whole mpu6 process that programs raw images, as a multiple of the image.
#
#   bench/memory.sh [FOLDER OF mpu6]     (build/release/bin)
set -euo pipefail
cd "$(dirname "$0")/.."
bin=$(realpath "${1:-build/release/bin}")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"

peak_of() { # DEVICE BYTES
    head -c "$2" /dev/urandom >image.bin
    python3 - "$bin/mpu6" "$1" <<'PYTHON'
import resource, subprocess, sys
subprocess.run([sys.argv[1], "program", "--device", sys.argv[2], "--input", "image.bin", "--format", "binary", "-q"],
               check=True, stdout=subprocess.DEVNULL)
print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)
PYTHON
}

export KX3MPU6_NAMESPACE=memory$$
while read -r device bytes; do
    kibibytes=$(peak_of "$device" "$bytes")
    awk -v d="$device" -v k="$kibibytes" -v b="$bytes" \
        'BEGIN { printf "%-12s %8d KiB image  peak %6d KiB  %.2f x the image\n", d, b / 1024, k, k * 1024 / b }'
done <<'DEVICES'
ARM80-256K 262144
ARM80-1M 1048576
ARM80-8M 8388608
ARM60-8M 8388608
DEVICES
