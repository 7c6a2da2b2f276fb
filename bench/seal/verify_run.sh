#!/usr/bin/env bash
# The verifier's benchmark inside a private mount namespace (scripts/bench-verify.sh enters it),
# where a tmpfs on /mnt holds the sealing state at its fixed place: seals the corpus below ROOT
# with the service's own sealer, then times sarvik-log --verify beside sarvik-log's full scans of
# the same year, in rounds, and prints a Markdown table.
#   verify_run.sh BUILD_DIR OUT_DIR ROOT REPS
set -euo pipefail
build=$1 out=$2 root=$3 reps=$4
tool=$build/tools/sarvik-log
mount -t tmpfs -o mode=0755 tmpfs /mnt
mkdir -p /mnt/data/conf/sarvik
echo "Sealing the corpus below $root ..." >&2
"$build/bench/seal/seal-corpus" --root "$root" --state /mnt/data/conf/sarvik/seal \
  --key-out "$out/key" >"$out/sealing.txt"
# shellcheck disable=SC1091
. "$root/corpus.sh"

# Each row: a name, and the command; the first is the full scan the verifier is held against,
# by the scan alone: indexes that an earlier question built would spare the reading of the year.
names=(scan-count scan-grep verify verify-key)
commands=(
  "$tool --root $root --no-index --count"
  "$tool --root $root --no-index --grep $rare_string --output csv"
  "$tool --verify --root $root --kind access"
  "$tool --verify --root $root --kind access --key $out/key"
)
median() {
  sort -g | awk '{ v[NR] = $1 } END { if (NR % 2) printf "%.4f", v[(NR + 1) / 2];
                                     else printf "%.4f", (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}
for ((round = 1; round <= reps; round++)); do
  for i in "${!commands[@]}"; do
    echo "[round $round/$reps] ${names[$i]}" >&2
    hyperfine --style none --output pipe --warmup 1 --runs 3 --command-name "${names[$i]}" \
      --export-csv "$out/run$i.$round.csv" "${commands[$i]}" >/dev/null
  done
done

seals=$(du -sb /mnt/data/conf/sarvik/seal | cut -f1)
echo "Corpus: $access_lines access lines ($(awk -v b="$access_bytes" 'BEGIN { printf "%.2f GB", b / 1e9 }'), $access_files files), sealed by"
echo "the service's sealer in $(sed 's/.*seconds=//' "$out/sealing.txt") s; the state: $(awk -v b="$seals" 'BEGIN { printf "%.0f MB", b / 1e6 }')."
echo "$(nproc) cores; medians of $reps rounds of three runs after a warm-up."
echo
echo "| command | median s | lines/s | peak RSS MB | speed against the full scan |"
echo "|---|---:|---:|---:|---:|"
scan=""
for i in "${!commands[@]}"; do
  seconds=$(for csv in "$out/run$i".*.csv; do awk -F, 'NR == 2 { print $4 }' "$csv"; done | median)
  /usr/bin/time -f %M -o "$out/rss$i" bash -c "${commands[$i]}" >/dev/null || true
  [ -n "$scan" ] || scan=$seconds
  shown=${commands[$i]//$root/R}
  shown=${shown//$tool/sarvik-log}
  shown=${shown//$out\/key/KEY}
  awk -v c="$shown" -v s="$seconds" -v n="$access_lines" -v r="$(cat "$out/rss$i")" -v f="$scan" \
    'BEGIN { printf "| `%s` | %.3f | %.0f | %.1f | %.2f |\n", c, s, n / s, r / 1024, f / s }'
done
