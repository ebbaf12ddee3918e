#!/bin/sh
# Renders an icon from its two drawings: render.sh FULL.svg SMALL.svg OUTPUT.ico
# 16 to 24 pixels come from the simplified drawing; 256 is kept compressed, as Windows expects it.
set -eu
full=$1 small=$2 output=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

render()
{
    rsvg-convert --width "$2" --height "$2" --output "$folder/$2.png" "$1"
}

for size in 16 20 24; do render "$small" "$size"; done
for size in 32 40 48 64 256; do render "$full" "$size"; done

cd "$folder"
icotool --create --output=icon.ico --raw=256.png 16.png 20.png 24.png 32.png 40.png 48.png 64.png
cd - >/dev/null
mv "$folder/icon.ico" "$output"
