#!/usr/bin/env bash
# Runs the service in the foreground on the sample settings, inside a private mount namespace with
# empty tmpfs on /mnt, /tmp and /var/lock, so the host's /mnt/data and /tmp/sarvik stay untouched.
# Stub notice scripts print every request they receive. Stop it with Ctrl-C.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh build/release >/dev/null
echo "Built build/release."

options=(--mount --propagation private)
[ "$(id -u)" -eq 0 ] || options+=(--map-root-user)  # unprivileged: a user namespace of our own
exec unshare "${options[@]}" -- bash scripts/demo/inside.sh "$(pwd)"
