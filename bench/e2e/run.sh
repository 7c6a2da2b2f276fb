#!/usr/bin/env bash
# The benchmark's part inside a private mount namespace (scripts/bench.sh enters it). Each server
# run gets fresh tmpfs volumes on /mnt, /tmp and /var/lock, stacked over the namespace's own and
# removed afterwards, so the host's directories stay untouched.
#   run.sh BUILD_DIR RESULT_DIR RECORDS REPS RSS_RECORDS [SERVER...]
# Without servers named, every server is measured.
set -euo pipefail
build=$1 results=$2 records=$3 reps=$4 rss_records=$5
shift 5
here=$(cd "$(dirname "$0")" && pwd)
load=$build/bench/e2e/e2e-load
declare -A command=(
  [floor-min]="$build/bench/e2e/floor-min"
  [floor-io-min]="$build/bench/e2e/floor-io --unavoidable"
  [floor-io]="$build/bench/e2e/floor-io"
  [sarvik]="$build/src/sarvik"
  [sarvik-seal]="$build/src/sarvik"
  [sarvik-rules100]="$build/src/sarvik"
  [sarvik-expiry]="$build/src/sarvik"
  [sarvik-fire]="$build/src/sarvik"
  [sarvik-forwarding]="$build/src/sarvik"
)
servers=(floor-min floor-io-min floor-io sarvik sarvik-seal sarvik-rules100 sarvik-expiry
  sarvik-fire sarvik-forwarding)
[ $# -eq 0 ] || servers=("$@")
warmup=500

variant_of() {
  case $1 in
    sarvik-rules100) echo rules100 ;;
    sarvik-expiry) echo expiry ;;
    sarvik-fire) echo fire ;;
    sarvik-seal) echo seal ;;
    *) echo none ;;
  esac
}

# The reply of a notice script for which all went well.
stub='#!/bin/sh
cat >/dev/null
echo "<reply><entrylist><entry result=\"0\"/></entrylist></reply>"'
notice='<?xml version="1.0"?>
<config><mailnotice><mailconflist><mailconf enable="true"><notifylist><notify name="system" enable="true"/></notifylist><toaddrlist><toaddr>admin@example.org</toaddr></toaddrlist></mailconf></mailconflist></mailnotice></config>'

# The network of the namespace: loopback for the forwarding; and the host's journal and syslog
# socket out of reach, so that no rsyslogd of the benchmark logs there.
ip link set lo up
if [ -d /run/systemd/journal ]; then mount -t tmpfs tmpfs /run/systemd/journal; fi
if [ -S /dev/log ] && [ ! -L /dev/log ]; then mount --bind /dev/null /dev/log; fi

volumes_up() {
  for dir in /mnt /tmp /var/lock; do mount -t tmpfs -o mode=0755 tmpfs "$dir"; done
  chmod 1777 /tmp
  mkdir -p /mnt/data/xmlconf /mnt/data/bin /mnt/data/conf/sarvik /mnt/data/logs
  bash "$here/settings.sh" "$(variant_of "$1")" >/mnt/data/xmlconf/config-sarvik.xml
  printf '%s\n' "$notice" >/mnt/data/xmlconf/config-notice.xml
  for script in orl_eventlog.py orl_buzzer.py orl_mailsend.py; do
    printf '%s\n' "$stub" >/mnt/data/bin/$script
    chmod 755 /mnt/data/bin/$script
  done
  if [ "$1" = sarvik-seal ]; then "$build/tools/sarvik-log" --setup-keys >/dev/null 2>&1; fi
}

volumes_down() {
  for dir in /var/lock /tmp /mnt; do umount -l "$dir"; done
}

# For the server sarvik-forwarding: a sender rsyslogd, run as nobody as the packaged unit runs
# it, follows the logs and forwards them over RELP to a collector rsyslogd, both configured by
# sarvik-forwarding.
fwd=/tmp/forwarding
sender_pid="" collector_pid=""
start_forwarding() {
  mkdir -p $fwd/sender $fwd/collector
  chown 65534:65534 $fwd/sender
  "$build/tools/sarvik-forwarding" collector --relp --dir $fwd/out --work-dir $fwd/collector \
    >$fwd/collector.conf
  "$build/tools/sarvik-forwarding" sender --relp --work-dir $fwd/sender 127.0.0.1 \
    >$fwd/sender.conf
  rsyslogd -n -iNONE -f $fwd/collector.conf >>"$results/forwarding.log" 2>&1 &
  collector_pid=$!
  setpriv --reuid=65534 --regid=65534 --clear-groups rsyslogd -n -iNONE -f $fwd/sender.conf \
    >>"$results/forwarding.log" 2>&1 &
  sender_pid=$!
}

stop_forwarding() {
  [ -n "$sender_pid" ] || return 0
  kill "$sender_pid" "$collector_pid"
  wait "$sender_pid" "$collector_pid" 2>/dev/null || true
  sender_pid="" collector_pid=""
}

# Lines at the collector so far.
forwarded() { cat $fwd/out/*/*.jsonl 2>/dev/null | wc -l; }

ticks_of() { awk '{ print $14 + $15 }' "/proc/$1/stat"; }

server_pid=""
# Starts server $1 on fresh volumes and waits until it answers.
start_server() {
  volumes_up "$1"
  [ "$1" = sarvik-forwarding ] && start_forwarding
  # shellcheck disable=SC2086
  ${command[$1]} >/dev/null 2>"$results/$1.stderr" &
  server_pid=$!
  for _ in $(seq 100); do [ -S /tmp/sarvik ] && break; sleep 0.05; done
  "$load" --records "$warmup" >/dev/null || { echo "bench: $1 does not answer" >&2; exit 1; }
}

stop_server() {
  stop_forwarding
  kill "$server_pid"
  wait "$server_pid" 2>/dev/null || true
  volumes_down
}

# One measured pass: prints the load generator's line prefixed by server and clients. With the
# forwarding, it waits until every record has reached the collector and adds the processor time
# per record of the sender and of the collector, and the sender's peak resident memory.
measure() {  # server clients
  start_server "$1"
  if [ "$1" != sarvik-forwarding ]; then
    echo "server=$1 $("$load" --records "$records" --clients "$2" --pid "$server_pid")"
    stop_server
    return
  fi
  for _ in $(seq 600); do [ "$(forwarded)" -ge $warmup ] && break; sleep 0.1; done
  local sender_before collector_before line
  sender_before=$(ticks_of "$sender_pid") collector_before=$(ticks_of "$collector_pid")
  line=$("$load" --records "$records" --clients "$2" --pid "$server_pid")
  for _ in $(seq 1200); do [ "$(forwarded)" -ge $((warmup + records)) ] && break; sleep 0.1; done
  awk -v s="$(($(ticks_of "$sender_pid") - sender_before))" \
    -v c="$(($(ticks_of "$collector_pid") - collector_before))" -v n="$records" \
    -v hwm="$(awk '/VmHWM/ { print $2 }' "/proc/$sender_pid/status")" \
    -v got="$(($(forwarded) - warmup))" -v line="server=$1 $line" 'BEGIN {
      printf "%s sender_cpu_us=%.2f collector_cpu_us=%.2f sender_hwm_kb=%d forwarded=%d\n",
        line, s * 10000 / n, c * 10000 / n, hwm, got }'
  stop_server
}

# System calls per record, from strace -c -f attached to the warm server.
count_calls() {  # server
  local n=2000 out=$results/$1.strace
  start_server "$1"
  strace -c -f -p "$server_pid" -o "$out" &
  local tracer=$!
  sleep 1
  "$load" --records $n >/dev/null
  sleep 0.2
  kill -INT $tracer
  wait $tracer 2>/dev/null || true
  stop_server
  awk -v n=$n '$NF == "total" { printf "%.2f\n", $4 / n }' "$out"
}

# Processor time and system calls of the warm service while no client talks, over IDLE seconds.
measure_idle() {  # server
  local idle=10 out=$results/$1.idle.strace
  start_server "$1"
  strace -c -f -p "$server_pid" -o "$out" &
  local tracer=$!
  sleep 1
  local before after
  before=$(awk '{ print $14 + $15 }' "/proc/$server_pid/stat")
  sleep $idle
  after=$(awk '{ print $14 + $15 }' "/proc/$server_pid/stat")
  kill -INT $tracer
  wait $tracer 2>/dev/null || true
  stop_server
  local calls
  calls=$(awk '$NF == "total" { print $4 }' "$out")
  echo "idle_s=$idle idle_ticks=$((after - before)) idle_calls=${calls:-0}"
}

# Peak resident memory and private memory after RSS_RECORDS/10 and after RSS_RECORDS records,
# as "hwm10_kb=.. private10_kb=.. hwm_kb=.. private_kb=..".
measure_rss() {  # server
  local first=$((rss_records / 10))
  start_server "$1"
  local early late
  early=$("$load" --records "$first" --pid "$server_pid")
  late=$("$load" --records $((rss_records - first)) --pid "$server_pid")
  stop_server
  local key
  for key in hwm private; do
    printf '%s10_kb=%s ' $key "$(echo "$early" | sed "s/.* ${key}_kb=\([0-9-]*\).*/\1/")"
  done
  for key in hwm private; do
    printf '%s_kb=%s ' $key "$(echo "$late" | sed "s/.* ${key}_kb=\([0-9-]*\).*/\1/")"
  done
  echo
}

: >"$results/passes.txt"
# Every other repetition takes the servers in the opposite order, so that no server always
# meets the machine as the one before it left it.
reversed=()
for ((i = ${#servers[@]} - 1; i >= 0; i--)); do reversed+=("${servers[$i]}"); done
for rep in $(seq "$reps"); do
  order=("${servers[@]}")
  if ((rep % 2 == 0)); then order=("${reversed[@]}"); fi
  for clients in 1 2; do
    for server in "${order[@]}"; do
      line=$(measure "$server" "$clients")
      echo "rep=$rep $line" >>"$results/passes.txt"
      echo "rep=$rep $line" >&2
    done
  done
done
: >"$results/extras.txt"
for server in "${servers[@]}"; do
  calls=$(count_calls "$server")
  echo "server=$server calls=$calls $(measure_rss "$server")" | tee -a "$results/extras.txt" >&2
done
echo "server=sarvik $(measure_idle sarvik)" | tee -a "$results/extras.txt" >&2
echo "server=libs-floor $("$build/bench/e2e/libs-floor" |
  awk '$1 == "VmHWM:" { printf "hwm_kb=%s ", $2 } $1 == "Private:" { printf "private_kb=%s", $2 }')" |
  tee -a "$results/extras.txt" >&2
