# Lint: clang-tidy over every source of the tree. Sourced by zk.
#
# What a build for Linux compiles is read with the commands of the build "lint", the rest with those of "lint-windows",
# in the tool root; a source with parts for Windows is read with both. The builds are configured, not built. A source that
# passed is not read again before it, a header of ours that it includes, its command, the settings or clang-tidy itself
# change: what passed is kept in the user's cache. A source that neither build knows is an error.

readonly lint_memory=${XDG_CACHE_HOME:-$HOME/.cache}/zchromakey/lint
lint_settings() { lint_sources .clang-tidy "*/.clang-tidy" | xargs cat; }

lint_sources() { git ls-files --cached --others --exclude-standard -- "$@"; }

# "SOURCE HASHES" of each source: of itself and of every file of ours that it includes, whatever the conditions.
lint_materials() {
  awk '
    FNR == 1 { input++ }
    input == 1 { hash[$2] = $1; next }
    {
      split($0, part, ":")
      name = $0; sub(/^[^"]*"/, "", name); sub(/".*/, "", name)
      found = resolve(part[1], name)
      if (found != "") includes[part[1]] = includes[part[1]] " " found
    }
    function resolve(from, name,    folder, root, i) {
      folder = from; sub(/[^\/]*$/, "", folder)
      if ((folder name) in hash) return folder name
      for (i = split("Include Plugins Host Tools Tests Fuzz", root, " "); i > 0; i--)
        if ((root[i] "/" name) in hash) return root[i] "/" name
      return ""
    }
    function visit(file,    list, i, n) {
      if (visited[file] == source) return
      visited[file] = source
      material = material hash[file]
      n = split(includes[file], list, " ")
      for (i = 1; i <= n; i++) visit(list[i])
    }
    END { for (source in hash) if (source ~ /\.cpp$/) { material = ""; visit(source); print source, material } }
  ' <(lint_sources '*.h' '*.cpp' | tr '\n' '\0' | xargs -0 sha256sum -- 2>/dev/null) \
    <(grep -rE --include='*.h' --include='*.cpp' '^ *# *include +"' Include Plugins Host Tools Tests Fuzz)
}

# "SOURCE COMMAND" of each source of ours in a build, without the path of the checkout.
lint_commands() { # BUILD
  local text
  text=$(<"build/$1/compile_commands.json")
  awk '
    $1 == "\"command\":" { sub(/^ *"command": /, ""); command = $0 }
    $1 == "\"file\":" { gsub(/[",]/, "", $2); if (!($2 in seen)) print $2, command; seen[$2] }
  ' <<<"${text//"$PWD/"/}"
}

# "BUILD SOURCE WHAT": where each source is read, and everything that the answer depends on besides the settings.
lint_plan() {
  awk '
    FNR == 1 { input++ }
    { rest = $0; sub(/^[^ ]* /, "", rest) }
    input == 1 { material[$1] = rest; next }
    input == 2 { for_windows[$1]; next }
    !($1 in material) { next }
    input == 3 { for_linux[$1]; print "lint", $1, rest, material[$1]; next }
    !($1 in for_linux) || $1 in for_windows { print "lint-windows", $1, rest, material[$1] }
  ' <(lint_materials) <(lint_sources '*.cpp' | tr '\n' '\0' | xargs -0 grep -ls _WIN32 --) \
    <(lint_commands lint) <(lint_commands lint-windows)
}

# Of a plan's lines for one build, "SOURCE KEY" of what no earlier run remembers.
lint_todo() { # BUILD SETTINGS
  local build source what key
  while read -r build source what; do
    [ "$build" = "$1" ] || continue
    key=$(printf '%s\n' "$2" "$build" "$source" "$what" | sha256sum)
    [ -e "$lint_memory/${key%% *}" ] || echo "$source ${key%% *}"
  done
}

# Reads sources, and remembers which pass. Prints what it finds in the others; false unless all of them pass.
lint_read() { # TODO BUILD COMMAND...: TODO has "SOURCE KEY" lines; the last word of COMMAND is clang-tidy's name
  local todo=$1 build=$2 tool=${*: -1} word key passed=0
  while read -r word key; do
    if [ "$word" = passed ]; then
      touch "$lint_memory/$key"
      passed=$((passed + 1))
    else
      printf '%s\n' "$word${key:+ $key}"
    fi
  done < <("${@:3:$#-3}" xargs -r -P "$(nproc)" -n 2 bash -c '
    if text=$("$0" --quiet -p "$1" "$2" 2>&1); then echo "passed $3"; else printf "%s\n" "$text" "$2 does not pass"; fi
  ' "$tool" "build/$build" <<<"$todo" | grep --line-buffered -vE '^[0-9]+ warnings? generated|^Suppressed [0-9]|^Use -')
  [ "$passed" -eq "$(grep -c . <<<"$todo")" ]
}

# The whole check. Says how many sources there are, how many of them a build knows, and how many are read now.
check_lint() {
  local settings plan unseen all todo_linux todo_windows result=0
  mkdir -p "$lint_memory"
  find "$lint_memory" -type f -mtime +30 -delete
  settings=$(clang-tidy --version && in_toolroot clang-tidy-19 --version && lint_settings) || return 1
  plan=$(lint_plan)
  all=$(lint_sources '*.cpp' | sort)
  unseen=$(comm -23 - <(cut -d ' ' -f 2 <<<"$plan" | sort -u) <<<"$all")
  todo_linux=$(lint_todo lint "$settings" <<<"$plan")
  todo_windows=$(lint_todo lint-windows "$settings" <<<"$plan")
  say "lint: $(grep -c . <<<"$all") sources, $(grep -c . <<<"$unseen") unseen;" \
    "$(grep -c . <<<"$todo_linux") to read for Linux, $(grep -c . <<<"$todo_windows") for Windows"
  [ -z "$unseen" ] || { printf '%s is in no build that lint knows\n' $unseen; result=1; }
  lint_read "$todo_linux" lint clang-tidy || result=1
  lint_read "$todo_windows" lint-windows in_toolroot clang-tidy-19 || result=1
  return "$result"
}
