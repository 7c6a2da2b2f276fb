#!/usr/bin/env bash
# The layering check against small trees made here: a tree that keeps the layering passes, and
# each kind of forbidden use makes it fail and names the file.
#   tests/layering/check_layers_test.sh <path of scripts/check-layers.sh>
set -uo pipefail
check=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

# Makes a fresh tree holding a few lawful uses.
make_tree() {
  rm -rf "$work/tree"
  mkdir -p "$work/tree/src/support" "$work/tree/src/settings" "$work/tree/src/core" \
    "$work/tree/src/query" "$work/tree/tools"
  echo '#include "support/a.h"' >"$work/tree/src/support/a.cc"
  echo '#include "logstore/auto_delete.h"' >"$work/tree/src/settings/b.h"
  echo '#include "alert/c.h"' >"$work/tree/src/core/d.cc"
  echo '#include "settings/b.h"' >"$work/tree/tools/e.cc"
  printf '#include "logstore/log_names.h"\n#include "record/f.h"\n' >"$work/tree/src/query/g.cc"
  echo '#include "query/g.h"' >>"$work/tree/tools/e.cc"
  echo 'target_link_libraries(sarvik_settings PUBLIC sarvik_support)' \
    >"$work/tree/src/settings/CMakeLists.txt"
}

# Expects the check to fail on the tree and to name `file`.
expect_rejected() {
  local what=$1 file=$2
  if "$check" "$work/tree" >"$work/out" 2>&1; then
    echo "FAIL: $what passed"
    failures=$((failures + 1))
  elif ! grep -q "$file" "$work/out"; then
    echo "FAIL: $what not reported at $file:"
    cat "$work/out"
    failures=$((failures + 1))
  fi
}

make_tree
if ! "$check" "$work/tree" >"$work/out" 2>&1; then
  echo "FAIL: a lawful tree was rejected:"
  cat "$work/out"
  failures=$((failures + 1))
fi

make_tree
echo '#include "core/server.h"' >>"$work/tree/src/support/a.cc"
expect_rejected "support including core" src/support/a.cc

make_tree
echo '#include "logstore/log_file.h"' >>"$work/tree/src/settings/b.h"
expect_rejected "settings including more of logstore than its expiry record" src/settings/b.h

make_tree
echo '#include "core/server.h"' >>"$work/tree/tools/e.cc"
expect_rejected "a tool including core" tools/e.cc

make_tree
echo '#include "alert/alert_thread.h"' >>"$work/tree/src/query/g.cc"
expect_rejected "the query engine including alert" src/query/g.cc

make_tree
echo '#include "logstore/log_file.h"' >>"$work/tree/src/query/g.cc"
expect_rejected "the query engine including the log writer" src/query/g.cc

make_tree
echo '#include "query/g.h"' >>"$work/tree/src/settings/b.h"
expect_rejected "settings including the query engine" src/settings/b.h

make_tree
printf 'add_library(x x.cc)\ntarget_link_libraries(x PUBLIC sarvik_settings\n  sarvik_core)\n' \
  >"$work/tree/tools/CMakeLists.txt"
expect_rejected "a tool linking core" tools/CMakeLists.txt

make_tree
mkdir -p "$work/tree/src/logstore"
echo '#include "seal/sealer.h"' >"$work/tree/src/logstore/f.cc"
expect_rejected "the log storage including the sealing it tells of its lines" src/logstore/f.cc

make_tree
echo 'target_link_libraries(sarvik_settings PUBLIC sarvik_support sarvik_alert)' \
  >"$work/tree/src/settings/CMakeLists.txt"
expect_rejected "settings linking alert" src/settings/CMakeLists.txt

[ "$failures" -eq 0 ] && echo "all layering cases behave"
exit $((failures > 0))
