#!/usr/bin/env bash
# The end-to-end benchmark: the service against two baseline servers in plain C, on fresh tmpfs
# volumes in a private mount namespace. Needs root. Prints the table and writes the raw passes to
# build/bench-results/.
#   scripts/bench.sh [--records N] [--reps N] [--rss-records N] [--build-dir DIR]
#                    [--servers 'SERVER ...']
# Defaults: 20000 records per pass, 5 repetitions, 100000 records for the memory pass, a release
# build of its own in build/bench (--build-dir reuses a configured release tree), and every
# server (--servers measures only those named, for instance 'floor-io sarvik sarvik-seal').
set -euo pipefail
cd "$(dirname "$0")/.."
records=20000 reps=5 rss_records=100000 build_dir=build/bench servers=""
while [ $# -gt 0 ]; do
  case $1 in
    --records) records=$2 ;;
    --reps) reps=$2 ;;
    --rss-records) rss_records=$2 ;;
    --build-dir) build_dir=$2 ;;
    --servers) servers=$2 ;;
    *)
      echo "usage: scripts/bench.sh [--records N] [--reps N] [--rss-records N] [--build-dir DIR]" \
        "[--servers 'SERVER ...']" >&2
      exit 2
      ;;
  esac
  shift 2
done
if [ "$(id -u)" -ne 0 ]; then
  echo "scripts/bench.sh needs root (mount namespaces, strace of the server)" >&2
  exit 1
fi
case $(pwd) in
  /mnt/* | /tmp/* | /var/lock/*)
    echo "scripts/bench.sh: the checkout must not lie below /mnt, /tmp or /var/lock" >&2
    exit 1
    ;;
esac
scripts/install-deps.sh
if [ "$build_dir" = build/bench ]; then
  scripts/build.sh build/bench -DCMAKE_BUILD_TYPE=RelWithDebInfo -DSARVIK_TESTS=OFF >/dev/null
else
  cmake --build "$build_dir" --target sarvik sarvik-forwarding sarvik-log e2e-load floor-min \
    floor-io libs-floor >/dev/null
fi

results=build/bench-results
rm -rf "$results"
mkdir -p "$results"
echo "records=$records reps=$reps rss_records=$rss_records servers=$servers" >"$results/settings.txt"
# shellcheck disable=SC2086  # the servers are words
unshare --mount --net --propagation private -- \
  bash bench/e2e/run.sh "$(cd "$build_dir" && pwd)" "$(pwd)/$results" "$records" "$reps" \
  "$rss_records" $servers
bench/e2e/report.sh "$results" | tee "$results/table.md"
