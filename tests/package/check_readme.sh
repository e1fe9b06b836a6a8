#!/usr/bin/env bash
# Compiles and runs the first C++ block of the README as it stands, and compares what it prints.
#
# usage: check_readme.sh ROOT COMPILER LIBRARY WORK [FLAG...]
set -euo pipefail
root=$1 compiler=$2 library=$3 work=$4
shift 4
mkdir -p "$work"
sed -n '/^```cpp$/,/^```$/{/^```/d;p}' "$root/README.md" >"$work/ten_lines.cpp"
[ "$(wc -l <"$work/ten_lines.cpp")" -eq 10 ] || { echo "README.md: its C++ is not one block of ten lines"; exit 1; }
"$compiler" -std=c++17 -Wall -Wextra -Werror "$@" -I"$root/include" -o "$work/ten_lines" "$work/ten_lines.cpp" "$library"
# Akima's formula in exact fractions; beyond 4 the value there.
expected='2.37179 2.29045 0 | slope 2.07692, area 8.77726'
printed=$("$work/ten_lines")
[ "$printed" = "$expected" ] || { echo "printed '$printed', expected '$expected'"; exit 1; }
