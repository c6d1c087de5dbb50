#!/usr/bin/env bash
# Renders the icon's pictures from crayvell.svg. Call it by hand after the drawing has
# changed; an installation takes the rendered files as they are.
#
# Needs rsvg-convert (librsvg2-bin). The committed files came from librsvg 2.54 and come
# out of it again byte for byte.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

for size in 16 22 24 32 48 64 128 256; do
    rsvg-convert --width $size --height $size crayvell.svg -o crayvell-$size.png
done
