#!/usr/bin/env bash
# Installs what is missing, builds everything, and runs the main job: the
# companion app's install operation on the sample bundle, with no display.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default

app=build/default/QuorvelInstaller.app/Contents/MacOS/QuorvelInstaller
marker=/tmp/com.quorvel.install.go
log="$(mktemp)"
trap 'rm -f "$log"' EXIT

echo "== running the install operation of $(dirname "$(dirname "$(dirname "$app")")")"
status=0
env -u DISPLAY -u WAYLAND_DISPLAY "$app" 2>"$log" || status=$?
echo "exit status: $status"
echo "log lines:"
sed 's/^/  /' "$log"
if [ -e "$marker" ]; then
    echo "marker file: $(ls -l "$marker")"
else
    echo "marker file: $marker is missing"
fi
exit "$status"
