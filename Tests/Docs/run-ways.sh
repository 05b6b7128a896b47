#!/usr/bin/env bash
# Installs a build and does, one after the other, what the README's blocks marked "way" say, each in a shell of its own,
# as a newcomer with a clip and an empty home would; then looks at what came out.
# Usage: run-ways.sh CHECKOUT BUILD
set -eu -o pipefail
checkout=$1 build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
export HOME=$work/home ZCK=$work/install PATH=/usr/bin:/bin GST_REGISTRY=$work/registry
mkdir "$HOME"
cmake --install "$build" --prefix "$ZCK" >install.txt || { cat install.txt; exit 1; }

"$ZCK/bin/zkhost" sample -o clip.y4m --size 320x180 --frames 4 -q
ffmpeg -v error -i clip.y4m -f lavfi -i sine=duration=0.16 -c:v libx264 -pix_fmt yuv420p -c:a aac clip.mp4

ways=0
while IFS= read -r -d '' way; do
  echo "--- $way"
  bash -eu -o pipefail -c "$way" </dev/null >output.txt 2>&1 || { cat output.txt; echo "this way does not work"; exit 1; }
  ways=$((ways + 1))
done < <(awk '/^```sh way$/ { on = 1; next } /^```/ { if (on) printf "%c", 0; on = 0 } on' "$checkout/README.md")
[ "$ways" -eq 6 ]

transparent() { # FILE: the frame that it begins with has gone in part, and stayed in part
  ffmpeg -v error -i "$1" -frames:v 1 -vf alphaextract -f rawvideo -pix_fmt gray - | od -An -v -t u1 -w1 |
    awk '$1 < 8 { gone++ } $1 > 247 { here++ } END { exit !(gone > NR / 4 && here > NR / 20) }'
}
for file in keyed.mov filtered.mov piped_00003.png; do
  transparent "$file" || { echo "$file is not keyed"; exit 1; }
done
[ "$(ffprobe -v error -select_streams a -show_entries stream=codec_type -of csv=p=0 keyed.mov)" = audio ]
[ "$(stat -c %s keyed.bgra)" -eq $((4 * 640 * 360 * 4)) ]
ffmpeg -v error -f rawvideo -pix_fmt bgra -s 640x360 -i keyed.bgra -frames:v 1 hosted.png && transparent hosted.png
[ -s sheet.png ] && [ -s "$HOME/.config/obs-studio/plugins/obs-zchromakey/bin/64bit/obs-zchromakey.so" ]
