#!/usr/bin/env bash
# The verifier's benchmark: writes the query benchmark's year of logs (10 million access lines,
# on /dev/shm unless --dir names a corpus kept by scripts/bench-log.sh --keep), seals it with the
# service's own sealer and times sarvik-log --verify, with and without the key, beside
# sarvik-log's full scans of the same year. Needs root: the sealing state lies at its fixed place
# in a private mount namespace. Prints the table and keeps it in build/bench-verify-results/.
#   scripts/bench-verify.sh [--lines N] [--reps N] [--dir DIR] [--build-dir DIR]
# Defaults: 10000000 lines, 3 rounds, and a release build of its own in build/bench
# (--build-dir reuses a configured release tree).
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir=build/bench lines=10000000 reps=3 dir=""
while [ $# -gt 0 ]; do
  case $1 in
    --build-dir) build_dir=$2 ;;
    --lines) lines=$2 ;;
    --reps) reps=$2 ;;
    --dir) dir=$2 ;;
    *)
      sed -n '8p' "$0" | sed 's/^#  */usage: /' >&2
      exit 2
      ;;
  esac
  shift 2
done
if [ "$(id -u)" -ne 0 ]; then
  echo "scripts/bench-verify.sh needs root (a mount namespace for the sealing state)" >&2
  exit 1
fi
scripts/install-deps.sh hyperfine time
if [ "$build_dir" = build/bench ]; then
  scripts/build.sh build/bench -DCMAKE_BUILD_TYPE=RelWithDebInfo -DSARVIK_TESTS=OFF >/dev/null
else
  cmake --build "$build_dir" --target sarvik-log log-corpus seal-corpus >/dev/null
fi
out=build/bench-verify-results
rm -rf "$out"
mkdir -p "$out"
if [ -z "$dir" ]; then
  dir=$(mktemp -d /dev/shm/sarvik-bench-verify.XXXXXX)
  trap 'rm -rf "$dir"' EXIT
fi
if [ ! -f "$dir/corpus.sh" ]; then
  echo "Writing $lines access lines below $dir ..." >&2
  "$build_dir/bench/log/log-corpus" --root "$dir" --lines "$lines" --seed 1 >"$dir/corpus.sh"
fi
unshare --mount --propagation private -- \
  bash bench/seal/verify_run.sh "$(cd "$build_dir" && pwd)" "$(pwd)/$out" "$dir" "$reps" |
  tee "$out/table.md"
