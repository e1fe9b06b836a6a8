#!/usr/bin/env bash
# Compares what a shared library exports with a list, name by name, and what a DLL imports from with what every
# Windows has. usage: check_exports.sh LIBRARY NAME...
set -euo pipefail
library=$1
shift
case $library in
  *.dll)
    headers=$(objdump -p "$library")
    exported=$(awk '/^\[Ordinal\/Name Pointer\] Table/ { on = 1; next } on && !/\[/ { exit } on { print $NF }' <<<"$headers")
    imported=$(awk '/DLL Name:/ { print $NF }' <<<"$headers" | sort)
    if ! diff <(printf 'KERNEL32.dll\nmsvcrt.dll\n') <(echo "$imported"); then
      echo "$library: needs other libraries (< expected, > found)"
      exit 1
    fi
    ;;
  *) exported=$(nm -D --defined-only --without-symbol-versions "$library" | awk '$2 != "A" { print $NF }') ;;
esac
expected=$(printf '%s\n' "$@" | sort)
if ! diff <(echo "$expected") <(sort <<<"$exported"); then
  echo "$library: the export list differs (< expected, > found)"
  exit 1
fi
echo "$library: exactly $# exports"
