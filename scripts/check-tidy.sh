#!/usr/bin/env bash
# Runs clang-tidy with the checks of .clang-tidy over every source of src/ and tools/, with the
# compile commands of a configured tree: scripts/check-tidy.sh [build dir, default build/release].
set -euo pipefail
cd "$(dirname "$0")/.."
tree=${1:-build/release}
[ -f "$tree/compile_commands.json" ] || { echo "check-tidy: no $tree/compile_commands.json" >&2; exit 1; }
git ls-files -z 'src/*.cc' 'tools/*.cc' |
  xargs -0 -P "$(nproc)" -n 4 clang-tidy -p "$tree" --quiet 2>/dev/null
