#!/usr/bin/env bash
# Starts Wine for 32-bit programs, which is first unpacked into DIR, beside the system, whose own packages and lists
# stay as they are: a foreign architecture would have to agree with every update of the host's. DIR/wine then runs
# Windows programs, and `DIR/wine server -k` ends it. As root, on Debian. False, loudly, where it cannot be had.
# usage: wine.sh DIR
set -euo pipefail
mkdir -p "$1"
dir=$(cd "$1" && pwd)

fetch() {
  local codename uri package
  rm -rf "$dir"/{apt,root,prefix,wine}
  mkdir -p "$dir"/apt/{lists,archives}/partial "$dir"/apt/none "$dir/root" "$dir/prefix/drive_c/windows/system32"
  : >"$dir/apt/status"
  codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
  apt-get update -qq # the host's lists name its mirror
  DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends libc6-i386 >/dev/null # the loader
  # shellcheck disable=SC2016
  uri=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Label: Debian' "Codename: $codename" | sed -n 1p)
  echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $uri $codename main" >"$dir/apt/sources.list"
  cat >"$dir/apt/apt.conf" <<CONF
APT::Architecture "i386";
#clear APT::Architectures;
APT::Architectures { "i386"; };
APT::Sandbox::User "root";
Dir::State "$dir/apt";
Dir::State::status "$dir/apt/status";
Dir::Cache "$dir/apt";
Dir::Etc::sourcelist "$dir/apt/sources.list";
Dir::Etc::sourceparts "$dir/apt/none";
Dir::Etc::preferencesparts "$dir/apt/none";
CONF
  (cd "$dir/apt/archives" && export APT_CONFIG="$dir/apt/apt.conf" &&
    apt-get update -qq && apt-get download -qq wine32 libwine libz-mingw-w64) || return
  for package in "$dir"/apt/archives/*.deb; do
    dpkg-deb -x "$package" "$dir/root" || return
  done
  rm -r "$dir/apt"
  ln -sf wineserver32 "$dir/root/usr/lib/wine/wineserver"
  cp "$dir/root/usr/i686-w64-mingw32/lib/zlib1.dll" "$dir/prefix/drive_c/windows/system32" || return
  cat >"$dir/wine" <<SCRIPT
#!/bin/sh
export WINEPREFIX="$dir/prefix" WINEARCH=win32 WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
unset DISPLAY
[ "\$1" != server ] || { shift; exec "$dir/root/usr/lib/wine/wineserver" "\$@"; }
exec "$dir/root/usr/lib/wine/wine" "\$@"
SCRIPT
  chmod +x "$dir/wine"
}

# Without a server that stays, with its output closed, every test would wait for the end of one; there may be one.
start() {
  "$dir/wine" server -p </dev/null >/dev/null 2>&1 || true
  timeout 120 "$dir/wine" cmd /c exit </dev/null >/dev/null 2>&1
}

if ! { { [ -x "$dir/wine" ] || fetch; } && start; }; then
  printf '!!\n!! Wine for 32-bit programs cannot be had on this machine: the Windows build is NOT RUN here.\n!!\n' >&2
  exit 1
fi
