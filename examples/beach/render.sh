#!/usr/bin/env bash
# Renders beach.pov into beach.jpg. Needs POV-Ray and ImageMagick (Debian:
# povray, imagemagick).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
rendering=$(mktemp --suffix=.png)
trap 'rm -f "$rendering"' EXIT
povray +Ibeach.pov +O"$rendering" +FN +W1200 +H800 +A0.2 +AM2 -D -GA -V
convert "$rendering" -strip -quality 86 beach.jpg
