#!/usr/bin/env bash
# Build the 32-bit Windows plug-in and pack it: dist/kx3mpu6-VERSION-win32.zip.
#
#   scripts/build-windows.sh
#
# The last line of output is the file's path.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh

readonly bin=build/windows/bin
readonly plugin=(kx3mpu6.dll kx3mpu6.assembly.manifest kx3mpu6.tlb)
readonly simulator=(kx6io.dll kx3io.dll kx3host.dll)

scripts/setup.sh windows
cmake --preset windows >/dev/null
cmake --build --preset windows -j "$(jobs)" --target kx3mpu6 kx6io kx3io kx3host | tail -n 1

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' build/windows/CMakeCache.txt)
name=kx3mpu6-$version-win32
rm -rf "dist/$name" "dist/$name.zip"
mkdir -p "dist/$name/simulator"
cp "${plugin[@]/#/$bin/}" "dist/$name/"
cp "${simulator[@]/#/$bin/}" "dist/$name/simulator/"
i686-w64-mingw32-strip "dist/$name/simulator/"*.dll
cp plugin/com/README.txt "dist/$name/"
cp simulator/com/README.txt "dist/$name/simulator/"
(cd dist && cmake -E tar cf "$name.zip" --format=zip "$name")
printf 'dist/%s.zip\n' "$name"
