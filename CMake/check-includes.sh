#!/usr/bin/env bash
# Holds every #include "..." against the table of who may include whom, by folder: a room is a folder, and its line below
# is what it may include besides itself and Interfaces. Prints the offenders; exit status 1 if there are any.
# Usage: CMake/check-includes.sh [--table] [ROOT]     --table prints every arrow and how many includes it has
set -u
table=false
[ "${1-}" = --table ] && { table=true; shift; }
cd "${1:-$(dirname "$0")/..}" || exit 2

# A room, and the rooms that it may include.
declare -A may=()
room() { may[$1]=${*:2}; }
I=Include H=Host T=Tools X=Include/DirectX P=Plugins/ZChromaKey

room $I/Interfaces
room $I/Base
room $I/Sdk      $I/Base # what a host author may start from
room $I/Simd     $I/Base
room $I/Props    $I/Base
room $I/Image    $I/Simd $I/Base
room $I/Video    $I/Image $I/Base
room $I/Helpers  $I/Image $I/Props $I/Base
room $X/Shaders  $I/Base
room $X/Device   $X/Shaders $I/Base
room $X/Pipeline $X/Device $X/Shaders $I/Base
room $X/Convert  $X/Pipeline $X/Device $X/Shaders $I/Base

room $P/Work         $P/Work/Kernels $I/Base
room $P/Work/Kernels $I/Simd $I/Base
room $P/Config       $I/Props $I/Base
room $P/Licence      $X/Pipeline $X/Device $I/Video $I/Image $I/Props $I/Base # of builds with an issuer's key
room $P/Frame/FrameEngine.h $I/Image $I/Base # what an engine is: engines see it without the rest of Frame
room $P/Frame           $P/Frame/FrameEngine.h $P/Licence $P/Config $I/Video $I/Image $I/Props $I/Base
room $P/Engine1         $P/Frame/FrameEngine.h $P/Engine1/Kernels $P/Engine1/Gpu $P/Work $P/Work/Kernels $I/Video $I/Image $I/Base
room $P/Engine1/Kernels $I/Simd $I/Base
room $P/Engine1/Gpu     $P/Frame/FrameEngine.h $P/Work/Kernels $X/Convert $X/Pipeline $X/Device $X/Shaders $I/Image $I/Base
room $P/Engine2/UnmixFrameEngine.h $P/Frame/FrameEngine.h $I/Image $I/Base # what is asked of it
room $P/Engine2/Gpu     $P/Engine2 $P/Frame/FrameEngine.h $X/Pipeline $X/Device $X/Shaders $I/Image $I/Base
room $P/Engine2         $P/Engine2/Gpu $P/Engine2/UnmixFrameEngine.h $P/Frame/FrameEngine.h $P/Work $I/Simd $I/Video $I/Image $I/Base
room $P/Keys            $P/Config $I/Helpers $I/Image $I/Props $I/Base
room $P/Keys2           $P/Config $I/Helpers $I/Image $I/Props $I/Base
room $P/Objects/ClassTable.h # for the registration: no class of Objects
room $P/Com             $P/Objects/ClassTable.h $I/Props $I/Base
room $P/Objects         $P/Objects/ClassTable.h $P/Com $P/Frame $P/Frame/FrameEngine.h $P/Engine1 $P/Engine1/Gpu $P/Keys \
                        $P/Engine2 $P/Engine2/UnmixFrameEngine.h $P/Keys2 $P/Licence $P/Config $I/Helpers $I/Video $I/Props $I/Image $I/Base
room $P/Flat            $P/Objects/ClassTable.h $I/Sdk $I/Video $I/Image $I/Base # over the objects' interfaces

room $H/Shell           $I/Sdk # plug-ins of other programs: by the C interface alone
room $H/frei0r          $H/Shell $I/Sdk
room $H/gstreamer       $H/Shell $I/Sdk
room $H/obs             $H/Shell $I/Sdk
room $H/openfx          $H/Shell $I/Sdk
room $H/Kit             $I/Video $I/Base
room $H/zkhost/Files    $H/Kit $I/Video $I/Image $I/Props $I/Base
room $H/zkhost/Ui       $H/zkhost/Files $H/Kit $I/Video $I/Image $I/Props $I/Base
room $T/Sample          $H/zkhost/Files $H/Kit $I/Video $I/Image $I/Props $I/Base
room $T/Soak            $X/Device $T/Sample $H/zkhost/Files $H/Kit $I/Video $I/Image $I/Props $I/Base
room $T/Bench           any # measures parts
room $T/Licence         $P/Licence $I/Props $I/Base
room $T/Quality         $T/Sample $T/Bench $H/zkhost/Files $H/Kit $I/Video $I/Image $I/Props $I/Base
room $T/Guide           $T/Quality $T/Sample $T/Bench $H/zkhost/Files $H/Kit $I/Video $I/Image $I/Props $I/Base
room $H/zkhost/Commands $H/zkhost/Ui $T/Sample $T/Bench $T/Soak $H/zkhost/Files $H/Kit $I/Video $I/Image $I/Props $I/Base
room Tests              any
room Fuzz               any

declare -A count=()

# The room of a path: the longest folder above it that has a line in the table, so that x86 or Xml belong to the room
# above them. What an engine is stands in a header of its own, which engines may see without the rest of Frame.
room_of() {
  local folder=$1
  while [ -n "$folder" ]; do
    [ -n "${may[$folder]+set}" ] && { echo "$folder"; return; }
    [ "$folder" = "${folder%/*}" ] && break
    folder=${folder%/*}
  done
  echo "none"
}

resolve() { # the text of an #include, the including file -> path in this tree
  local root
  for root in Include Plugins Host Tools Tests Fuzz; do
    [ -f "$root/$1" ] && { echo "$root/$1"; return; }
  done
  [ -f "$(dirname "$2")/$1" ] && echo "$(dirname "$2")/$1"
}

bad=0 seen=0
offence() { echo "$1"; bad=$((bad + 1)); }
while IFS=: read -r file line text; do
  name=${text#*\"} name=${name%%\"*}
  target=$(resolve "$name" "$file")
  seen=$((seen + 1))
  if [ -z "$target" ]; then
    offence "$file:$line: \"$name\" is not in the tree; use <...> for the system's headers"
    continue
  fi
  from=$(room_of "$file") to=$(room_of "$target")
  if [ "$from" = none ] || [ "$to" = none ]; then
    offence "$file:$line: a folder without a line in the table of CMake/check-includes.sh (\"$name\")"
    continue
  fi
  count["$from → $to"]=$((${count["$from → $to"]-0} + 1))
  [ "${may[$from]}" = any ] || [ "$to" = "$from" ] || [ "$to" = Include/Interfaces ] && continue
  [[ " ${may[$from]} " == *" $to "* ]] || offence "$file:$line: $from may not include $to (\"$name\")"
done < <(grep -rnE --include='*.h' --include='*.cpp' '^ *# *include +"' Include Plugins Host Tools Tests Fuzz 2>/dev/null)

if [ "$seen" -eq 0 ]; then
  echo "no #include found: wrong folder?"
  exit 2
fi
$table && for arrow in "${!count[@]}"; do printf '%s\t%d\n' "$arrow" "${count[$arrow]}"; done | sort
echo "$seen includes checked, $bad against the rules"
[ "$bad" -eq 0 ]
