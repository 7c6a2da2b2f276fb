#!/usr/bin/env bash
# Checks that every C and C++ source of the project follows .clang-format; prints each place that
# does not and fails.
set -euo pipefail
cd "$(dirname "$0")/.."
git ls-files -z '*.cc' '*.h' '*.c' | xargs -0 clang-format --dry-run -Werror
