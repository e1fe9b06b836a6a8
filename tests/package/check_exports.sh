#!/usr/bin/env bash
# Compares what a shared library exports with a list, name by name, and what it needs with what every system has. On
# Linux it also stays loaded and binds at once; GUARDED is 1 where it checks stack and buffers.
# usage: check_exports.sh LIBRARY GUARDED NAME...
set -euo pipefail
library=$1
guarded=$2
shift 2
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
  *)
    exported=$(nm -D --defined-only --without-symbol-versions "$library" | awk '$2 != "A" { print $NF }')
    headers=$(readelf -ldW --dyn-syms "$library")
    wanted=('FLAGS.* BIND_NOW' 'FLAGS_1.* NOW' 'FLAGS_1.* NODELETE' 'GNU_RELRO' 'GNU_STACK.* RW ')
    [ "$guarded" = 0 ] || wanted+=('UND __stack_chk_fail' 'UND __[a-z]*printf_chk')
    for mark in "${wanted[@]}"; do
      grep -q -- "$mark" <<<"$headers" || { echo "$library: no $mark"; exit 1; }
    done
    system='libc|libm'
    case $library in *vetraDataFitting*) system+='|libgcc_s|libstdc\+\+|libQt6Core' ;; esac
    if grep NEEDED <<<"$headers" | grep -vE "\[($system)\.so\.[0-9]+\]"; then
      echo "$library: needs other libraries"
      exit 1
    fi
    ;;
esac
expected=$(printf '%s\n' "$@" | sort)
if ! diff <(echo "$expected") <(sort <<<"$exported"); then
  echo "$library: the export list differs (< expected, > found)"
  exit 1
fi
echo "$library: exactly $# exports"
