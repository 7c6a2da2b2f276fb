#!/usr/bin/env bash
# The query benchmark: writes a log volume of 10 million access lines over 12 months (about
# 0.9 GB, on /dev/shm unless --dir is given) and times sarvik-log's four questions beside rg,
# grep and awk. Prints the table and keeps it, with the raw timings, in build/bench-log-results/.
#   scripts/bench-log.sh [--lines N] [--reps N] [--seed N] [--dir DIR] [--tool BIN]
#                        [--build-dir DIR] [--keep]
# Defaults: 10000000 lines, 5 rounds over all commands, seed 1, the tool of the build, and a
# release build of its own in build/bench (--build-dir reuses a configured release tree).
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir=build/bench tool="" pass=()
while [ $# -gt 0 ]; do
  case $1 in
    --build-dir) build_dir=$2 ;;
    --tool) tool=$2 ;;
    --lines | --reps | --seed | --dir) pass+=("$1" "$2") ;;
    --keep) pass+=("$1") && shift && continue ;;
    *)
      sed -n '5,6p' "$0" | sed 's/^#  */usage: /' >&2
      exit 2
      ;;
  esac
  shift 2
done
scripts/install-deps.sh ripgrep hyperfine time
if [ "$build_dir" = build/bench ]; then
  scripts/build.sh build/bench -DCMAKE_BUILD_TYPE=RelWithDebInfo -DSARVIK_TESTS=OFF >/dev/null
else
  cmake --build "$build_dir" >/dev/null
fi
[ -n "$tool" ] || tool=$build_dir/tools/sarvik-log
if [ ! -x "$tool" ]; then
  echo "bench-log.sh: no sarvik-log at $tool; timing the other tools only" >&2
fi
bench/log/run.sh --corpus "$build_dir/bench/log/log-corpus" --tool "$tool" \
  --out build/bench-log-results "${pass[@]}"
