#!/usr/bin/env bash
# Installs a Debian package into a scratch root and tries clients against it. usage: check_deb.sh PACKAGE
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

root=$scratch/root
mkdir -p "$root"/var/lib/dpkg/{info,updates}
: >"$root/var/lib/dpkg/status"
# What the package depends on is the host's, and so is the shell of its scripts.
dpkg --root="$root" --force-depends --force-not-root --force-script-chrootless --install "$1" >"$scratch/install.log" 2>&1 ||
  { cat "$scratch/install.log"; exit 1; }
[ -f "$root/usr/share/doc/ravenfit/README.md" ] || { echo "$1: no documentation"; exit 1; }
"$here/check_clients.sh" "$root/usr"
