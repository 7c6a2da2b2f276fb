#!/usr/bin/env bash
# Installs the Debian packages that the project needs, when missing, and those named as
# arguments (a benchmark's tools):
#   scripts/install-deps.sh [--demo] [package...]
# With --demo only what building and running the programs takes (scripts/demo.sh); without it
# also what the tests, the checks, the package and the fuzzing take (scripts/test.sh, CI).
# As root it runs apt-get; otherwise it prints the command to run and fails.
set -euo pipefail

# Building the programs and running them.
packages=(
  g++ cmake ninja-build pkg-config dpkg-dev util-linux
  libxml++2.6-dev libglibmm-2.4-dev libxml2-dev
  libcli11-dev libre2-dev libmicrohttpd-dev libxxhash-dev libsodium-dev nettle-dev
)
# The tests, benchmarks, checks, the package and the fuzzing.
ci_packages=(
  nlohmann-json3-dev googletest libgtest-dev libgmock-dev libbenchmark-dev
  strace tzdata file lintian groff-base man-db systemd procps
  clang libclang-rt-dev clang-format clang-tidy git
  rsyslog rsyslog-relp
  chromium chromium-driver python3-selenium
)

if [ "${1:-}" = --demo ]; then
  shift
else
  packages+=("${ci_packages[@]}")
fi
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
