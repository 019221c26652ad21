#!/usr/bin/env bash
# Builds the Debian packages with dpkg-buildpackage from a copy of the tree
# (the working tree stays clean), checks them with lintian (no error and no
# warning), and runs debian/tests against them installed on this machine
# (autopkgtest's null runner). Everything the run installed is purged again,
# also when it fails. On a machine that others test on too, run it under
# `flock /tmp/quorvel-app.lock`: it installs packages and runs the companion,
# which writes the shared marker file.
#
# Packages are per release: the version gets the suffix ~debNNu1 of the
# release it is built on (0.1.0~deb12u1 < 0.1.0~deb13u1 < 0.1.0), so an
# upgrade from Debian 12 to 13 replaces them. With --host-arch ARCH (arm64)
# the packages are cross-built for ARCH and checked with lintian only.
set -euo pipefail
cd "$(dirname "$0")/.."

host_arch=""
if [ "${1:-}" = --host-arch ]; then
    host_arch="$2"
fi

packages=(libquorvel0 libquorvel-dev quorvel-installer-companion quorvel-diag)
for package in "${packages[@]}"; do
    if dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
        echo "$package is installed already; remove it before testing the packages" >&2
        exit 1
    fi
done

out="$(mktemp -d)"
trap 'rm -rf "$out"' EXIT
mkdir "$out/quorvel"
git ls-files -co --exclude-standard -z | tar -cf - --null -T - | tar -xf - -C "$out/quorvel"

# The release's suffix, added to the copy's changelog: one changelog in the tree.
. /etc/os-release
if [ -n "${VERSION_ID:-}" ]; then
    (cd "$out/quorvel" && DEBFULLNAME="Quorvel developers" DEBEMAIL="dev@quorvel.com" \
        dch --local "~deb${VERSION_ID}u" --distribution "$VERSION_CODENAME" --force-distribution \
        "Build for Debian $VERSION_ID." >/dev/null 2>&1)
fi

echo "-- dpkg-buildpackage ${host_arch:+-a $host_arch }($(dpkg-parsechangelog -l "$out/quorvel/debian/changelog" -S Version))"
build_options=(-b -us -uc)
if [ -n "$host_arch" ]; then
    # The tests ran under emulation already.
    # shellcheck disable=SC2054 # one option: the profiles' list
    build_options+=(-a "$host_arch" -Pcross,nocheck)
    export DEB_BUILD_OPTIONS="nocheck ${DEB_BUILD_OPTIONS:-}"
fi
if ! (cd "$out/quorvel" && DEB_BUILD_OPTIONS="parallel=$(nproc) ${DEB_BUILD_OPTIONS:-}" \
        dpkg-buildpackage "${build_options[@]}" >"$out/build.log" 2>&1); then
    tail -n 40 "$out/build.log" >&2
    exit 1
fi
debs=()
for package in "${packages[@]}"; do
    debs+=("$out/${package}_"*.deb)
done
for deb in "${debs[@]}"; do
    printf '   %-48s %6s KiB\n' "$(basename "$deb")" "$(($(stat -c %s "$deb") / 1024))"
done

echo "-- lintian"
report="$(lintian --tag-display-limit 0 --pedantic "$out"/*.changes 2>&1 |
    grep -v 'running with root privileges' || true)"
[ -n "$report" ] && printf '%s\n' "$report"
if printf '%s\n' "$report" | grep -q '^[EW]: '; then
    echo "lintian found errors or warnings" >&2
    exit 1
fi
echo "   no errors, no warnings"
[ -z "$host_arch" ] || exit 0

echo "-- autopkgtest (installs the packages here, purges them afterwards)"
state() {
    dpkg-query -W -f='${db:Status-Abbrev} ${Package}\n' | awk '$1 != "un"' | sort
}
state >"$out/before"
purge() {
    local added
    added="$(state | comm -23 - "$out/before" | awk '{print $2}')"
    if [ -n "$added" ]; then
        # shellcheck disable=SC2086 # one package name per word
        apt-get -o DPkg::Lock::Timeout=600 purge -y -qq $added >/dev/null
    fi
    rm -rf "$out"
}
trap purge EXIT
status=0
autopkgtest --no-built-binaries "${debs[@]}" "$out/quorvel" -- null >"$out/autopkgtest.log" 2>&1 || status=$?
sed -n '/@@@ summary/,$p' "$out/autopkgtest.log" | grep -E '^[a-z-]+ +[A-Z]+' || true
if [ "$status" -ne 0 ]; then
    for test in $(awk '$2 == "FAIL" {print $1}' "$out/autopkgtest.log" | sort -u); do
        sed -n "/test $test: \[/,/test $test: *- - -/p" "$out/autopkgtest.log" >&2
    done
    echo "autopkgtest failed (status $status)" >&2
    exit 1
fi
