#!/bin/sh
# Writes a black bitmap of 24 bits a pixel: blank-bitmap.sh WIDTH HEIGHT OUTPUT.bmp
set -eu
width=$1 height=$2 output=$3
header=54
pixels=$(((width * 3 + 3) / 4 * 4 * height)) # a row fills whole words

# A number of so many bytes, the lowest first.
number()
{
    value=$1 left=$2
    while [ "$left" -gt 0 ]; do
        # shellcheck disable=SC2059 # the format is the byte
        printf "\\$(printf %03o $((value % 256)))"
        value=$((value / 256)) left=$((left - 1))
    done
}

{
    printf BM
    number $((header + pixels)) 4
    number 0 4
    number $header 4
    number 40 4 # of the second header, from here on
    number "$width" 4
    number "$height" 4
    number 1 2
    number 24 2
    number 0 4
    number $pixels 4
    number 0 16
    head -c $pixels /dev/zero
} >"$output"
