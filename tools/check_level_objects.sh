#!/usr/bin/env bash
# Checks the kernel objects of a build: what is compiled for one level must not serve another. The rows of
# src/vector/levels.inc say what a level may use.
#   - no weak or unique symbol, which could win at link time and then run on an older processor;
#   - nothing global but records of the level, and at least one;
#   - 256-bit registers and their encodings in rows of 32 bytes or more, 512-bit ones in rows of 64;
#   - fused operations where the row says so, and only in the objects listed below.
# A row that names no processor is left to the compiler: only its symbols are looked at.
# usage: check_level_objects.sh BUILD_DIR
set -euo pipefail
build=$1
rows=$(dirname "$0")/../src/vector/levels.inc
fused_objects="natural.kernel subbotin.kernel scrambled_sobol.kernel smoothing.kernel tridiagonal.kernel mrg32k3a.kernel mt19937.kernel sfmt19937.kernel sobol.kernel"
failures=0
count=0

complain() {
  echo "$1"
  failures=$((failures + 1))
}

# check_object OBJECT LEVEL FLAGS BYTES FUSED
check_object() {
  local object=$1 level=$2 record found
  # a name is mangled with its length
  record=" [DR] .*$((5 + ${#level}))level$level"
  # Symbols, sections (what the linker merges on Windows) and code, each told by its form.
  found=$({
    nm "$object"
    objdump -h "$object"
    [[ $3 == *RVN_PORTABLE* ]] || objdump -d --no-show-raw-insn "$object"
  } | awk -v record="$record" '
    / [WVuwv] [^ ]+$/ && !/\t/ { print "weak or unique symbol " $NF }
    / [TDRBC] [^ ]+$/ && !/\t/ { if ($0 ~ record) known = 1; else print "global symbol that is no record of the level: " $NF }
    /LINK_ONCE_DISCARD/ { print "a section that the linker merges" }
    /%[yz]mm|[ \t]v[a-z0-9]+[ \t]/ { avx = 1 }
    /%zmm/ { wide = 1 }
    /[ \t]vfn?m(add|sub)/ { fused = 1 }
    END {
      if (!known) print "no record of the level"
      if (avx) print "AVX"
      if (wide) print "512"
      if (fused) print "FUSED"
    }')
  while IFS= read -r what; do
    case $what in
      '') ;;
      AVX) [ "$4" -ge 32 ] || complain "$object: uses the AVX encodings" ;;
      512) [ "$4" -ge 64 ] || complain "$object: uses 512-bit registers" ;;
      FUSED)
        if [ "$5" != 1 ] || ! grep -qw "$(basename "${object%.cpp.o*}")" <<<"$fused_objects"; then
          complain "$object: fused operations where none are listed"
        fi
        ;;
      *) complain "$object: $what" ;;
    esac
  done <<<"$found"
}

while IFS= read -r row; do
  [[ $row =~ ^RVN_LEVEL_ROW\(([0-9]+),\ \"([^\"]*)\",\ ([0-9]+),\ [01],\ ([01]), ]] || continue
  columns=("${BASH_REMATCH[@]:1}")
  for object in $(find "$build/CMakeFiles" -path "*ravenfit_level_${columns[0]}.dir*" \
    \( -name '*.kernel.cpp.o' -o -name '*.kernel.cpp.obj' \) | sort); do
    count=$((count + 1))
    check_object "$object" "${columns[@]}"
  done
done <"$rows"

[ "$count" -gt 0 ] || complain "$build: no level objects found"
[ "$failures" = 0 ] || exit 1
echo "$count level objects are clean"
