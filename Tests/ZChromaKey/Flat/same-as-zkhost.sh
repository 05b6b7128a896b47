# Keys some frames with zkhost and through the flat interface, and compares every byte. Usage: FLATTEST MODULE ZKHOST
flat=$1 module=$2 zkhost=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
"$zkhost" sample -o in.raw --size 320x180 --frames 4 --format RGB32
for generation in 1 2; do
  "$zkhost" detect in.raw --in RGB32:320x180 -o keys.xml --keyer $generation
  "$zkhost" key in.raw --in RGB32:320x180 -o zkhost.raw --keys keys.xml --set gpu_mode=0
  "$flat" "$module" $generation keys.xml 320 180 < in.raw > flat.raw
  cmp zkhost.raw flat.raw
  cmp -s in.raw flat.raw && { echo "generation $generation keys nothing"; exit 1; }
done
exit 0
