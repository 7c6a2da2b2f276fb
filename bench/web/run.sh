#!/usr/bin/env bash
# The console's benchmark runner: writes (or reuses) a corpus with log-corpus, starts sarvik-web
# on it and runs load.py, which times the server's answers beside sarvik-log's and prints the
# table; the corpus is removed at the end unless --keep is given.
#   run.sh --corpus BIN --web BIN --log BIN --out DIR [--dir DIR] [--lines N] [--seed N]
#          [--clients N] [--seconds N] [--keep]
set -euo pipefail
corpus_bin="" web="" log="" out="" dir="/dev/shm/sarvik-web-bench" lines=10000000 seed=1
clients=20 seconds=20 keep=0
while [ $# -gt 0 ]; do
  case $1 in
    --corpus) corpus_bin=$2 ;;
    --web) web=$2 ;;
    --log) log=$2 ;;
    --out) out=$2 ;;
    --dir) dir=$2 ;;
    --lines) lines=$2 ;;
    --seed) seed=$2 ;;
    --clients) clients=$2 ;;
    --seconds) seconds=$2 ;;
    --keep) keep=1 && shift && continue ;;
    *) sed -n '5,6p' "$0" | sed 's/^#  */usage: /' >&2 && exit 2 ;;
  esac
  shift 2
done
[ -n "$corpus_bin" ] && [ -n "$web" ] && [ -n "$log" ] && [ -n "$out" ] || {
  sed -n '5,6p' "$0" | sed 's/^#  */usage: /' >&2
  exit 2
}
here=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$out"
corpus_bin=$(realpath "$corpus_bin") web=$(realpath "$web") log=$(realpath "$log")
out=$(realpath "$out")
if [ ! -f "$dir/corpus.sh" ]; then
  echo "Writing $lines access lines below $dir ..." >&2
  "$corpus_bin" --root "$dir" --lines "$lines" --seed "$seed" >"$out/corpus.sh"
  cp "$out/corpus.sh" "$dir/corpus.sh"
fi
state=$(mktemp -d)
port=18600
pid_file=$out/restart.sh.pid
cleanup() {
  [ -f "$pid_file" ] && kill "$(cat "$pid_file")" 2>/dev/null || true
  rm -rf "$state"
  [ "$keep" = 1 ] || rm -rf "$dir"
}
trap cleanup EXIT
# Starts the server afresh (load.py calls it again before the export, for a clean peak RSS).
cat >"$out/restart.sh" <<SCRIPT
#!/usr/bin/env bash
[ -f "$pid_file" ] && kill "\$(cat "$pid_file")" 2>/dev/null && sleep 1
rm -f "$out/web.log"
"$web" --root "$dir" --state-dir "$state" --listen 127.0.0.1:$port >"$out/web.log" 2>&1 &
echo \$! >"$pid_file"
for _ in \$(seq 50); do grep -q 'listening on' "$out/web.log" && exit 0; sleep 0.1; done
exit 1
SCRIPT
chmod +x "$out/restart.sh"
"$out/restart.sh"
python3 "$here/load.py" --url "http://127.0.0.1:$port" --token "$(cat "$state/token")" \
  --log "$log" --root "$dir" --corpus "$dir/corpus.sh" --pid "$(cat "$pid_file")" \
  --restart "$out/restart.sh" --clients "$clients" --seconds "$seconds" | tee "$out/table.md"
