#!/usr/bin/env bash
# Cross-compiles the UTF-8 and XML fuzz targets with their kernels for arm64
# (statically, with the replay main in place of libFuzzer) and runs them
# under qemu-aarch64-static: each target forces every kernel the emulated
# processor can run (scalar and NEON) and holds it to the scalar reference.
# Needs g++-aarch64-linux-gnu and qemu-user-static.
set -euo pipefail
cd "$(dirname "$0")/.."

out="${TMPDIR:-/tmp}/quorvel-arm64-kernels.$$"
mkdir -p "$out"
trap 'rm -rf --one-file-system "$out"' EXIT

cxx=(aarch64-linux-gnu-g++ -std=c++23 -O2 -g -static -I. -Wall -Wextra)
kernels=(utils/KernelChoice.cpp utils/Utf8Kernels.cpp utils/Utf8KernelsNeon.cpp)
scans=(xml/ReferenceScan.cpp xml/ReferenceScanNeon.cpp xml/XMLReferences.cpp xml/XMLUtility.cpp)

"${cxx[@]}" -o "$out/utils_conversions_fuzz" fuzz/utils_conversions_fuzz.cpp fuzz/replay_main.cpp \
    utils/Conversions.cpp "${kernels[@]}"
"${cxx[@]}" -o "$out/xml_utility_fuzz" fuzz/xml_utility_fuzz.cpp fuzz/replay_main.cpp \
    "${scans[@]}" utils/KernelChoice.cpp

for target in utils_conversions_fuzz xml_utility_fuzz; do
    echo "-- $target (arm64, emulated)"
    seeds=()
    if [ -d "fuzz/seeds/$target" ]; then
        seeds=(fuzz/seeds/"$target"/*)
    fi
    qemu-aarch64-static "$out/$target" "${seeds[@]}"
done
