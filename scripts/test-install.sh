#!/usr/bin/env bash
# Installs the default build into a temporary prefix and builds the consumer
# example against it twice, through the CMake package and through pkg-config,
# running it each time. Only the public headers may be installed.
set -euo pipefail
cd "$(dirname "$0")/.."

prefix="$(mktemp -d)"
work="$(mktemp -d)"
trap 'rm -rf "$prefix" "$work"' EXIT

cmake --install build/default --prefix "$prefix" >/dev/null
test -x "$prefix/lib/quorvel/QuorvelInstaller.app/Contents/MacOS/QuorvelInstaller"
headers="$(cd "$prefix/include/quorvel" && find . -name '*.h' | sort | tr '\n' ' ')"
expected="./comm/CommunicationLibrary.h ./comm/MyUrlConnection.h ./utils/Conversions.h \
./utils/DiagnosticLog.h ./utils/Export.h ./utils/FileHelpers.h ./utils/LockableImpl.h \
./utils/SystemInfo.h ./utils/Utils.h ./utils/WideString.h ./xml/XMLUtility.h "
if [ "$headers" != "$expected" ]; then
    echo "installed headers: $headers" >&2
    echo "expected:          $expected" >&2
    exit 1
fi

echo "-- consumer through find_package(Quorvel)"
cmake -S examples/consumer -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
"$work/cmake/consumer"

echo "-- consumer through pkg-config"
# shellcheck disable=SC2046
g++ -std=c++17 examples/consumer/main.cpp -o "$work/consumer-pc" \
    $(PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --define-prefix --cflags --libs quorvel)
LD_LIBRARY_PATH="$prefix/lib" "$work/consumer-pc"
