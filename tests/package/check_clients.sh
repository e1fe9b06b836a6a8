#!/usr/bin/env bash
# Builds C and C++ clients against an installed tree, through find_package and through pkg-config, and runs them.
# usage: check_clients.sh PREFIX [CLIENT...], without names all clients
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
prefix=$(cd "$1" && pwd)
shift
[ $# -gt 0 ] || set -- c_client_static c_client_shared cpp_client
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmp "$here/../../LICENSE" "$prefix"/share/doc/*/LICENSE

examples=$(echo "$prefix"/share/doc/*/examples)
cmake -S "$here/client" -B "$scratch/client" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Release \
  -DRAVENFIT_EXAMPLES="$examples" >/dev/null
cmake --build "$scratch/client" >"$scratch/log" || { cat "$scratch/log"; exit 1; }
for client in "$@"; do
  "$scratch/client/$client" >/dev/null
  echo "$client: works"
done
export OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1
for program in "$scratch"/client/{example_*,parallel_client}; do
  [ -x "$program" ] || continue
  "$program" >/dev/null
done
echo "$(ls "$scratch"/client | grep -c ^example_) examples: work"

pc=$(dirname "$(find "$prefix" -name ravenfit.pc)")
export PKG_CONFIG_PATH="$pc"
libdir=$(pkg-config --variable=libdir ravenfit)
[ "$libdir" -ef "$pc/.." ] || { echo "ravenfit.pc names $libdir, which is not the installed tree"; exit 1; }
# shellcheck disable=SC2046
cc -std=c99 -Wall -Wextra -pedantic -Werror "$here/client/client.c" -o "$scratch/pc_shared" $(pkg-config --cflags --libs ravenfit) -Wl,-rpath,"$libdir"
"$scratch/pc_shared" >/dev/null
# shellcheck disable=SC2046
cc -std=c99 "$here/client/client.c" -o "$scratch/pc_static" $(pkg-config --cflags ravenfit) "$libdir/libravenfit.a" -lstdc++ -lm -lpthread
"$scratch/pc_static" >/dev/null
# shellcheck disable=SC2046
c++ -std=c++17 "$examples/yield_curve.cpp" -o "$scratch/pc_cpp" $(pkg-config --cflags --libs ravenfit) -Wl,-rpath,"$libdir"
"$scratch/pc_cpp" >/dev/null
echo "pkg-config clients: work"
