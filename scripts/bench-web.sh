#!/usr/bin/env bash
# The console's benchmark: writes a year of logs, 10 million access lines (about 0.9 GB, on
# /dev/shm unless --dir is given), starts sarvik-web on them and times its answers beside
# sarvik-log's: pages, a rare string, a month's summaries, 20 clients at once, the export of every
# line with the server's memory, and follow. Prints the table and keeps it in
# build/bench-web-results/.
#   scripts/bench-web.sh [--lines N] [--seed N] [--dir DIR] [--clients N] [--seconds N] [--keep]
#                        [--build-dir DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir=build/bench pass=()
while [ $# -gt 0 ]; do
  case $1 in
    --build-dir) build_dir=$2 ;;
    --lines | --seed | --dir | --clients | --seconds) pass+=("$1" "$2") ;;
    --keep) pass+=("$1") && shift && continue ;;
    *) sed -n '8,9p' "$0" | sed 's/^#  */usage: /' >&2 && exit 2 ;;
  esac
  shift 2
done
scripts/install-deps.sh time python3
if [ "$build_dir" = build/bench ]; then
  scripts/build.sh build/bench -DCMAKE_BUILD_TYPE=RelWithDebInfo -DSARVIK_TESTS=OFF >/dev/null
else
  cmake --build "$build_dir" --target sarvik-web sarvik-log log-corpus >/dev/null
fi
bench/web/run.sh --corpus "$build_dir/bench/log/log-corpus" --web "$build_dir/tools/sarvik-web" \
  --log "$build_dir/tools/sarvik-log" --out build/bench-web-results "${pass[@]}"
