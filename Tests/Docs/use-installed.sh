#!/usr/bin/env bash
# Installs a build, moves the tree elsewhere, and builds and runs the example host against it alone, by find_package and
# by the flags of the pkg-config file.
# Usage: use-installed.sh BUILD COMPILER
set -eu -o pipefail
build=$1 compiler=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
quietly() { "$@" >log.txt 2>&1 || { cat log.txt; echo "failed: $*"; exit 1; }; }

quietly cmake --install "$build" --prefix "$work/first"
mv first second # nothing in it may know where it was
prefix=$work/second
cp -r "$(find "$prefix" -type d -name examples)" example # on its own: no header of the checkout is near
quietly cmake -S example -B example/build -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler"
quietly cmake --build example/build

# pkg-config's own syntax is the shell's where it matters here, so that the file can be read without the program.
pcfiledir=$(dirname "$(find "$prefix" -name zchromakey.pc)")
eval "$(sed -nE 's/^([a-z]+)=(.*)$/\1="\2"/p; s/^Cflags: *(.*)$/cflags="\1"/p; s/^Libs: *(.*)$/libs="\1"/p' "$pcfiledir/zchromakey.pc")"
# shellcheck disable=SC2086 # flags are words
quietly "$compiler" -std=c++20 $cflags example/MinimalHost.cpp -o by-pkg-config $libs

zkhost=$prefix/bin/zkhost
quietly "$zkhost" sample -o in.raw --size 320x180 --frames 3 --format RGB32
quietly "$zkhost" detect in.raw --in RGB32:320x180 -o keys.xml
quietly "$zkhost" key in.raw --in RGB32:320x180 -o wanted.raw --keys keys.xml
for host in example/build/MinimalHost ./by-pkg-config; do
  "$host" "$module" 320 180 keys.xml <in.raw >hosted.raw
  cmp hosted.raw wanted.raw
  echo "$host keys as zkhost does"
done
example/build/EditKeys "$module" 320 180 edited.xml <in.raw >edited.txt
quietly "$zkhost" key in.raw --in RGB32:320x180 -o wanted.raw --keys edited.xml
grep 'shadows: 0 to 100 %' edited.txt # the parameters, and then what was keyed
grep '^backdrop .* mixed ' edited.txt
for file in LICENSE Interfaces/ZChromaKey.idl Interfaces/IZTables.h Sdk/HostFrame.h Sdk/ZChromaKeyC.h; do
  find "$prefix" -path "*/$file" | grep -q . || { echo "$file is not in the tree"; exit 1; }
done
! grep -rlI "$work/first" "$prefix" # a path of the place it was installed to
