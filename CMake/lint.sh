#!/usr/bin/env bash
# clang-tidy over the sources of a build. A source that passed is not read again before it, a header of ours that it
# includes, the build's flags, the settings or clang-tidy itself change: what passed is kept in the user's cache.
# Usage, in the root of the checkout: CMake/lint.sh BUILD
set -eu -o pipefail
build=$1
cache=${XDG_CACHE_HOME:-$HOME/.cache}/zchromakey/lint
mkdir -p "$cache"
find "$cache" -type f -mtime +30 -delete

hashes() { git ls-files -z --cached --others --exclude-standard -- '*.h' '*.cpp' | xargs -0 sha256sum -- 2>/dev/null; }

# "SOURCE HASHES": each source that the build compiled, and the hashes of the files of ours that it was made from.
materials() {
  awk -v root="$PWD/" '
    NR == FNR { hash[$2] = $1; next }
    !/^ / { source = ""; next }
    {
      name = $1
      sub(/^(\.\.\/)+/, "", name)
      if (index(name, root) == 1) name = substr(name, length(root) + 1)
      if (!(name in hash)) next
      if (source == "" && name ~ /\.cpp$/) source = name
      if (source != "") made[source] = made[source] hash[name]
    }
    END { for (source in made) print source, made[source] }
  ' <(hashes) <(ninja -C "$build" -t deps)
}

settings=$(clang-tidy --version && cat .clang-tidy CMake/flags.cmake CMake/targets.cmake)
seen=0 todo=()
while read -r source material; do
  seen=$((seen + 1))
  key=$(printf '%s\n' "$settings" "$source" "$material" | sha256sum)
  [ -e "$cache/${key%% *}" ] || todo+=("$source" "$cache/${key%% *}")
done < <(materials | sort)

echo "$seen sources, $((${#todo[@]} / 2)) to read"
[ "$seen" -gt 0 ] || exit 1
[ ${#todo[@]} -gt 0 ] || exit 0
printf '%s\n' "${todo[@]}" | xargs -P "$(nproc)" -n 2 bash -c '
  if text=$(clang-tidy --quiet -p "$0" "$1" 2>&1); then touch "$2"; else printf "%s\n" "$text" | grep -v "warnings\? generated\|^Suppressed\|^Use -"; exit 1; fi
' "$build"
