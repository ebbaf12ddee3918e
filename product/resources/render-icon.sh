#!/bin/sh
# Renders an icon from its drawings: render-icon.sh DRAWINGS OUTPUT.ico [ANGLE]
# DRAWINGS is a folder: "16.svg" to "48.svg" are drawn for that size, pixel by pixel; "full.svg" is for the rest.
# ANGLE, in degrees, takes the place of "@ANGLE@" in them.
set -eu
drawings=$1 output=$2 angle=${3:-0}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

render()
{
    sed "s/@ANGLE@/$angle/" "$drawings/$1.svg" | rsvg-convert --width "$2" --height "$2" --output "$folder/$2.png"
}

for size in 16 20 24 32 40 48; do render $size $size; done
for size in 64 256; do render full $size; done

# 256 is kept compressed, as Windows expects it.
cd "$folder"
icotool --create --output=made.ico --raw=256.png 16.png 20.png 24.png 32.png 40.png 48.png 64.png
cd - >/dev/null

# The tool writes the compressed image's entry first. Who asks for no size may get the first: let it be the smallest.
entry=16 entries=8 header=6
{
    head -c $header
    head -c $entry >"$folder/largest"
    head -c $((entry * (entries - 1)))
    cat "$folder/largest" -
} <"$folder/made.ico" >"$folder/icon.ico"
mv "$folder/icon.ico" "$output"
