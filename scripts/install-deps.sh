#!/usr/bin/env bash
# Installs every Debian package the project builds, tests and runs with.
# Safe to run again: packages already present are left alone, and apt is
# only asked when something is missing. The names exist in Debian 12 and 13.
# With --list it only prints the names (scripts/test-platforms.sh builds its
# clean systems from them).
set -euo pipefail

packages=(
  # build and tests
  cmake ninja-build g++ googletest libgtest-dev libgmock-dev libbenchmark-dev
  # HTTP client, URL parsing, the transfer tool used at run time
  libcurl4-openssl-dev curl
  # desktop proxy settings (GSettings)
  libglib2.0-dev
  # property lists
  libplist-dev
  # the alert panel, natively on Wayland too
  qt6-base-dev qt6-wayland
  # the consent question under dpkg and apt (debconf itself is always there),
  # and debconf's protocol manual
  debconf debconf-i18n debconf-doc
  # loopback test servers
  libcpp-httplib-dev libssl-dev openssl
  # transport tests: a real (authenticating) proxy, GNOME settings in a private D-Bus session
  tinyproxy dbus dconf-gsettings-backend gsettings-desktop-schemas
  # the one test that runs the panel under a real X server
  xvfb xauth fonts-dejavu-core
  # fuzzing
  clang libclang-rt-dev
  # Debian packages of our own: the build, its checks, the API reference
  # (dpkg-checkbuilddeps wants build-essential)
  build-essential dpkg-dev debhelper devscripts lintian autopkgtest doxygen pkgconf
)

if [ "${1:-}" = --list ]; then
  printf '%s\n' "${packages[@]}"
  exit 0
fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

sudo=""
if [ "$(id -u)" -ne 0 ]; then
  sudo="sudo"
fi

echo "installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
