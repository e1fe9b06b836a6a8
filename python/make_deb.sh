#!/usr/bin/env bash
# Makes the Debian package python3-ravenfit of a wheel, asks lintian about it, installs it into a scratch root and imports it
# from there. usage: make_deb.sh WHEEL FOLDER
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

tree=$scratch/tree
site=$tree/usr/lib/python3/dist-packages
papers=$tree/usr/share/doc/python3-ravenfit
mkdir -p "$site" "$papers" "$tree/DEBIAN" "$2"
unzip -q "$1" -d "$site"
rm "$site"/ravenfit-*.dist-info/{RECORD,WHEEL}
version=$(sed -n 's/^Version: //p' "$site"/ravenfit-*.dist-info/METADATA)
python=$(/usr/bin/python3 -c 'import sys; print(f"{sys.version_info.major}.{sys.version_info.minor}")')
architecture=$(dpkg --print-architecture)
maintainer='The Ravenfit authors <maintainers@ravenfit.invalid>' # packages must have an address

cp "$here/../LICENSE" "$papers/copyright"
cat >"$scratch/changelog" <<TEXT
python3-ravenfit ($version-1) unstable; urgency=medium

  * See the changes of version $version.

 -- $maintainer  $(date -uR)
TEXT
gzip -9nc "$scratch/changelog" >"$papers/changelog.Debian.gz"

# What the module is linked with, by the packages that have it.
mkdir "$scratch/debian"
printf 'Source: ravenfit\n\nPackage: python3-ravenfit\nArchitecture: any\n' >"$scratch/debian/control"
libraries=$(cd "$scratch" && dpkg-shlibdeps -O --ignore-missing-info "$site"/ravenfit/_core*.so | sed 's/^shlibs:Depends=//')
cat >"$tree/DEBIAN/control" <<TEXT
Package: python3-ravenfit
Version: $version-1
Architecture: $architecture
Maintainer: $maintainer
Section: python
Priority: optional
Depends: python3 (>= $python), python3 (<< ${python%.*}.$((${python#*.} + 1))), python3-numpy, $libraries
Suggests: python3-scipy, python3-matplotlib, python3-dask, python3-distributed, python3-pandas
Installed-Size: $(du -sk "$tree/usr" | cut -f1)
Description: splines, random streams and tridiagonal systems for Python
 Splines through millions of points with SciPy's words, generators for NumPy's
 random numbers, quasi-random points, and a tridiagonal solver, in builds from
 SSE2 to AVX2.
TEXT
(cd "$tree" && find usr -type f -print0 | xargs -0 md5sum >DEBIAN/md5sums)
find "$tree" -type d -exec chmod 755 {} +
find "$tree" -type f -exec chmod 644 {} +
package=$2/python3-ravenfit_$version-1_$architecture.deb
dpkg-deb --root-owner-group --build "$tree" "$package" >/dev/null
lintian --fail-on error --allow-root "$package"

root=$scratch/root
mkdir -p "$root"/var/lib/dpkg/{info,updates}
: >"$root/var/lib/dpkg/status"
dpkg --root="$root" --force-depends --force-not-root --install "$package" >"$scratch/install.log" 2>&1 ||
  { cat "$scratch/install.log"; exit 1; }
cd "$scratch"
PYTHONPATH=$root/usr/lib/python3/dist-packages /usr/bin/python3 - "$root" "$version" <<'TEXT'
import sys
import numpy as np
import ravenfit
from ravenfit.qmc import Sobol
from ravenfit.random import SFMT19937
assert ravenfit.__file__.startswith(sys.argv[1]) and ravenfit.__version__ == sys.argv[2]
assert abs(ravenfit.CubicSpline([0, 1, 2, 3], [0, 1, 8, 27])(2.5) - 15.625) < 1e-12
assert np.random.Generator(SFMT19937(1)).normal(size=3).shape == Sobol(3, seed=1).random(1)[0].shape
TEXT
echo "$package"
