#!/usr/bin/env bash
# Installs a build into a scratch root and tries clients against it. usage: check_package.sh BUILD_DIR
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$1" --prefix "$scratch/root" >"$scratch/install.log"
"$here/check_clients.sh" "$scratch/root"
