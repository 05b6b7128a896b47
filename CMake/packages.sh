# Packages to pass on: of Debian for each part, a zip for Windows, checksums. Sourced by zk.

package_version() { sed -nE 's/^project\(ZChromaKey VERSION ([0-9.]+).*/\1/p' CMakeLists.txt; }

# FOLDER: Debian packages of what can be built here.
package_debian() {
  build packages
  rm -rf build/debian
  logged packages cpack --config build/packages/CPackConfig.cmake -G DEB -B build/debian
  mkdir -p "$1"
  mv build/debian/*.deb "$1"
}

# FOLDER: the zip for Windows, with how to install it and how to take it away again.
package_windows() {
  cmd_install windows
  local name
  name=zchromakey-$(package_version)-windows-x64
  rm -rf "build/$name"
  cp -r "$out/install-windows" "build/$name"
  cp Docs/INSTALL-windows.txt "build/$name/INSTALL.txt"
  cp LICENSE CHANGELOG.md "build/$name"
  (cd build && cmake -E tar cf "$OLDPWD/$1/$name.zip" --format=zip -- "$name")
  rm -rf "build/$name"
}

# Installs the packages into an empty root, keys from there, and removes them again: nothing may be left.
check_packages() {
  local dir=build/check-packages root tool=(dpkg --force-depends --force-not-root --log=/dev/null) names
  rm -rf "$dir"
  package_debian "$dir"
  root=$PWD/$dir/root
  mkdir -p "$root"/var/lib/dpkg/{info,updates,triggers}
  touch "$root"/var/lib/dpkg/{status,available}
  tool+=("--root=$root")
  "${tool[@]}" --force-script-chrootless -i "$dir"/*.deb >"$dir/log" 2>&1 || { cat "$dir/log"; return 1; }
  names=$(dpkg-query --root="$root" -W -f='${Package} ${db:Status-Status}\n')
  printf '%s\n' "$names"
  [ "$(grep -c ' installed$' <<<"$names")" -eq 7 ] || { echo "not all seven packages are installed"; return 1; }
  package_keys "$root" || return 1
  # shellcheck disable=SC2046 # names are words
  "${tool[@]}" --force-script-chrootless --purge $(cut -d' ' -f1 <<<"$names") >>"$dir/log" 2>&1 || { cat "$dir/log"; return 1; }
  names=$(find "$root" -path "$root/var" -prune -o ! -type d -print)
  [ -z "$names" ] || { printf 'left behind: %s\n' "$names"; return 1; }
}

# ROOT: programs of the packages key, each with the module of the packages, and agree.
package_keys() {
  local root=$1 work clip=(-f rawvideo -pix_fmt bgra -s 320x180)
  work=$(dirname "$1")
  local -x LD_LIBRARY_PATH=$root/usr/lib/x86_64-linux-gnu # where the loader looks by itself when they are in /usr
  "$root/usr/bin/zkhost" sample -o "$work/clip.raw" --size 320x180 --frames 1 --format RGB32 -q &&
    "$root/usr/bin/zkhost" key "$work/clip.raw" --in RGB32:320x180 -o "$work/keyed.raw" -q &&
    FREI0R_PATH=$root/usr/lib/frei0r-1 ffmpeg -v error "${clip[@]}" -i "$work/clip.raw" -vf frei0r=zchromakey \
      "${clip[@]:0:4}" "$work/filtered.raw" &&
    cmp "$work/keyed.raw" "$work/filtered.raw" &&
    PYTHONDONTWRITEBYTECODE=1 PYTHONPATH=$root/usr/lib/python3/dist-packages /usr/bin/python3 -c \
      'import zchromakey, sys; print(zchromakey.version()); sys.exit(zchromakey.__file__.startswith(sys.argv[1]) is False)' \
      "$root" &&
    GST_REGISTRY=$work/registry GST_PLUGIN_PATH=$root/usr/lib/x86_64-linux-gnu/gstreamer-1.0 \
      gst-inspect-1.0 zchromakey >"$work/element.txt"
}
