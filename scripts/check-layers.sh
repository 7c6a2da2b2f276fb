#!/usr/bin/env bash
# Checks the layering of the code: reads every `#include "..."` of src/, tools/ and bench/ and
# every target_link_libraries of their CMake files, prints the graph between subsystems, and fails
# on any edge the table below forbids.
#   scripts/check-layers.sh [root]     (root: the source tree, by default this checkout)
set -euo pipefail
root=${1:-"$(dirname "$0")/.."}
cd "$root"

# Which subsystems each one may use directly. Arrows point down only; a subsystem may also use
# what the ones it may use may use, except where a narrower rule stands below.
#
# Sealing (seal) sits beside the log storage whose lines it seals: the storage tells it of each
# line through an interface of its own (logstore/line_sealer.h) and never includes it; the
# service wires them together, and the log reader's verifier reads the state with the same code.
#
# The rule test (AlertInfo::match and its helpers) lives with its record in settings rather than
# in alert: the settings checker and the log reader test rules too, and linking the alert
# thread's library for them would pull in what they never run.
declare -A may_use=(
  [support]=""
  [protocol]=""
  [logstore]="support"
  [seal]="support logstore"
  [record]="protocol support"
  [settings]="support logstore"
  [notice]="support settings"
  [alert]="settings logstore notice record"
  [core]="support protocol record logstore seal settings notice alert"
  [query]="support record settings logstore"
  [tools]="support protocol record logstore seal settings notice alert query"
  [bench]="support protocol record logstore seal settings notice alert query"
)
# Narrower rules: of logstore, settings may include only the plain expiry record, and the query
# engine only the names and the format of the log files (it reads logs, it never writes them).
declare -A only_header=(
  [settings:logstore]="logstore/auto_delete.h"
  [query:logstore]="logstore/log_kinds.h logstore/log_names.h logstore/log_format.h"
)

# The closure of may_use: every subsystem reachable downwards.
declare -A allowed
closure() {
  local from=$1 seen=" " queue=("${may_use[$1]}") next
  while [ ${#queue[@]} -gt 0 ]; do
    next=()
    for sub in ${queue[@]}; do
      case "$seen" in *" $sub "*) continue ;; esac
      seen+="$sub "
      next+=("${may_use[$sub]}")
    done
    queue=("${next[@]}")
  done
  allowed[$from]="$seen"
}
for sub in "${!may_use[@]}"; do closure "$sub"; done

# The subsystem of a source file; empty for files outside the table.
subsystem_of() {
  case "$1" in
    src/main.cc) echo core ;;
    src/*/*) local rest=${1#src/}; echo "${rest%%/*}" ;;
    tools/*) echo tools ;;
    bench/*) echo bench ;;
  esac
}

# The subsystem of a CMake library target; empty for targets outside src/.
subsystem_of_target() {
  case "$1" in
    sarvik_*) local sub=${1#sarvik_}; if [ -n "${may_use[$sub]+set}" ]; then echo "$sub"; fi ;;
  esac
}

failures=0
declare -A edges

# Reports an edge `from` -> `to` seen at `where`; `what` is the included header or linked target.
check_edge() {
  local from=$1 to=$2 where=$3 what=$4
  [ "$from" = "$to" ] && return 0
  edges["$from -> $to"]=$((${edges["$from -> $to"]:-0} + 1))
  case "${allowed[$from]}" in
    *" $to "*) ;;
    *)
      echo "$where: $from may not use $to ($what)" >&2
      failures=$((failures + 1))
      return 0
      ;;
  esac
  local only=${only_header["$from:$to"]:-}
  if [ -n "$only" ] && [ "${what#sarvik_}" = "$what" ]; then
    case " $only " in
      *" $what "*) ;;
      *)
        echo "$where: of $to, $from may include only $only ($what)" >&2
        failures=$((failures + 1))
        ;;
    esac
  fi
  return 0
}

# Includes.
while IFS= read -r -d '' file; do
  from=$(subsystem_of "$file")
  [ -n "$from" ] || continue
  while IFS= read -r header; do
    to=${header%%/*}
    [ -n "${may_use[$to]+set}" ] || continue  # a header of the tool or benchmark itself
    check_edge "$from" "$to" "$file" "$header"
  done < <(sed -n 's/^#include "\([a-z_]*\/[^"]*\)".*/\1/p' "$file")
done < <(find src tools bench \( -name '*.cc' -o -name '*.h' \) -print0 | sort -z)

# Links: each target_link_libraries call, joined onto one line, as "target lib lib ...".
while IFS= read -r -d '' list; do
  from=$(subsystem_of "$list")
  while read -r target libraries; do
    owner=$(subsystem_of_target "$target")
    [ -n "$owner" ] || owner=$from
    [ -n "$owner" ] || continue
    for library in $libraries; do
      to=$(subsystem_of_target "$library")
      [ -n "$to" ] || continue
      check_edge "$owner" "$to" "$list" "$library"
    done
  done < <(awk '
      /target_link_libraries\(/ { call = ""; open = 1 }
      open { call = call " " $0 }
      open && /\)/ {
        sub(/.*target_link_libraries\(/, "", call); sub(/\).*/, "", call)
        gsub(/(PUBLIC|PRIVATE|INTERFACE)/, "", call); gsub(/[ \t]+/, " ", call)
        print call; open = 0
      }' "$list")
done < <(find src tools bench -name CMakeLists.txt -print0 | sort -z)

echo "Uses between subsystems (includes and links):"
for edge in "${!edges[@]}"; do echo "  $edge: ${edges[$edge]}"; done | sort
if [ "$failures" -gt 0 ]; then
  echo "$failures use(s) against the layering" >&2
  exit 1
fi
