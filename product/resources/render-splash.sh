#!/bin/sh
# Renders the images of a splash: render-splash.sh DRAWINGS LOCALE FOLDER
# DRAWINGS has the three drawings, and in "taglines.txt" the line below the product's name for each locale.
set -eu
drawings=$1 locale=$2 folder=$3

# Another font in the place of a missing one would go unnoticed.
for font in 'Liberation Sans' 'DejaVu Sans' 'Droid Sans Fallback'; do
    fc-list ":family=$font" | grep -q . || { echo "the font $font is missing; run scripts/packages.sh" >&2; exit 1; }
done

tagline=$(sed -n "s/^$locale //p" "$drawings/taglines.txt")
[ -n "$tagline" ] || { echo "$drawings/taglines.txt has no line for $locale" >&2; exit 1; }

# As text of the drawing, and as the replacement of an expression.
tagline=$(printf '%s' "$tagline" | sed 's/&/\&amp;/g; s/</\&lt;/g; s/[\\&/]/\\&/g')

mkdir -p "$folder"
rsvg-convert --width 474 --height 238 --output "$folder/splash.png" "$drawings/splash.svg"
rsvg-convert --width 85 --height 30 --output "$folder/ic_vzlogo_splash.png" "$drawings/logo.svg"
sed "s/@LOCALE@/$locale/; s/@TAGLINE@/$tagline/" "$drawings/productname.svg" |
    rsvg-convert --width 256 --height 84 --output "$folder/productname_splash.png"
