#!/usr/bin/env bash
# Runs every fuzz target for a fixed time with libFuzzer under ASan+UBSan (clang), starting from
# the saved corpus in tests/fuzz/corpus. A crash, a leak, a sanitizer report, an input that runs
# longer than 10 s, more than 2 GiB of memory or a broken property fails the run; the input is
# kept in build/fuzz/artifacts. Inputs found on the way stay in build/fuzz/corpus for the next
# run; the saved corpus is not changed.
#   scripts/fuzz.sh [seconds per target]   (default 50, or SARVIK_FUZZ_SECONDS)
set -uo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh || exit 1

seconds=${1:-${SARVIK_FUZZ_SECONDS:-50}}
build=build/fuzz
targets=(request_fuzz settings_fuzz rule_test_fuzz wildcard_fuzz notice_reply_fuzz log_reader_fuzz
         index_reader_fuzz seal_state_fuzz)

echo "=== fuzz: build"
scripts/build.sh "$build" -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DSARVIK_FUZZ=ON -DSARVIK_BENCH=OFF || { echo "FAILED: fuzz (build)"; exit 1; }

export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
mkdir -p "$build/artifacts"
failed=()
for target in "${targets[@]}"; do
  echo "=== fuzz: $target for ${seconds}s"
  work="$build/corpus/$target"
  log="$build/$target.log"
  mkdir -p "$work"
  options=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
           -artifact_prefix="$build/artifacts/$target-")
  [ -f "tests/fuzz/$target.dict" ] && options+=(-dict="tests/fuzz/$target.dict")
  if "$build/tests/fuzz/$target" "${options[@]}" "$work" "tests/fuzz/corpus/$target" >"$log" 2>&1; then
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    echo "$target: $runs executions, no failure"
  else
    tail -n 60 "$log"
    failed+=("$target")
  fi
done

echo "fuzz: $((${#targets[@]} - ${#failed[@]})) passed, ${#failed[@]} failed"
if [ ${#failed[@]} -ne 0 ]; then
  echo "FAILED: fuzz: ${failed[*]}"
  exit 1
fi
