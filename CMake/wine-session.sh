#!/usr/bin/env bash
# Runs a command that runs Windows programs: one Wine session around it, in this checkout's own prefix.
# Usage, in the root of the checkout: CMake/wine-session.sh COMMAND...
set -u
export WINEPREFIX=$PWD/build/wine WINEDEBUG=-all XDG_RUNTIME_DIR=/tmp
export WINEDLLOVERRIDES='mscoree,mshtml,winedbg.exe=d' # no set-up dialogs, no debugger after a crash

quiet() { "$@" >/dev/null 2>&1 </dev/null; } # what Wine starts in the background must not hold on to our pipes
if [ ! -e "$WINEPREFIX/ready" ]; then
  rm -rf "$WINEPREFIX"
  mkdir -p build
  quiet wineboot -i && quiet wineserver -w && touch "$WINEPREFIX/ready" || { echo "Wine cannot make a prefix" >&2; exit 1; }
fi
trap 'wineserver -k' EXIT
quiet wineserver -p
quiet wine cmd /c ver || { echo "Wine does not start" >&2; exit 1; }
"$@"
