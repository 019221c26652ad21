#!/usr/bin/env bash
# Proves the tree on the other systems we support, each in a clean chroot
# made from the configured Debian mirror, on a fresh clone of this tree:
#   - Debian 13 x86-64: the README's two commands, scripts/run.sh and
#     scripts/test.sh (no compiler warnings);
#   - Debian 12 arm64: the cross build (app included, no warnings), every test
#     and the differential fuzz targets under qemu-user, and the arm64 packages
#     (cross dpkg-buildpackage, lintian).
# Run as root on Debian 12. The base systems are cached as tarballs in
# /var/cache/quorvel-platforms, keyed by release, architectures and package
# list; each run unpacks a fresh one. Every mount is undone and the chroots
# are removed, also on failure. Usage: scripts/test-platforms.sh [--prepare] [trixie] [arm64]
set -euo pipefail
cd "$(dirname "$0")/.."
src="$PWD"

cache="${QUORVEL_PLATFORM_CACHE:-/var/cache/quorvel-platforms}"
mirror="$(cat /etc/apt/sources.list.d/*.sources 2>/dev/null | sed -n 's|^URIs: *\(http[^ ]*/debian\)/*$|\1|p' | head -n1)"
mirror="${mirror:-http://deb.debian.org/debian}"
prepare=""
if [ "${1:-}" = --prepare ]; then # only make the base systems
    prepare=1
    shift
fi
legs=("$@")
[ ${#legs[@]} -gt 0 ] || legs=(trixie arm64)

if [ "$(id -u)" -ne 0 ]; then
    echo "run as root: the chroots need mounts" >&2
    exit 1
fi
if ! command -v mmdebstrap >/dev/null; then
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends mmdebstrap >/dev/null
fi

started=$SECONDS
step_start=$SECONDS
step() {
    echo "== [$(date -u +%H:%M:%S)] $*"
    step_start=$SECONDS
}
step_done() {
    echo "   done in $((SECONDS - step_start)) s"
}

# Native tools and the arm64 development packages for the cross build, its
# tests (servers and X run natively; test programs under qemu) and packages.
arm64_packages=(
    build-essential crossbuild-essential-arm64 cmake ninja-build pkgconf pkgconf:arm64 git file
    qemu-user-static proot googletest qt6-base-dev qt6-base-dev-tools
    libgtest-dev:arm64 libgmock-dev:arm64 libbenchmark-dev:arm64
    libcurl4-openssl-dev:arm64 libglib2.0-dev:arm64 libplist-dev:arm64
    qt6-base-dev:arm64 qt6-wayland:arm64 libcpp-httplib-dev:arm64 libssl-dev:arm64
    dconf-gsettings-backend:arm64 curl openssl tinyproxy dbus dconf-service
    gsettings-desktop-schemas libglib2.0-bin xvfb xauth fonts-dejavu-core debconf-doc
    dpkg-dev debhelper devscripts lintian doxygen
)

# Prints the cached base tarball for a release, making it first if needed.
base() {
    local suite=$1 archs=$2
    shift 2
    local key
    key="$(printf '%s\n' "$suite" "$archs" "$mirror" "$@" | sort | sha256sum | cut -c1-16)"
    local tarball="$cache/$suite-${archs//,/-}-$key.tar"
    if [ ! -s "$tarball" ]; then
        mkdir -p "$cache"
        rm -f "$cache/$suite-${archs//,/-}-"*.tar
        local include
        include="$(IFS=,; echo "$*")"
        mmdebstrap --quiet --variant=apt --format=tar --architectures="$archs" --include="$include" \
            --aptopt='Acquire::Retries "3"' \
            "$suite" "$tarball.part" "deb $mirror $suite main" >&2
        mv "$tarball.part" "$tarball"
    fi
    echo "$tarball"
}

# Chroots and their mounts, undone in reverse order by cleanup.
roots=()
cleanup() {
    local root mnt proc
    for root in "${roots[@]}"; do
        # Daemons a test left behind in there (by their root folder).
        for proc in /proc/[0-9]*; do
            if [ "$(readlink "$proc/root" 2>/dev/null)" = "$root" ]; then
                kill -KILL "${proc#/proc/}" 2>/dev/null || true
            fi
        done
        sleep 1
        # shellcheck disable=SC2013 # mount points have no blanks
        for mnt in $(awk -v r="$root/" 'index($5, r) == 1 {print $5}' /proc/self/mountinfo | sort -r); do
            umount "$mnt" || umount -l "$mnt"
        done
        if awk -v r="$root/" 'index($5, r) == 1 {found = 1} END {exit !found}' /proc/self/mountinfo; then
            echo "still mounted under $root; not removing it" >&2
            continue
        fi
        rm -rf --one-file-system "$root"
    done
}
trap cleanup EXIT
trap 'exit 130' INT TERM HUP

# Unpacks a base into a new chroot with its own /proc, /sys (read-only), /dev,
# /dev/pts and /dev/shm, and a fresh clone of this tree (with any uncommitted
# changes) in /src/quorvel. Sets root (not in a subshell: cleanup needs roots).
make_root() {
    local tarball=$1
    root="$(mktemp -d /var/tmp/quorvel-platform.XXXXXX)"
    roots+=("$root")
    tar -C "$root" -xf "$tarball"
    mount -t proc proc "$root/proc"
    mount -t sysfs -o ro sysfs "$root/sys"
    mount -t tmpfs -o mode=755,nosuid dev "$root/dev"
    cp -a /dev/null /dev/zero /dev/full /dev/random /dev/urandom /dev/tty "$root/dev/"
    mkdir "$root/dev/pts" "$root/dev/shm"
    mount -t devpts -o newinstance,ptmxmode=0666,mode=620,gid=5 devpts "$root/dev/pts"
    ln -s pts/ptmx "$root/dev/ptmx"
    mount -t tmpfs -o mode=1777,nosuid,nodev shm "$root/dev/shm"
    printf '127.0.0.1 localhost\n::1 localhost ip6-localhost ip6-loopback\n' >"$root/etc/hosts"
    mkdir -p "$root/src"
    git clone -q --no-hardlinks "$src" "$root/src/quorvel"
    git -C "$src" ls-files -co --exclude-standard -z | tar -cf - --null -T - | tar -xf - -C "$root/src/quorvel"
}

# Runs a command in the clone, with a network of its own (loopback only): the
# tests' servers, X displays and D-Bus sockets never meet the host's. The
# base systems hold every package, so nothing is downloaded in there.
in_root() {
    local root=$1
    shift
    unshare --net --ipc -- sh -c 'ip link set lo up && exec "$@"' sh \
        chroot "$root" /usr/bin/env -i HOME=/root LANG=C.UTF-8 TERM=dumb \
        PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
        bash -c "cd /src/quorvel && $*"
}

# What the README asks of a user: git for the clone, then install-deps.sh.
trixie_base() {
    local packages
    mapfile -t packages < <(bash scripts/install-deps.sh --list)
    base trixie amd64 git "${packages[@]}"
}

counts=()
root=""
trixie() {
    step "Debian 13 x86-64: base system (cached in $cache)"
    local tarball
    tarball="$(trixie_base)"
    step_done
    [ -z "$prepare" ] || return 0
    step "Debian 13 x86-64: fresh chroot and clone"
    make_root "$tarball"
    step_done
    step "Debian 13 x86-64: scripts/run.sh"
    in_root "$root" "bash scripts/run.sh" 2>&1 | tee "$root/run.log"
    step_done
    step "Debian 13 x86-64: scripts/test.sh"
    in_root "$root" "bash scripts/test.sh" 2>&1 | tee "$root/test.log"
    if grep -q ': warning: ' "$root/run.log" "$root/test.log"; then
        echo "the compilers of Debian 13 warn" >&2
        exit 1
    fi
    counts+=("Debian 13 x86-64: $(grep '^tests: ' "$root/test.log" | tail -n1)")
    step_done
}

arm64() {
    step "Debian 12 arm64: base system (cached in $cache)"
    local tarball
    tarball="$(base bookworm amd64,arm64 "${arm64_packages[@]}")"
    step_done
    [ -z "$prepare" ] || return 0
    step "Debian 12 arm64: fresh chroot and clone"
    make_root "$tarball"
    step_done
    step "Debian 12 arm64: cross build (warnings are errors)"
    in_root "$root" "cmake -S . -B build/arm64 -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_TOOLCHAIN_FILE=cmake/aarch64-linux-gnu.cmake -DCMAKE_COMPILE_WARNING_AS_ERROR=ON >/dev/null \
        && cmake --build build/arm64 -j $(nproc) && file -b build/arm64/QuorvelInstaller.app/Contents/MacOS/QuorvelInstaller"
    step_done
    step "Debian 12 arm64: every test under qemu-user"
    in_root "$root" "ctest --test-dir build/arm64 -j $(nproc) --output-on-failure" 2>&1 | tee "$root/ctest.log"
    local count
    count="$(sed -n 's/.*tests passed, 0 tests failed out of \([0-9]*\).*/\1/p' "$root/ctest.log")"
    [ -n "$count" ] || exit 1
    counts+=("Debian 12 arm64: tests: $count passed, 0 failed")
    step_done
    step "Debian 12 arm64: the differential fuzz targets under qemu-user, every kernel forced"
    in_root "$root" "bash scripts/arm64-kernels.sh"
    step_done
    step "Debian 12 arm64: packages (cross dpkg-buildpackage -a arm64, lintian)"
    in_root "$root" "bash scripts/test-packages.sh --host-arch arm64"
    step_done
}

for leg in "${legs[@]}"; do
    case "$leg" in
    trixie | arm64) "$leg" ;;
    *)
        echo "unknown system: $leg (trixie, arm64)" >&2
        exit 1
        ;;
    esac
done
printf '%s\n' "${counts[@]}"
echo "== all systems passed in $((SECONDS - started)) s"
