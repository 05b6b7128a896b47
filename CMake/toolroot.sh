# The tool root: a Debian 13 system in a folder, with the cross compiler for Windows and Wine. Sourced by zk.
#
# It lies in the user's cache, outside the checkout, under a name that changes with its content, and is shared by all
# checkouts. Nothing in it knows where it lies. On a machine that is Debian 13 itself the same packages are installed
# instead, and commands run as they are.

readonly toolroot_release=trixie
readonly toolroot_packages=(wine wine64 libwine libwine-dev g++-mingw-w64-ucrt64 mingw-w64-tools cmake ninja-build
  googletest libcli11-dev libstb-dev ccache clang-19 lld-19 clang-tidy-19
  dxvk mesa-vulkan-drivers libvulkan1 libgl1-mesa-dri libgl1 xvfb) # Direct3D 11 without a graphics card, two of them
# Wine's DLLs without their debug information: a third of the size, there and in every Wine prefix.
readonly toolroot_hook='chroot "$1" sh -c "cd /usr/lib/x86_64-linux-gnu/wine/x86_64-windows &&
  for f in *.dll *.exe *.drv *.sys *.ocx *.cpl; do x86_64-w64-mingw32ucrt-strip --strip-debug \$f 2>/dev/null; done; true"'

toolroot_is_here() {
  ( . /etc/os-release && [ "$ID $VERSION_CODENAME" = "debian $toolroot_release" ] ) 2>/dev/null
}

toolroot_path() {
  local content
  content=$(printf '%s\n' "$toolroot_release" "$toolroot_hook" "${toolroot_packages[@]}" | sha256sum)
  printf '%s\n' "${XDG_CACHE_HOME:-$HOME/.cache}/zchromakey/$toolroot_release-${content:0:12}"
}

# Makes the tool root unless it is there. It appears under its name when it is complete.
toolroot_make() {
  local root=$1 new log=$PWD/build/toolroot.log
  mkdir -p build "$(dirname "$root")"
  (
    flock 9
    [ ! -d "$root" ] || exit 0
    say "making the tool root in $root (about a minute, once)"
    new=$(mktemp -d "$root.new.XXXXXX") || exit 1
    trap 'chmod -R u+w "$new" 2>/dev/null; rm -rf "$new"' EXIT
    chmod 755 "$new"
    if ! mmdebstrap --variant=apt --include="$(IFS=,; echo "${toolroot_packages[*]}")" \
      --customize-hook="$toolroot_hook" "$toolroot_release" - 2>"$log" |
      tar -C "$new" --numeric-owner --exclude='./dev/*' -x 2>>"$log"; then
      tail -n 20 "$log" >&2
      say "making the tool root failed; the whole log is $log"
      exit 1
    fi
    mv "$new" "$root"
    trap - EXIT
  ) 9>"$root.lock"
}

toolroot_ready() {
  if toolroot_is_here; then
    need "${toolroot_packages[@]}"
  else
    need mmdebstrap
    [ "$(id -u)" -eq 0 ] || need uidmap
    toolroot_make "$(toolroot_path)"
  fi
}

# COMMAND...: runs it in the tool root, in the same folder. Mounts end with the command.
in_toolroot() {
  if toolroot_is_here; then
    "$@"
    return
  fi
  local namespace=-m clean=(/usr/bin/env -i HOME=/root PATH=/usr/bin:/usr/sbin:/bin LANG=C.UTF-8
    CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_DIR=/var/cache/ccache CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=1)
  mkdir -p "$CCACHE_DIR"
  [ "$(id -u)" -eq 0 ] || namespace=-rm
  ROOT=$(toolroot_path) unshare "$namespace" bash -c '
    set -e
    for folder in proc sys dev; do mount --rbind "/$folder" "$ROOT/$folder"; done
    mkdir -p "$ROOT$PWD"
    mount --bind "$PWD" "$ROOT$PWD"
    mkdir -p "$ROOT/var/cache/ccache"
    mount --bind "$CCACHE_DIR" "$ROOT/var/cache/ccache"
    exec /usr/sbin/chroot "$ROOT" "$@"' - "${clean[@]}" bash -c 'cd "$0" && exec "$@"' "$PWD" "$@"
}
