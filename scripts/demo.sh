#!/usr/bin/env bash
# Runs the service in the foreground on the sample settings, inside a private mount namespace with
# empty tmpfs on /mnt, /tmp and /var/lock, so the host's /mnt/data and /tmp/sarvik stay untouched,
# and the log console sarvik-web beside it on http://127.0.0.1:8514 (it prints the address to
# open). Stub notice scripts print every request they receive. Stop it with Ctrl-C.
# It installs and builds only what it runs: no tests, no benchmarks.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh --demo
scripts/build.sh build/demo -DCMAKE_BUILD_TYPE=RelWithDebInfo -DSARVIK_TESTS=OFF \
  -DSARVIK_BENCH=OFF >/dev/null
echo "Built build/demo."

options=(--mount --propagation private)
[ "$(id -u)" -eq 0 ] || options+=(--map-root-user)  # unprivileged: a user namespace of our own
exec unshare "${options[@]}" -- bash scripts/demo/inside.sh "$(pwd)"
