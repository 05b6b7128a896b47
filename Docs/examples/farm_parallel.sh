#!/usr/bin/env bash
# Keys a clip in chunks with GNU parallel; the joined result is, byte for byte, that of one zkhost that keys it all.
#
#   ffmpeg -i clip.mov -f yuv4mpegpipe clip.y4m
#   bash farm_parallel.sh clip.y4m keyed.raw
#   ffmpeg -f rawvideo -pix_fmt bgra -s 1920x1080 -i keyed.raw -c:v prores_ks keyed.mov
#
# CHUNK   frames of a chunk (100)
# PLATE   a picture of the empty backdrop from the same camera; else one is learned from LEARN frames (8) of the clip
# KEYS    a key file; else the backdrop is looked for in the first frame
# FARM    what GNU parallel is told: "--jobs 2"; "--sshlogin node1,node2" where all machines see the files under the same
#         names and have zkhost in the path
set -euo pipefail
[ $# -eq 2 ] || { echo "usage: ${0##*/} CLIP.y4m KEYED.raw" >&2; exit 2; }
clip=$(realpath "$1") keyed=$(realpath "$2") size=${CHUNK:-100} learn=${LEARN:-8}
plate=${PLATE:+$(realpath "$PLATE")} keys=${KEYS:+$(realpath "$KEYS")}
parts=$(mktemp -d "$keyed.parts.XXXXXX")
trap 'rm -rf "$parts"' EXIT

# A Y4M file is a line about the clip, and frames of one size, each after a line "FRAME".
header=$(head -n 1 "$clip")
width=$(grep -oE ' W[0-9]+' <<<"$header") height=$(grep -oE ' H[0-9]+' <<<"$header")
width=${width# W} height=${height# H}
case $header in
  *' C444'*) bytes=$((width * height * 3)) ;;
  *' C422'*) bytes=$((width * height * 2)) ;;
  *) bytes=$((width * height * 3 / 2)) ;; # 4:2:0, both even
esac
frame=$((6 + bytes)) start=$((${#header} + 1))
frames=$((($(stat -Lc %s "$clip") - start) / frame))

# FIRST COUNT: some frames of the clip, without the line about it.
frames_of() { dd if="$clip" bs="$frame" skip=$((start + $1 * frame)) count="$2" iflag=skip_bytes,fullblock status=none; }

# FIRST: keys a chunk into a file of its own. The plate is held, so that nothing of a frame shows in later ones.
chunk() {
  { echo "$header"; frames_of "$1" "$size"; } |
    zkhost key - -o "$(printf '%s/%09d.raw' "$parts" "$1")" --keys "$keys" --plate "$plate" --param learn=hold --quiet
}

if [ -z "$keys" ]; then
  keys=$parts/keys.xml
  zkhost detect "$clip" -o "$keys" --quiet
fi
if [ -z "$plate" ]; then
  { echo "$header"; for ((n = 0; n < learn; n++)); do frames_of $((n * frames / learn)) 1; done; } |
    zkhost key - -o "$parts/plate_%05d.png" --keys "$keys" --view plate --quiet
  plate=$(printf '%s/plate_%05d.png' "$parts" $((learn - 1)))
fi
used=clip,header,frame,start,size,parts,keys,plate
export ${used//,/ }
export -f chunk frames_of
# shellcheck disable=SC2086 # what FARM says are words
SHELL=$BASH parallel ${FARM:---jobs 2} --env "$used,chunk,frames_of" --halt now,fail=1 chunk ::: $(seq 0 "$size" $((frames - 1)))
cat "$parts"/*.raw >"$keyed"
echo "$frames frames keyed into $keyed"
