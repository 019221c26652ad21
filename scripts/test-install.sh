#!/usr/bin/env bash
# Installs the default build into a temporary prefix and builds the consumer
# example against it twice, through the CMake package and through pkg-config,
# running it each time.
set -euo pipefail
cd "$(dirname "$0")/.."

prefix="$(mktemp -d)"
work="$(mktemp -d)"
trap 'rm -rf "$prefix" "$work"' EXIT

cmake --install build/default --prefix "$prefix" >/dev/null
test -x "$prefix/lib/quorvel/QuorvelInstaller.app/Contents/MacOS/QuorvelInstaller"

echo "-- consumer through find_package(Quorvel)"
cmake -S examples/consumer -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
"$work/cmake/consumer"

echo "-- consumer through pkg-config"
# shellcheck disable=SC2046
g++ -std=c++17 examples/consumer/main.cpp -o "$work/consumer-pc" \
    $(PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --define-prefix --cflags --libs quorvel)
"$work/consumer-pc"
