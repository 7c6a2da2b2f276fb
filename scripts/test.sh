#!/usr/bin/env bash
# Runs every test: unit and end-to-end tests in a build with warnings as errors, all of them again
# under AddressSanitizer + UndefinedBehaviorSanitizer (leaks count as failures), the threaded
# tests under ThreadSanitizer, and at the end every fuzz target for a fixed time (scripts/fuzz.sh);
# the Debian package is built and checked from the release build. The sources' format is checked
# first, and clang-tidy's checks run over the release tree's sources.
# End-to-end tests need root (private mount namespaces).
set -uo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh || exit 1
failed=()
echo "=== format"
scripts/check-format.sh || failed+=("format")

jobs=$(nproc)

# The tests labelled "slow" wait out the alert thread's quiet time and mostly sleep, so they run
# many at a time, apart from the rest.
slow_jobs=8

run_tree() {  # <name> <ctest options> -- <cmake options>
  local name=$1 ctest_options=$2
  shift 2
  echo "=== $name: build"
  if ! scripts/build.sh "build/$name" "$@"; then
    failed+=("$name (build)")
    return
  fi
  echo "=== $name: test"
  # shellcheck disable=SC2086
  ctest --test-dir "build/$name" -j "$jobs" --output-on-failure --timeout 900 -LE slow \
    $ctest_options || failed+=("$name")
  # shellcheck disable=SC2086
  ctest --test-dir "build/$name" -j "$slow_jobs" --output-on-failure --timeout 900 -L slow \
    --no-tests=ignore $ctest_options || failed+=("$name (slow)")
}

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=0:strict_string_checks=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1

run_tree release "" -DCMAKE_BUILD_TYPE=RelWithDebInfo
echo "=== tidy"
scripts/check-tidy.sh build/release || failed+=("tidy")
echo "=== package: build and check"
scripts/check-package.sh || failed+=("package")
run_tree asan "" -DSARVIK_SANITIZE=address -DSARVIK_BENCH=OFF
run_tree tsan "-L threaded" -DSARVIK_SANITIZE=thread -DSARVIK_BENCH=OFF

scripts/fuzz.sh || failed+=("fuzz")

if [ ${#failed[@]} -ne 0 ]; then
  echo "FAILED: ${failed[*]}"
  exit 1
fi
echo "All tests passed."
