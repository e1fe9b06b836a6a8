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

rank() {
  awk -v name="$1" '{ for (i = 1; i <= NF; ++i) if ($i == name) { print NR; exit } }' <<<"$order"
}

cd "$1"
failures=0
count=0
while IFS=: read -r file line; do
  from=${file%%/*}
  to=$(sed -E 's/.*#include "([^/"]*)\/.*/\1/' <<<"$line")
  count=$((count + 1))
  [ "$from" != "$to" ] || continue
  if [ "$from" != "$alone" ] && [ -n "$(rank "$from")" ] && [ -n "$(rank "$to")" ] &&
    [ "$(rank "$to")" -lt "$(rank "$from")" ]; then
    continue
  fi
  echo "$file: $line: $to is not below $from"
  failures=$((failures + 1))
done < <(grep -rE '^#include "[a-z_]+/' --include='*.h' --include='*.cpp' . | sed 's#^\./##')

[ "$count" -gt 0 ] || { echo "$1: no includes found"; exit 1; }
[ "$failures" = 0 ] || exit 1
echo "$count includes point down"
