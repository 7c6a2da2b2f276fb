#!/usr/bin/env bash
# Installs the Debian packages that building, testing, packaging and running the demo need, when
# missing, and those named as arguments (a benchmark's tools).
# As root it runs apt-get; otherwise it prints the command to run and fails.
set -euo pipefail

packages=(
  g++ cmake ninja-build pkg-config
  libxml++2.6-dev libglibmm-2.4-dev libxml2-dev
  libcli11-dev libre2-dev nlohmann-json3-dev libsodium-dev libssl-dev
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  util-linux strace tzdata
  dpkg-dev file lintian groff-base man-db systemd procps
  clang libclang-rt-dev clang-format clang-tidy git
  rsyslog rsyslog-relp
)

# Tools of a benchmark, named by its runner.
packages+=("$@")

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
    missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

if [ "$(id -u)" -ne 0 ]; then
  echo "Missing Debian packages: ${missing[*]}" >&2
  echo "Install them with: sudo apt-get install -y ${missing[*]}" >&2
  exit 1
fi
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends "${missing[@]}"
