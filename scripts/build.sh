#!/usr/bin/env bash
# Configures and builds one build tree: scripts/build.sh <dir> [cmake options...]
set -euo pipefail
cd "$(dirname "$0")/.."
dir=$1
shift
cmake -S . -B "$dir" -G Ninja -DSARVIK_WERROR=ON "$@" >/dev/null
cmake --build "$dir"
