#!/usr/bin/env bash
# Shrinking real photos to a quarter each way, against their exact 4x4 box
# average: Lumetra's resize (default kernel) and libvips's resize side by
# side, the maximum and RMS error of each in 8-bit levels.
#
#   bash bench/compare-resize.sh [build/tools/lumetra] [extra resize arguments, e.g. gap=0]
#
# The photos come from two Debian packages, downloaded (not installed) and
# unpacked into a scratch folder: python3-skimage and opencv-doc. Needs
# apt-get, dpkg and the vips command-line tool.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
lumetra=$(realpath "${1:-$here/build/tools/lumetra}")
shift || true
extra=("$@")
work=${WORK:-$(mktemp -d /tmp/compare-resize.XXXXXX)}
mkdir -p "$work/photos"
cd "$work"

if [ ! -d skimage ] || [ ! -d opencv ]; then
  apt-get download python3-skimage opencv-doc >/dev/null 2>&1
  dpkg -x python3-skimage_*.deb skimage
  dpkg -x opencv-doc_*.deb opencv
fi
sk=skimage/usr/lib/python3/dist-packages/skimage/data
cv=opencv/usr/share/doc/opencv-doc/examples/data
photos=("$sk/astronaut.png" "$sk/coffee.png" "$sk/chelsea.png" "$sk/motorcycle_left.png" "$sk/rocket.jpg"
  "$cv/baboon.jpg" "$cv/building.jpg" "$cv/fruits.jpg" "$cv/home.jpg" "$cv/aero3.jpg" "$cv/butterfly.jpg")

# max and RMS of |a - b| over the three colour bands of two pictures.
errors() {
  vips extract_band "$1" a.v 0 --n 3
  vips extract_band "$2" b.v 0 --n 3
  vips subtract a.v b.v d.v
  vips abs d.v ad.v
  vips multiply d.v d.v d2.v
  python3 -c "import sys; print('%3.0f %6.2f' % (float(sys.argv[1]), float(sys.argv[2]) ** 0.5))" \
    "$(vips max ad.v)" "$(vips avg d2.v)"
}

printf '%-16s %-9s | %-13s | %-13s\n' photo size "libvips max rms" "lumetra max rms"
for photo in "${photos[@]}"; do
  name=$(basename "${photo%.*}")
  width=$(vipsheader -f width "$photo") height=$(vipsheader -f height "$photo")
  width=$((width / 4 * 4)) height=$((height / 4 * 4))
  # The same PNG for every reader: no JPEG decoder differences.
  vips crop "$photo" "photos/$name.png" 0 0 "$width" "$height"
  vips shrink "photos/$name.png" box.png 4 4
  vips resize "photos/$name.png" vips.png 0.25
  "$lumetra" "photos/$name.png" -o lumetra.png -- resize width=$((width / 4)) "${extra[@]}"
  printf '%-16s %4dx%-4d | %-15s | %s\n' "$name" "$width" "$height" "$(errors vips.png box.png)" \
    "$(errors lumetra.png box.png)"
done
