#!/usr/bin/env bash
# Prints the benchmark's table from a result directory of run.sh: medians over the repetitions,
# then the budget lines.   report.sh RESULT_DIR
set -euo pipefail
results=$1
servers=(floor-min floor-io-min floor-io sarvik sarvik-seal sarvik-rules100 sarvik-expiry
  sarvik-fire sarvik-forwarding)
# Only the servers measured (bench.sh --servers).
measured() { grep -qE "server=$1 " "$results/passes.txt"; }

# median SERVER CLIENTS KEY: the median of KEY over the passes of SERVER with CLIENTS.
median() {
  { grep -E "server=$1 .*clients=$2 " "$results/passes.txt" || true; } |
    sed "s/.* $3=\([^ ]*\).*/\1/" |
    sort -g | awk '{ v[NR] = $1 } END { if (NR == 0) print "-"; else if (NR % 2) print v[(NR + 1) / 2];
                   else printf "%.2f\n", (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}
extra() {  # SERVER KEY; nothing for a server not measured
  { grep -E "server=$1( .*)? $2=" "$results/extras.txt" || true; } | tail -1 |
    sed "s/.* $2=\([^ ]*\).*/\1/"
}

reps=$(grep -c "server=${servers[0]} .*clients=1 " "$results/passes.txt" || true)
for server in "${servers[@]}"; do
  if measured "$server"; then
    reps=$(grep -c "server=$server .*clients=1 " "$results/passes.txt")
    break
  fi
done
echo "Medians of $reps repetitions of $(sed -n 's/.*records=\([0-9]*\).*/\1/p' "$results/passes.txt" | head -1) records each."
echo
printf '| %-17s | %7s | %9s | %8s | %8s | %12s | %10s | %14s | %15s | %16s | %17s |\n' server \
  clients records/s 'p50 µs' 'p99 µs' 'CPU µs/rec' 'calls/rec' 'VmHWM kB 10%' 'VmHWM kB 100%' \
  'private kB 10%' 'private kB 100%'
printf '|%s|%s|%s|%s|%s|%s|%s|%s|%s|%s|%s|\n' ------------------- ---------: ----------: \
  ---------: ---------: --------------: ------------: ----------------: -----------------: \
  ------------------: -------------------:
for clients in 1 2; do
  for server in "${servers[@]}"; do
    measured "$server" || continue
    if [ "$clients" = 1 ]; then
      calls=$(extra "$server" calls) early=$(extra "$server" hwm10_kb) late=$(extra "$server" hwm_kb)
      private_early=$(extra "$server" private10_kb) private_late=$(extra "$server" private_kb)
    else
      calls="" early="" late="" private_early="" private_late=""
    fi
    printf '| %-17s | %7s | %9s | %8s | %8s | %12s | %10s | %14s | %15s | %16s | %17s |\n' \
      "$server" "$clients" "$(median "$server" "$clients" rate)" \
      "$(median "$server" "$clients" p50_us)" "$(median "$server" "$clients" p99_us)" \
      "$(median "$server" "$clients" cpu_us)" "$calls" "$early" "$late" "$private_early" \
      "$private_late"
  done
done

# The ratios of SERVER's processor time to BASE's (floor-io by default) within each repetition,
# where both met the same load of the machine, in ascending order; with "-" as the third
# argument, the differences instead.
paired() {  # SERVER [BASE [-]]
  join <(grep -E "server=$1 .*clients=1 " "$results/passes.txt" |
    sed 's/^rep=\([0-9]*\) .* cpu_us=\([^ ]*\).*/\1 \2/' | sort) \
    <(grep -E "server=${2:-floor-io} .*clients=1 " "$results/passes.txt" |
      sed 's/^rep=\([0-9]*\) .* cpu_us=\([^ ]*\).*/\1 \2/' | sort) |
    awk -v difference="${3:-}" '{ printf "%.3f\n", difference == "-" ? $2 - $3 : $2 / $3 }' |
    sort -g
}
# Their median.
paired_ratio() {  # SERVER [BASE [-]]
  paired "$@" | awk '{ v[NR] = $1 } END { if (NR % 2) print v[(NR + 1) / 2];
                                         else printf "%.3f\n", (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}

floor=$(median floor-io 1 cpu_us)
floor_calls=$(extra floor-io calls)
echo
echo "Budget (one client):"
check() {  # LABEL VALUE LIMIT
  awk -v label="$1" -v value="$2" -v limit="$3" 'BEGIN {
    printf "  %-52s %10s  limit %10s  %s\n", label, value, limit, (value + 0 <= limit + 0 ? "met" : "NOT MET") }'
}
if measured floor-io && measured sarvik; then
  check "CPU/record, no rules (x floor-io)" \
    "$(awk -v a="$(median sarvik 1 cpu_us)" -v b="$floor" 'BEGIN { printf "%.3f", a / b }')" 1.10
  echo "  (as the median of the ratios within each repetition: $(paired_ratio sarvik))"
fi
if measured floor-io && measured sarvik-rules100; then
  check "CPU/record, 100 rules none firing (x floor-io)" \
    "$(awk -v a="$(median sarvik-rules100 1 cpu_us)" -v b="$floor" 'BEGIN { printf "%.3f", a / b }')" 1.25
  echo "  (as the median of the ratios within each repetition: $(paired_ratio sarvik-rules100))"
fi
# The calls the service makes beyond floor-io's, each with its reason in docs/performance.md: the
# log file opened relative to its opened directories (two more opens and closes in place of two
# stats; fstat in place of lseek and chmod), the C library's fcntl when the opened descriptor
# becomes the log stream, the look at the time zone file once per request, and the standard
# output's buffer written about once per 140 records.
if measured floor-io && measured sarvik; then
  check "system calls/record, no rules (floor-io $floor_calls + 3.01 named)" \
    "$(extra sarvik calls)" "$(awk -v f="$floor_calls" 'BEGIN { printf "%.2f", f + 3.01 }')"
fi
rss_records=$(sed -n 's/.*rss_records=\([0-9]*\).*/\1/p' "$results/settings.txt" 2>/dev/null || true)
check "private memory kB after ${rss_records:-all} records, no rules" "$(extra sarvik private_kb)" 2048
check "private memory growth kB from 10% to 100% of the records" \
  "$(( $(extra sarvik private_kb) - $(extra sarvik private10_kb) ))" 0
echo "  (beside it: VmHWM $(extra sarvik hwm10_kb) kB after 10 % and $(extra sarvik hwm_kb) kB after" \
  "100 % of the records; an empty program linked with the service's shared libraries:" \
  "VmHWM $(extra libs-floor hwm_kb) kB, private $(extra libs-floor private_kb) kB)"
idle=$(grep -E "server=sarvik .*idle_s=" "$results/extras.txt" | tail -1 || true)
if [ -n "$idle" ]; then
check "idle: clock ticks used in $(echo "$idle" | sed 's/.*idle_s=\([0-9]*\).*/\1/') s without clients" \
  "$(echo "$idle" | sed 's/.*idle_ticks=\([0-9]*\).*/\1/')" 0
check "idle: system calls in that time" "$(echo "$idle" | sed 's/.*idle_calls=\([0-9]*\).*/\1/')" 0
fi

# Sealing: what the sealing of every line adds to the service without it, in the same run.
if measured sarvik-seal && measured sarvik; then
  echo
  echo "Sealing (one client; CPU in µs per record):"
  printf '  %-52s %10s\n' "service without sealing (sarvik)" "$(median sarvik 1 cpu_us)" \
    "service sealing every line (sarvik-seal)" "$(median sarvik-seal 1 cpu_us)"
  check "CPU µs/record added by sealing (paired by repetition)" \
    "$(paired_ratio sarvik-seal sarvik -)" 3.0
  echo "  (the differences within each repetition, in order: $(paired sarvik-seal sarvik - |
    paste -sd' '))"
  if [ -n "$(extra sarvik-seal calls)" ]; then
    # The journal is written through a mapped window: three calls per thousand lines or so.
    check "system calls/record with sealing (as sarvik's, + 0.01)" "$(extra sarvik-seal calls)" \
      "$(awk -v c="$(extra sarvik calls)" 'BEGIN { printf "%.2f", c + 0.01 }')"
    check "private memory growth kB with sealing, 10% to 100%" \
      "$(( $(extra sarvik-seal private_kb) - $(extra sarvik-seal private10_kb) ))" 0
  fi
fi

# The forwarding: what a sender rsyslogd that follows the logs costs, next to the service alone.
if grep -q "server=sarvik-forwarding .*sender_cpu_us=" "$results/passes.txt"; then
  echo
  echo "Forwarding (one client; medians; CPU in µs per record):"
  printf '  %-52s %10s\n' "service alone (sarvik)" "$(median sarvik 1 cpu_us)" \
    "service while the sender follows (sarvik-forwarding)" "$(median sarvik-forwarding 1 cpu_us)" \
    "sender rsyslogd" "$(median sarvik-forwarding 1 sender_cpu_us)" \
    "collector rsyslogd (not on the appliance)" "$(median sarvik-forwarding 1 collector_cpu_us)" \
    "sender rsyslogd VmHWM kB" "$(median sarvik-forwarding 1 sender_hwm_kb)" \
    "records forwarded per pass" "$(median sarvik-forwarding 1 forwarded)"
fi
