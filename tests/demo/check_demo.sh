#!/usr/bin/env bash
# Runs the demonstration and compares both its streams with what they must be. A coefficient that is 0 in exact
# arithmetic carries rounding noise of either sign: -0.000000 counts as +0.000000.
# usage: check_demo.sh PROGRAM EXPECTED
set -euo pipefail
errors=$(mktemp)
trap 'rm -f "$errors"' EXIT
"$1" 2>"$errors" | sed 's/-0\.000000/+0.000000/g' | diff "$2" -
printf 'Number of break points  9\n' | diff - "$errors"
