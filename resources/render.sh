#!/usr/bin/env bash
# Renders the icons in icons/ from their drawings in artwork/. Call it by hand
# after a drawing has changed; a build takes the rendered files as they are.
#
# Needs rsvg-convert (librsvg2-bin), convert (imagemagick) and icotool
# (icoutils). The committed files came from librsvg 2.54, ImageMagick 6.9.11 and
# icoutils 0.32 and come out of them again byte for byte.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# 8-bit RGBA, which is all that rsvg-convert writes.
for name in DeleteHS Edit_UndoHS Filter2HS FormRunHS HomeHS LineColorHS \
            ZoomInMs ZoomOutMs colorpencils folder_open_32 openHS saveHS zoomminus zoomplus; do
    rsvg-convert "artwork/$name.svg" -o "icons/$name.png"
done

# For screens of double resolution. What has more detail there, or another size in its
# frame, has a drawing of its own.
for name in DeleteHS HomeHS openHS saveHS; do
    rsvg-convert --zoom 2 "artwork/$name.svg" -o "icons/$name@2x.png"
done
for name in FormRunHS ZoomInMs ZoomOutMs; do
    rsvg-convert "artwork/$name@2x.svg" -o "icons/$name@2x.png"
done

# bmp32 picture.png: prints it as a 16x16 BMP of 32 bits a pixel with the plainest
# header, which convert does not write. Some readers take the fourth byte for
# opacity and some for nothing, so it is full and the picture lies on grey.
bmp32() {
    printf 'BM\x36\x04\0\0\0\0\0\0\x36\0\0\0' # 1078 bytes, the pixels from 54 on
    printf '\x28\0\0\0\x10\0\0\0\x10\0\0\0\x01\0\x20\0' # 16x16, 1 plane, 32 bits
    printf '\0\0\0\0\0\x04\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0' # uncompressed, 1024 bytes
    convert "$1" -background '#efefef' -flatten -alpha set -flip -depth 8 BGRA:-
}

for name in ZoomInHS ZoomOutHS; do
    picture="$work/$name.png"
    rsvg-convert "artwork/$name.svg" -o "$picture"
    # A palette with one wholly transparent entry.
    convert "$picture" -strip -define png:exclude-chunks=bKGD,cHRM,date,gAMA,tEXt,tIME \
            "png8:icons/$name.png"
    bmp32 "$picture" > "icons/$name.bmp"
done

rsvg-convert artwork/cleaner.svg -o "$work/cleaner.png"
icotool --create --bit-depth=24 --output=icons/cleaner.ico "$work/cleaner.png"
