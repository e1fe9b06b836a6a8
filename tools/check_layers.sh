#!/usr/bin/env bash
# Checks that arrows point down: a file of a folder in src/ includes its own folder, folders on lines above its own, and
# the public headers. Folders on one line do not know each other.
# usage: check_layers.sh SRC_DIR
set -euo pipefail
order="
runtime vector
task solvers
construct interp streams
dispatch
api
"
# The demonstration stands on the public headers alone.
alone="demo"

cd "$1"
grep -rE '^#include "[a-z_]+/' --include='*.h' --include='*.cpp' . | awk -v order="$order" -v alone="$alone" '
  BEGIN {
    lines = split(order, line, "\n")
    for (i = 1; i <= lines; ++i) {
      n = split(line[i], folder, " ")
      for (k = 1; k <= n; ++k) rank[folder[k]] = i
    }
  }
  {
    split($0, part, "/")
    from = part[2]
    to = $0
    sub(/.*#include "/, "", to)
    sub(/\/.*/, "", to)
    ++count
    if (from == to) next
    if (from != alone && (from in rank) && (to in rank) && rank[to] < rank[from]) next
    print $0 ": " to " is not below " from
    failed = 1
  }
  END {
    if (count == 0) { print "no includes found"; exit 1 }
    if (failed) exit 1
    print count " includes point down"
  }'
