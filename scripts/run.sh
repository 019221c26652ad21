#!/usr/bin/env bash
# Installs what is missing, builds everything, and runs the main job.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default

./build/default/examples/sysinfo/quorvel_sysinfo
