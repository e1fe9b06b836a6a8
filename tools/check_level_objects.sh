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
fused_objects="scrambled_sobol.kernel smoothing.kernel tridiagonal.kernel mrg32k3a.kernel mt19937.kernel sfmt19937.kernel sobol.kernel"
failures=0
count=0

complain() {
  echo "$1"
  failures=$((failures + 1))
}

# check_object OBJECT LEVEL FLAGS BYTES FUSED
check_object() {
  local object=$1 level=$2 symbols weak globals code
  symbols=$(nm "$object")
  weak=$(grep -E ' [WVuwv] ' <<<"$symbols" || true)
  [ -z "$weak" ] || complain "$object: weak or unique symbols: $weak"
  # the same on Windows
  ! objdump -h "$object" | grep -q LINK_ONCE_DISCARD || complain "$object: sections that the linker merges"
  # a name is mangled with its length
  record=" [DR] .*$((5 + ${#level}))level$level"
  others=$(grep -E ' [TDRBC] ' <<<"$symbols" | grep -vE "$record" || true)
  [ -z "$others" ] || complain "$object: global symbols that are no records of level $level: $others"
  grep -qE "$record" <<<"$symbols" || complain "$object: no record of level $level"
  [[ $3 != *RVN_PORTABLE* ]] || return 0
  code=$(objdump -d --no-show-raw-insn "$object")
  if [ "$4" -lt 32 ] && grep -qE '%[yz]mm|[[:space:]]v[a-z0-9]+[[:space:]]' <<<"$code"; then
    complain "$object: uses the AVX encodings"
  fi
  if [ "$4" -lt 64 ] && grep -q '%zmm' <<<"$code"; then complain "$object: uses 512-bit registers"; fi
  if grep -qE 'vfn?m(add|sub)' <<<"$code"; then
    if [ "$5" != 1 ] || ! grep -qw "$(basename "${object%.cpp.o*}")" <<<"$fused_objects"; then
      complain "$object: fused operations where none are listed"
    fi
  fi
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
