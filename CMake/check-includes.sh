#!/usr/bin/env bash
# Holds every #include "..." against the table of who may include whom, by folder: a room is a folder, and its line below
# is what it may include besides itself and Interfaces. Prints the offenders; exit status 1 if there are any.
# Usage: CMake/check-includes.sh [--table] [ROOT]     --table prints every arrow and how many includes it has
set -u
table=false
[ "${1-}" = --table ] && { table=true; shift; }
cd "${1:-$(dirname "$0")/..}" || exit 2

declare -A may=(
  [Include/Interfaces]=""
  [Include/Base]=""
  [Include/Props]="Include/Base"
  [Include/Image]="Include/Base"
  [Include/Video]="Include/Image Include/Base"
  [Include/Helpers]="Include/Image Include/Props Include/Base"
  [Include/DirectX/Shaders]="Include/Base"
  [Include/DirectX/Device]="Include/DirectX/Shaders Include/Base"
  [Include/DirectX/Pipeline]="Include/DirectX/Device Include/DirectX/Shaders Include/Base"
  [Include/DirectX/Convert]="Include/DirectX/Pipeline Include/DirectX/Device Include/DirectX/Shaders Include/Base"
  [Plugins/ZChromaKey/Work]="Plugins/ZChromaKey/Work/Kernels Include/Base"
  [Plugins/ZChromaKey/Work/Kernels]="Include/Base"
  [Plugins/ZChromaKey/Config]="Include/Props Include/Base"
  [Plugins/ZChromaKey/Frame/FrameEngine.h]="Include/Image Include/Base"
  [Plugins/ZChromaKey/Engine1]="Plugins/ZChromaKey/Frame/FrameEngine.h Plugins/ZChromaKey/Engine1/Kernels Plugins/ZChromaKey/Engine1/Gpu Plugins/ZChromaKey/Work
    Plugins/ZChromaKey/Work/Kernels Include/Video Include/Image Include/Base"
  [Plugins/ZChromaKey/Engine1/Kernels]="Include/Base"
  [Plugins/ZChromaKey/Engine1/Gpu]="Plugins/ZChromaKey/Frame/FrameEngine.h Include/DirectX/Convert Include/DirectX/Pipeline Include/DirectX/Device
    Include/DirectX/Shaders Include/Image Include/Base"
  [Plugins/ZChromaKey/Frame]="Plugins/ZChromaKey/Frame/FrameEngine.h Plugins/ZChromaKey/Config Include/Video Include/Image Include/Props Include/Base"
  [Plugins/ZChromaKey/Keys]="Plugins/ZChromaKey/Config Include/Helpers Include/Image Include/Props Include/Base"
  [Plugins/ZChromaKey/Keys2]="Plugins/ZChromaKey/Config Include/Helpers Include/Image Include/Props Include/Base"
  [Plugins/ZChromaKey/Objects/ClassTable.h]=""
  [Plugins/ZChromaKey/Com]="Plugins/ZChromaKey/Objects/ClassTable.h Include/Props Include/Base"
  [Plugins/ZChromaKey/Objects]="Plugins/ZChromaKey/Objects/ClassTable.h Plugins/ZChromaKey/Com
    Plugins/ZChromaKey/Frame Plugins/ZChromaKey/Frame/FrameEngine.h Plugins/ZChromaKey/Engine1
    Plugins/ZChromaKey/Engine1/Gpu Plugins/ZChromaKey/Keys Plugins/ZChromaKey/Config Include/Props Include/Image
    Include/Base"
  [Host/Kit]="any"
  [Host/zkhost/Files]="any"
  [Host/zkhost/Commands]="any"
  [Tools/Sample]="any"
  [Tools/Bench]="any"
  [Tools/Soak]="any"
  [Tests]="any"
  [Fuzz]="any"
)

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
  allowed=" ${may[$from]} "
  [[ "${allowed//$'\n'/ }" == *" $to "* ]] || offence "$file:$line: $from may not include $to (\"$name\")"
done < <(grep -rnE --include='*.h' --include='*.cpp' '^ *# *include +"' Include Plugins Host Tools Tests Fuzz 2>/dev/null)

if [ "$seen" -eq 0 ]; then
  echo "no #include found: wrong folder?"
  exit 2
fi
$table && for arrow in "${!count[@]}"; do printf '%s\t%d\n' "$arrow" "${count[$arrow]}"; done | sort
echo "$seen includes checked, $bad against the rules"
[ "$bad" -eq 0 ]
