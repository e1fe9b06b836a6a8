#!/usr/bin/env bash
# Builds a project that has the library as a part, by add_subdirectory and by FetchContent, where there is no Qt.
# usage: check_guest.sh SCRATCH_DIR COMPILER_LAUNCHER
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
scratch=$1
export CMAKE_C_COMPILER_LAUNCHER=$2 CMAKE_CXX_COMPILER_LAUNCHER=$2

# try NAME FETCHES LINKS OTHER: OTHER is the library that the host does not link.
try() {
  local dir=$scratch/$1
  rm -rf "$dir"
  {
    cmake -S "$here/host" -B "$dir" -DHOST_SOURCES="$here/../.." -DHOST_FETCHES="$2" -DHOST_LINKS="$3" \
      -DCMAKE_DISABLE_FIND_PACKAGE_Qt6=ON -DRAVENFIT_LEVELS=2 &&
      cmake --build "$dir" -j 2 && "$dir/host" && cmake --install "$dir" --prefix "$dir/root"
  } >"$scratch/log" 2>&1 || { tail -n 50 "$scratch/log"; exit 1; }
  grep -qx 'CMAKE_BUILD_TYPE:STRING=' "$dir/CMakeCache.txt" || { echo "$1: the build type is not empty"; exit 1; }
  diff <(echo ./bin/host) <(cd "$dir/root" && find . -type f) || { echo "$1: installs more than the host"; exit 1; }
  diff /dev/null <(find "$dir" -name "$4" -o -name '*vetra*.so*') || { echo "$1: builds what is not linked"; exit 1; }
  rm -r "$dir"
  echo "$1: works"
}

mkdir -p "$scratch"
try add_subdirectory OFF ravenfit 'libravenfit.so*'
try FetchContent ON ravenfit_shared 'libravenfit.a'
