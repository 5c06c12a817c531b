#!/usr/bin/env bash
# All figures of speed and memory against their goals, in one table: the engine's own beside the bare
# work, whole mpu6 processes in turn with other programs'. Exit code 1 when a goal is not met.
#
#   bench/compare.sh [FOLDER OF mpu6]     (build/release/bin)
#
# FLASHROM and AVRDUDE name the programs to compare with, else those on the path.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh build
scripts/setup.sh bench || true # without the other programs the table says so
if [ $# -eq 0 ]; then
    cmake --preset release >/dev/null
    cmake --build --preset release --target mpu6 kx3mpu6 kx6io kx3io mpu6records engine_bench >/dev/null
fi
exec python3 bench/compare.py "${1:-build/release/bin}"
