#!/usr/bin/env bash
# Runs the demonstration and compares both its streams with what they must be, whatever ends a line. A coefficient
# that is 0 in exact arithmetic carries rounding noise of either sign: -0.000000 counts as +0.000000.
# usage: check_demo.sh EXPECTED COMMAND...
set -euo pipefail
expected=$1
shift
errors=$(mktemp)
trap 'rm -f "$errors"' EXIT
"$@" 2>"$errors" | tr -d '\r' | sed 's/-0\.000000/+0.000000/g' | diff "$expected" -
printf 'Number of break points  9\n' | diff - <(tr -d '\r' <"$errors")
