#!/usr/bin/env bash
# Builds the two Debian packages from the default build, checks them with
# lintian (no error allowed), installs both into a private root and runs the
# installed app's install operation there, headless.
set -euo pipefail
cd "$(dirname "$0")/.."

out="$(mktemp -d)"
root="$(mktemp -d)"
trap 'rm -rf "$out" "$root"' EXIT

(cd build/default && cpack -G DEB -B "$out" >/dev/null)
debs=("$out"/*.deb)
echo "-- packages: $(basename -a "${debs[@]}" | tr '\n' ' ')"

for deb in "${debs[@]}"; do
    report="$(lintian --tag-display-limit 0 "$deb" 2>&1 | grep -v 'running with root privileges' || true)"
    [ -n "$report" ] && printf '%s\n' "$report"
    if printf '%s\n' "$report" | grep -q '^E: '; then
        echo "lintian found errors in $(basename "$deb")" >&2
        exit 1
    fi
done

# A private dpkg database; the system's own packages satisfy the dependencies.
mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates"
touch "$root/var/lib/dpkg/status"
dpkg --root="$root" --force-script-chrootless --force-depends --force-not-root -i "${debs[@]}" >/dev/null 2>&1

marker=/tmp/com.quorvel.install.go
rm -f "$marker"
app="$root/usr/lib/quorvel/QuorvelInstaller.app/Contents/MacOS/QuorvelInstaller"
env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "$app"
test -f "$marker" && test ! -s "$marker"
test -x "$root/usr/bin/quorvel-diag"
"$root/usr/bin/quorvel-diag" --version
echo "-- installed app ran its install operation from the private root; marker $marker written"
