#!/usr/bin/env bash
# Asks lintian about the Debian packages, installs them into a scratch root, first without the demonstrations, and tries
# clients and the command against it. usage: check_deb.sh LIBRARY DEVELOPMENT DEMONSTRATIONS COMMAND
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

lintian --fail-on error --allow-root "$@"

# depends PACKAGE PATTERN: all that the package depends on.
depends() {
  local found
  found=$(dpkg-deb -f "$1" Depends)
  grep -qxE "$2" <<<"$found" || { echo "$1 depends on $found"; exit 1; }
}
depends "$1" 'libc6 \(>= [0-9.]+\)'
depends "$2" 'libravenfit0 \(= [0-9.-]+\)'
depends "$3" 'libc6 [^,]+, libgcc-s1 [^,]+, libqt6core6 [^,]+, libstdc\+\+6 [^,]+'

depends "$4" 'libc6 [^,]+, libfmt9 [^,]+, libgcc-s1 [^,]+, libstdc\+\+6 [^,]+'

root=$scratch/root
mkdir -p "$root"/var/lib/dpkg/{info,updates}
: >"$root/var/lib/dpkg/status"
# What the packages depend on is the host's, and so is the shell of their scripts.
unpack() {
  dpkg --root="$root" --force-depends --force-not-root --force-script-chrootless --install "$@" >"$scratch/install.log" 2>&1 ||
    { cat "$scratch/install.log"; exit 1; }
}
unpack "$1" "$2"
"$here/check_clients.sh" "$root/usr" c_client_static c_client_shared
unpack "$3"
"$here/check_clients.sh" "$root/usr"
unpack "$4"
[ "$("$root/usr/bin/ravenfit" sample sobol -n 2)" = $'0.5\n0.75' ]
zcat "$root/usr/share/man/man1/ravenfit.1.gz" | grep -q 'ravenfit resample'
bash -n "$root/usr/share/bash-completion/completions/ravenfit"
for package in libravenfit0 libravenfit-dev vetra-data-fitting ravenfit; do
  cmp "$here/../../LICENSE" "$root/usr/share/doc/$package/copyright"
done
