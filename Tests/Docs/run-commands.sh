#!/usr/bin/env bash
# Runs what the documents tell the reader to type: every line of their "sh" blocks that uses a program of ours, in the
# order of the text, in a folder with the files that they take for granted.
# Usage: run-commands.sh CHECKOUT BIN
set -eu -o pipefail
checkout=$1 bin=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
export PATH=$bin:$PATH
ln -s "$bin/libZChromaKey.so" .

zkhost sample -o clip.y4m --size 320x180 --frames 3 --quiet
zkhost sample -o photo.png --size 640x360 --frames 1 --quiet
zkhost sample -o beach.png --size 320x180 --frames 1 --quiet
zkhost sample -o in.raw --size 1920x1080 --frames 1 --format UYVY --quiet
zkhost detect clip.y4m -o keys.xml --quiet
command -v ffmpeg >/dev/null || { echo "ffmpeg is missing (Debian: apt install ffmpeg)"; exit 1; }
ffmpeg -v error -f lavfi -i sine=d=0.12 -i clip.y4m -map 1 -map 0 clip.mp4 # the video that the reader has

ran=0
for document in "$checkout"/README.md "$checkout"/Docs/*.md; do
  while IFS= read -r line; do
    echo "${document##*/}: $line"
    eval "$line" </dev/null >output.txt 2>&1 || { cat output.txt; echo "failed: $line"; exit 1; }
    ran=$((ran + 1))
  done < <(awk '/^```sh$/ { on = 1; next } /^```/ { on = 0 } on' "$document" | sed 's/  *#.*//' | grep -E '(^|\| )(zkhost|MinimalHost|EditKeys) ')
done
cmp hosted.raw same.raw # what the host guide says
echo "$ran commands"
[ "$ran" -ge 10 ]
