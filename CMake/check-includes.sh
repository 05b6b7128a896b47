#!/usr/bin/env bash
# Holds every #include "..." against the table of who may include whom. Prints the offenders; exit status 1 if any.
# Usage: CMake/check-includes.sh [ROOT]
set -u
cd "${1:-$(dirname "$0")/..}" || exit 2

# Boxes a box may include besides itself and Interfaces.
declare -A may=(
  [Interfaces]=""
  [Base]=""
  [Props]="Base"
  [Image]="Base"
  [Video]="Image Base"
  [Helpers]="Image Props Base"
  [Shaders]="Base"
  [DirectX]="Shaders Base"
  [Kernels]="Base"
  [engine]="Kernels Video Image Base"
  [objects]="engine Helpers DirectX Video Image Props Base"
  [Com]="objects engine Helpers DirectX Video Image Props Base"
  [any]="Interfaces Base Props Image Video Helpers Shaders DirectX Kernels engine objects any"
)

# The engine and the objects share a folder; the engine's files are listed here.
engine_files='^(CancelPlane|ChromaKey|MaskPost|KeySlice|KeyPlan|KeyPool)\.'

box() { # path from the root of its include tree -> name of its box
  case "$1" in
    Include/Interfaces/*) echo Interfaces ;;
    Include/DirectX/Shaders/*) echo Shaders ;;
    Include/*/*) local rest=${1#Include/}; echo "${rest%%/*}" ;;
    Plugins/ZChromaKey/Kernels/*) echo Kernels ;;
    Plugins/ZChromaKey/Com/*) echo Com ;;
    Plugins/ZChromaKey/*) [[ ${1##*/} =~ $engine_files ]] && echo engine || echo objects ;;
    *) echo any ;;
  esac
}

resolve() { # the text of an #include, the including file -> path in this tree
  local root
  for root in Include Plugins Host Tests Bench Fuzz; do
    [ -f "$root/$1" ] && { echo "$root/$1"; return; }
  done
  [ -f "$(dirname "$2")/$1" ] && echo "$(dirname "$2")/$1"
}

bad=0 seen=0
while IFS=: read -r file line text; do
  name=${text#*\"} name=${name%%\"*}
  target=$(resolve "$name" "$file")
  seen=$((seen + 1))
  if [ -z "$target" ]; then
    echo "$file:$line: \"$name\" is not in the tree; use <...> for the system's headers"
    bad=$((bad + 1))
    continue
  fi
  from=$(box "$file") to=$(box "$target")
  [ "$from" = any ] || [ "$to" = "$from" ] || [ "$to" = Interfaces ] && continue
  if ! [[ " ${may[$from]} " == *" $to "* ]]; then
    echo "$file:$line: $from may not include $to (\"$name\")"
    bad=$((bad + 1))
  fi
done < <(grep -rnE --include='*.h' --include='*.cpp' '^ *# *include +"' Include Plugins Host Tests Bench Fuzz 2>/dev/null)

if [ "$seen" -eq 0 ]; then
  echo "no #include found: wrong folder?"
  exit 2
fi
echo "$seen includes checked, $bad against the rules"
[ "$bad" -eq 0 ]
