#!/usr/bin/env bash
# Runs a command inside the namespace of the running demo (scripts/demo.sh), where the service's
# socket and logs are: scripts/in-demo.sh <command> [arguments...]
set -euo pipefail
cd "$(dirname "$0")/.."
pid=$(cat build/demo.pid 2>/dev/null) && kill -0 "$pid" 2>/dev/null || {
  echo "in-demo: no demo running; start scripts/demo.sh in another terminal first" >&2
  exit 1
}
if [ "$(id -u)" -eq 0 ]; then
  enter=(nsenter --mount --target "$pid")
else
  enter=(nsenter --user --mount --preserve-credentials --target "$pid")
fi
exec "${enter[@]}" -- env PATH="/tmp/demo-bin:$PATH" "$@"
