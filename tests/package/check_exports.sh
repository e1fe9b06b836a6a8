#!/usr/bin/env bash
# Compares what a shared library exports with a list, name by name. usage: check_exports.sh LIBRARY NAME...
set -euo pipefail
library=$1
shift
exported=$(nm -D --defined-only "$library" | awk '{print $NF}' | sort)
expected=$(printf '%s\n' "$@" | sort)
if ! diff <(echo "$expected") <(echo "$exported"); then
  echo "$library: the export list differs (< expected, > found)"
  exit 1
fi
echo "$library: exactly $# exports"
