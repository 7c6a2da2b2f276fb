#!/usr/bin/env bash
# The query benchmark's runner: writes a corpus with log-corpus, builds sarvik-log's indexes of
# it, then times the six questions, each asked of sarvik-log with its indexes and by its scan
# alone (--no-index) and of the tools an administrator would use without it, side by side with
# warm caches, and prints a Markdown table. Called by scripts/bench-log.sh, which installs
# ripgrep, hyperfine and GNU time and builds the binaries.
#   run.sh --corpus BIN --out DIR [--tool BIN] [--dir DIR] [--lines N] [--reps N] [--seed N]
#          [--keep]
# --dir names the volume to write; one that holds a corpus of an earlier run (its corpus.sh beside
# the logs) is measured again as it is, with its own lines and seed. Without --dir the corpus goes
# to a fresh directory on the memory file system /dev/shm, removed at the end unless --keep is
# given.
# Without --tool, or with a tool that does not exist, the tool's rows read "not run".
# shellcheck disable=SC2154  # the corpus's needles come from the generator's output
set -euo pipefail

corpus_bin="" tool="" out="" dir="" lines=10000000 reps=5 seed=1 keep=0
usage() {
  sed -n '6,7p' "$0" | sed 's/^#  */usage: /' >&2
  exit 2
}
while [ $# -gt 0 ]; do
  case $1 in
    --corpus) corpus_bin=$2 ;;
    --tool) tool=$2 ;;
    --out) out=$2 ;;
    --dir) dir=$2 ;;
    --lines) lines=$2 ;;
    --reps) reps=$2 ;;
    --seed) seed=$2 ;;
    --keep) keep=1 && shift && continue ;;
    *) usage ;;
  esac
  shift 2 || usage
done
if [ -z "$corpus_bin" ] || [ -z "$out" ]; then usage; fi
for needed in hyperfine rg /usr/bin/time awk sort uniq grep; do
  command -v "$needed" >/dev/null || {
    echo "run.sh: $needed is missing (scripts/bench-log.sh installs it)" >&2
    exit 1
  }
done
[ -n "$tool" ] && [ ! -x "$tool" ] && tool=""
mkdir -p "$out"
out=$(cd "$out" && pwd)
rm -f "$out"/run*.csv "$out"/rss* "$out"/output* "$out"/hyperfine*.err

temporary=0
if [ -z "$dir" ]; then
  dir=$(mktemp -d /dev/shm/sarvik-bench-log.XXXXXX)
  if [ "$keep" = 1 ]; then
    echo "The corpus stays below $dir (--dir $dir measures it again)" >&2
  else
    temporary=1
    trap 'rm -rf "$dir"' EXIT
  fi
fi
root=$dir
log=$root/accesslog

if [ -f "$root/corpus.sh" ]; then
  echo "Reusing the corpus below $root" >&2
  cp "$root/corpus.sh" "$out/corpus.sh"
else
  echo "Writing $lines access lines below $root ..." >&2
  "$corpus_bin" --root "$root" --lines "$lines" --seed "$seed" >"$out/corpus.sh"
  cp "$out/corpus.sh" "$root/corpus.sh"
fi
# shellcheck disable=SC1091
. "$out/corpus.sh"
echo "  $(du -sh "$log" | cut -f1) in $access_files files, written in $seconds s" >&2

# Warm the page cache (a no-op on /dev/shm, not on a disk).
find "$root" -type f -exec cat {} + >/dev/null

# The indexes of the closed files, built at once; their size and the time it took. They lie in
# the cache of the user who runs this (root's /var/cache/sarvik) and go with the corpus.
index_note="no sarvik-log given: no indexes"
if [ -n "$tool" ]; then
  echo "Building the indexes ..." >&2
  built=$("$tool" --root "$root" --index)
  echo "  $built" >&2
  index_dir=${built##*indexes in }
  index_seconds=$(sed -n 's/.* in \([0-9.]*\) s;.*/\1/p' <<<"$built")
  index_bytes=$(du -sb "$index_dir" | cut -f1)
  logs_bytes=$(du -sb "$root" | cut -f1)
  index_note=$(awk -v i="$index_bytes" -v l="$logs_bytes" -v s="$index_seconds" 'BEGIN {
    printf "indexes of the closed files: %.1f MB, %.2f %% of the logs (%.2f GB), built in %s s on one core", i / 1e6, 100 * i / l, l / 1e9, s }')
  # A kept corpus keeps its indexes: measured again, it finds them current.
  [ "$temporary" = 1 ] && trap 'rm -rf "$dir" "$index_dir"' EXIT
fi

# Each row: question, role (tool, ref or other), command. The reference of each question is the
# command its budget is measured against; R stands for the volume in the table.
rows=()
add() { rows+=("$(IFS=$'\t' && echo "$*")"); }
# The tool's rows: with its indexes (tool) and by its scan alone (scan).
t=${tool:-sarvik-log}
ask() { # question arguments...
  local question=$1
  shift
  add "$question" tool "$t --root $root $*"
  add "$question" scan "$t --root $root --no-index $*"
}
day_regex="$day_logged [0-9:]{8},$user,"
ask a "--path $path_fragment --output csv"
add a ref "rg -F $path_fragment $log"
add a other "grep -F -r $path_fragment $log"
ask b "--user $user --since $day --until '$day 23:59:59' --output csv"
add b ref "rg '$day_regex' $log/$day_month_dir"
add b other "rg '$day_regex' $log"
add b other "grep -E -r '$day_regex' $log/$day_month_dir"
ask c "--since $month_first --until '$month_last 23:59:59' --stats user"
add c ref "awk -F, '{print \$2}' $log/$month_dir/*.csv | sort | uniq -c"
ask d "--grep $rare_string --output csv"
add d ref "rg -F $rare_string $log"
add d other "grep -F -r $rare_string $log"
ask e "--host $host --output csv"
add e ref "rg -F ,$host, $log"
ask f "--share $failed_share --result fail --output csv"
add f ref "rg ',fail[^,]*,$failed_share,' $log"

# What each question must find, as printed by the generator: lines of the tool's CSV after its
# header, lines of rg and grep, and for the counts one line per user.
expected() {
  case $1 in
    a) echo "$path_lines" ;;
    b) echo "$user_day_lines" ;;
    c) echo "$month_users" ;;
    d) echo "$rare_lines" ;;
    e) echo "$host_lines" ;;
    f) echo "$share_failures" ;;
  esac
}

# The median of the numbers on standard input.
median() {
  sort -g | awk '{ v[NR] = $1 } END { if (NR % 2) printf "%.4f", v[(NR + 1) / 2];
                                     else printf "%.4f", (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}

# Rounds: each round times every command in turn, one warm-up and then the median of three runs,
# so that a change in the machine's load between rounds touches all commands alike. A command's
# figure is the median of its rounds. A command that fails (sarvik-log reporting an error, say)
# keeps its row and the run goes on.
failed=()
for ((round = 1; round <= reps; round++)); do
  for i in "${!rows[@]}"; do
    IFS=$'\t' read -r question role command <<<"${rows[$i]}"
    [ "$role" != ref ] && [ "$role" != other ] && [ -z "$tool" ] && continue
    [ -n "${failed[$i]:-}" ] && continue
    echo "[round $round/$reps, $((i + 1))/${#rows[@]}] $command" >&2
    if ! hyperfine --style none --output pipe --warmup 1 --runs 3 --command-name "row$i" \
      --export-csv "$out/run$i.$round.csv" "$command" >/dev/null 2>"$out/hyperfine$i.err"; then
      sed 's/^/  /' "$out/hyperfine$i.err" >&2
      failed[i]=1
    fi
  done
done

results=()
result() { # question role command median rss found
  results+=("$(IFS=$'\t' && echo "$*")")
}
for i in "${!rows[@]}"; do
  IFS=$'\t' read -r question role command <<<"${rows[$i]}"
  if [ "$role" != ref ] && [ "$role" != other ] && [ -z "$tool" ]; then
    result "$question" "$role" "$command" - - -
    continue
  fi
  if [ -n "${failed[$i]:-}" ]; then
    result "$question" "$role" "$command" failed - -
    continue
  fi
  # hyperfine's CSV: name,mean,stddev,median,... (the name holds no comma)
  median_s=$(for csv in "$out/run$i".*.csv; do awk -F, 'NR == 2 { print $4 }' "$csv"; done | median)
  /usr/bin/time -f %M -o "$out/rss$i" bash -c "$command" >"$out/output$i" || true
  found=$(wc -l <"$out/output$i")
  [ "$role" = tool ] || [ "$role" = scan ] && found=$((found - 1))
  result "$question" "$role" "$command" "$median_s" "$(cat "$out/rss$i")" "$found"
done

# The budget of each question: the tool's median with its indexes against the reference's and
# against its own scan's (today's speed), and under a bound of its own.
budget() { # question tool_median ref_median scan_median rss_kb
  awk -v q="$1" -v t="$2" -v r="$3" -v s="$4" -v rss="$5" 'BEGIN {
    if (q == "a" || q == "d" || q == "e" || q == "f") {
      ok = t < 0.050 && t * 4 <= r; rule = "under 50 ms and 4x faster than the reference"
    }
    if (q == "b") { ok = t < 0.010 && t <= s; rule = "under 10 ms and no slower than the scan" }
    if (q == "c") {
      ok = t * 3 <= r && t <= 1.1 * s
      rule = "3x faster than the awk pipeline and no slower than the scan (10 % spread)"
    }
    memory = rss < 65536
    printf "%s: %s; RSS under 64 MB: %s", rule, ok ? "met" : "NOT met", memory ? "met" : "NOT met"
  }'
}

{
  size=$(awk -v b="$access_bytes" 'BEGIN { printf "%.2f GB", b / 1e9 }')
  echo "Corpus: $access_lines access lines ($size," \
    "$access_files files) over 12 months below R, seed $seed; $(nproc) cores;" \
    "medians of $reps rounds of three runs after a warm-up, output through a pipe; peak RSS" \
    "of the largest process of the command. The ratio is to the question's reference; the" \
    "tool's rows: with its indexes, and by its scan alone (--no-index); $index_note."
  echo
  echo "| q | command | median s | peak RSS MB | ratio | lines found (expected) | budget |"
  echo "|---|---|---:|---:|---:|---:|---|"
  for question in a b c d e f; do
    ref_median="" tool_median="" tool_rss="" scan_median=""
    for result in "${results[@]}"; do
      IFS=$'\t' read -r q role command median rss found <<<"$result"
      [ "$q" = "$question" ] || continue
      [ "$role" = ref ] && ref_median=$median
      [ "$role" = tool ] && tool_median=$median && tool_rss=$rss
      [ "$role" = scan ] && scan_median=$median
    done
    for result in "${results[@]}"; do
      IFS=$'\t' read -r q role command median rss found <<<"$result"
      [ "$q" = "$question" ] || continue
      shown=${command//$root/R}
      [ -n "$tool" ] && shown=${shown//$tool/sarvik-log}
      shown=${shown//|/\\|}
      if [ "$median" = - ] || [ "$median" = failed ]; then
        reason="no sarvik-log given"
        [ "$median" = failed ] && reason="the command failed (see hyperfine*.err)"
        echo "| $q | \`$shown\` | ${median/#-/not run} | | | | $reason |"
        continue
      fi
      rss_mb=$(awk -v k="$rss" 'BEGIN { printf "%.1f", k / 1024 }')
      ratio=- verdict=""
      if [[ $ref_median =~ ^[0-9.]+$ ]]; then
        ratio=$(awk -v m="$median" -v r="$ref_median" 'BEGIN { printf "%.2fx", m / r }')
        [ "$role" = tool ] &&
          verdict=$(budget "$q" "$tool_median" "$ref_median" "$scan_median" "$tool_rss")
      elif [ "$role" = tool ]; then
        verdict="no reference to compare with"
      fi
      [ "$role" = ref ] && verdict="reference"
      echo "| $q | \`$shown\` | $median | $rss_mb | $ratio | $found ($(expected "$q")) | $verdict |"
    done
  done
} | tee "$out/table.md"
