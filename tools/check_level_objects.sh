#!/usr/bin/env bash
# Checks the kernel objects of a build: what is compiled for one level must not serve another.
#   - no weak or unique symbol, which could win at link time and then run on an older processor;
#   - nothing global but records of the level, and at least one;
#   - 256-bit registers in levels 8 and 9 only;
#   - fused operations at level 9 and only in the objects listed below.
# usage: check_level_objects.sh BUILD_DIR
set -euo pipefail
build=$1
fused_objects="tridiagonal.kernel mrg32k3a.kernel mt19937.kernel sfmt19937.kernel sobol.kernel"
failures=0
count=0

complain() {
  echo "$1"
  failures=$((failures + 1))
}

for object in $(find "$build" -path '*ravenfit_level_[1-9].dir*' -name '*.kernel.cpp.o*' | sort); do
  count=$((count + 1))
  level=$(sed -E 's/.*ravenfit_level_([1-9])\.dir.*/\1/' <<<"$object")
  symbols=$(nm "$object")
  weak=$(grep -E ' [WVuwv] ' <<<"$symbols" || true)
  [ -z "$weak" ] || complain "$object: weak or unique symbols: $weak"
  # the same on Windows
  ! objdump -h "$object" | grep -q LINK_ONCE_DISCARD || complain "$object: sections that the linker merges"
  others=$(grep -E ' [TDRBC] ' <<<"$symbols" | grep -vE " [DR] .*level$level" || true)
  [ -z "$others" ] || complain "$object: global symbols that are no records of level $level: $others"
  grep -qE " [DR] .*level$level" <<<"$symbols" || complain "$object: no record of level $level"
  code=$(objdump -d --no-show-raw-insn "$object")
  if [ "$level" -lt 8 ] && grep -qE '%[yz]mm|[[:space:]]v[a-z0-9]+[[:space:]]' <<<"$code"; then
    complain "$object: uses the AVX encodings"
  fi
  if grep -q '%zmm' <<<"$code"; then complain "$object: uses 512-bit registers"; fi
  if grep -qE 'vfn?m(add|sub)' <<<"$code"; then
    name=$(basename "${object%.cpp.o*}")
    if [ "$level" != 9 ] || ! grep -qw "$name" <<<"$fused_objects"; then
      complain "$object: fused operations where none are listed"
    fi
  fi
done

[ "$count" -gt 0 ] || complain "$build: no level objects found"
[ "$failures" = 0 ] || exit 1
echo "$count level objects are clean"
