#!/usr/bin/env bash
# instructions.sh PROGRAM [FILE]: counts the instructions of every row of bench/instructions.cpp at levels 2 and 9 and
# prints them in the form of bench/instructions.txt; with FILE, beside what stands there.
set -euo pipefail
program=$(realpath "$1")
before=${2:+$(realpath "$2")}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
for level in 2 9; do
  RVN_KERNEL_LEVEL_FORCE=$level valgrind -q --tool=callgrind --callgrind-out-file="out.$level" "$program" 2>/dev/null
done
# A dump has the row's mark in a line `desc: Trigger:`, and what was counted in a line `summary:`.
awk -v before="$before" '
  BEGIN {
    while (before != "" && (getline line < before) > 0)
      if (split(line, field, "|") == 3) { old2[field[3]] = field[1]; old9[field[3]] = field[2] }
    if (before == "") print "Instructions by Callgrind: level 2, level 9, row. Regenerate with ./run instructions --write.\n"
  }
  FNR == 1 { split(FILENAME, part, "."); level = part[2]; row = "" }
  /^desc: Trigger: Client Request: / {
    sub(/^desc: Trigger: Client Request: /, "")
    bar = index($0, "|"); per = substr($0, 1, bar - 1); row = substr($0, bar + 1)
    if (!(row in place)) { place[row] = ++rows; name[rows] = row }
  }
  /^(summary|totals): / && row != "" { count[level, row] = $2 / per; row = "" }
  END {
    for (i = 1; i <= rows; ++i) {
      row = name[i]
      if (before == "") printf "%10.2f|%10.2f| %s\n", count[2, row], count[9, row], row
      else printf "%10.2f -> %10.2f   %10.2f -> %10.2f  %s\n", old2[" " row], count[2, row], old9[" " row], count[9, row], row
    }
  }' $(ls out.* | sort -V)
