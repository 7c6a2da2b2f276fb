#!/usr/bin/env bash
# The soak run: a million records, system and access mixed, through the real service (release
# build) with an alert rule that fires; then checks that every record is in its log once and in
# order across the rotations, every hit mailed, no descriptor left open, and resident memory
# flat, and prints the figures. Takes some minutes; not part of scripts/test.sh. Needs root
# (private mount namespaces).
#   scripts/soak.sh                          one million records
#   SARVIK_SOAK_RECORDS=100000 scripts/soak.sh
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh build/release -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build/release --target soak_test
exec build/release/tests/soak/soak_test
