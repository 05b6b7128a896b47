#!/usr/bin/env bash
# Runs a command that runs Windows programs: one Wine session around it, in this checkout's own prefix, with a display
# and two Direct3D 11 implementations that need no graphics card: DXVK, and wined3d for programs that are started with
# $WINEDLLOVERRIDES;d3d11,dxgi=b.
# Usage, in the root of the checkout: CMake/wine-session.sh COMMAND...
set -u
export WINEPREFIX=$PWD/build/wine WINEDEBUG=-all XDG_RUNTIME_DIR=/tmp
export WINEDLLOVERRIDES='mscoree,mshtml,winedbg.exe=d' # no set-up dialogs, no debugger after a crash
export VK_DRIVER_FILES=/usr/share/vulkan/icd.d/lvp_icd.json # the processor; a graphics card would give other results
export DXVK_LOG_LEVEL=none

quiet() { "$@" >/dev/null 2>&1 </dev/null; } # what Wine starts in the background must not hold on to our pipes
give_up() { echo "$1" >&2; exit 1; }

# Direct3D devices want a display, and Wine must know it from its first process on. Xvfb takes a number that is free
# and tells it.
exec {display}< <(exec Xvfb -displayfd 1 -screen 0 640x480x24 -nolisten tcp 2>/dev/null </dev/null)
xvfb=$!
trap 'kill $xvfb 2>/dev/null' EXIT
read -r -t 60 number <&"$display" || give_up "Xvfb does not start"
export DISPLAY=:$number

if [ ! -e "$WINEPREFIX/ready" ]; then
  rm -rf "$WINEPREFIX"
  mkdir -p build
  quiet wineboot -i && quiet wineserver -w && touch "$WINEPREFIX/ready" || give_up "Wine cannot make a prefix"
fi
if [ ! -e "$WINEPREFIX/ready-dxvk" ]; then
  quiet dxvk-setup install -y && quiet wineserver -w && touch "$WINEPREFIX/ready-dxvk" || give_up "DXVK cannot be set up"
fi
trap 'wineserver -k; kill $xvfb 2>/dev/null' EXIT
quiet wineserver -p
quiet wine cmd /c ver || give_up "Wine does not start"
"$@"
