#!/usr/bin/env bash
# Unpacks the Windows zip and links clients against its import libraries, one of them compiled for the ABI of the
# Microsoft compiler, and runs them with WINE unless that is empty. usage: check_zip.sh ZIP WINE
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
wine=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

unzip -q "$1" -d "$scratch"
prefix=$(echo "$scratch"/ravenfit-*)
cmp "$here/../../LICENSE" "$prefix/share/doc/ravenfit/LICENSE"
cmake -S "$here/client" -B "$scratch/client" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Release \
  -DRAVENFIT_EXAMPLES="$prefix/share/doc/ravenfit/examples" -DCMAKE_TOOLCHAIN_FILE="$here/../../cmake/toolchains/windows-i686.cmake" >"$scratch/log" || { cat "$scratch/log"; exit 1; }
cmake --build "$scratch/client" >"$scratch/log" || { cat "$scratch/log"; exit 1; }
clang++ --target=i686-pc-windows-msvc -I"$prefix/include" -c "$here/client/msvc_client.cpp" -o "$scratch/msvc_client.o"
i686-w64-mingw32-g++-posix -static "$scratch/msvc_client.o" "$prefix/lib/vetraDataFitting.lib" -o "$scratch/client/msvc_client.exe"

cp "$prefix"/bin/*.dll "$scratch/client"
examples=$(cd "$scratch/client" && ls example_*.exe)
for client in c_client_static c_client_shared cpp_client ${examples//.exe/} msvc_client; do
  if [ -n "$wine" ]; then
    "$wine" "$scratch/client/$client.exe" >"$scratch/output"
    echo "$client: works"
  else
    echo "$client: links"
  fi
done
[ -z "$wine" ] || grep -q 'Computed interpolation results are correct' "$scratch/output"
