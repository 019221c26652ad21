#!/usr/bin/env bash
# Installs what is missing, then builds and runs the whole test suite twice
# (optimised, and under AddressSanitizer + UndefinedBehaviorSanitizer), and
# builds and briefly runs the fuzz targets. Fails on the first failure.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh

passed=0
log="$(mktemp)"
trap 'rm -f "$log"' EXIT
for preset in default asan; do
    echo "== build and test: $preset"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset"
    ctest --preset "$preset" -j "$(nproc)" | tee "$log"
    count=$(sed -n 's/.*tests passed, 0 tests failed out of \([0-9]*\).*/\1/p' "$log")
    passed=$((passed + ${count:-0}))
done

echo "== install into a temporary prefix and build the consumer example against it"
bash scripts/test-install.sh

echo "== Debian packages: dpkg-buildpackage, lintian, autopkgtest against the installed packages"
bash scripts/test-packages.sh

# The library's tests once more under ThreadSanitizer.
echo "== build and test: tsan (library)"
cmake --preset tsan >/dev/null
cmake --build --preset tsan
ctest --preset tsan -j "$(nproc)" | tee "$log"
count=$(sed -n 's/.*tests passed, 0 tests failed out of \([0-9]*\).*/\1/p' "$log")
passed=$((passed + ${count:-0}))

echo "== fuzz targets"
bash scripts/fuzz.sh

echo "tests: $passed passed, 0 failed"
