#!/usr/bin/env bash
# Picture file measurements behind docs/design.md ("Picture files"):
#   1. decode and encode time and peak memory of the candidate libraries
#      (libvips, OpenImageIO, libpng and libjpeg-turbo used directly through
#      their own command-line tools) on a 1920x1080 and a 6000x4000 picture;
#   2. the whole-process time and peak memory of an invert with the lumetra
#      tool, libvips and ImageMagick.
# Usage: [PARTS=2] [RUNS=N] bench/picture-io.sh [BUILD_DIR [SOURCE_PICTURE]]   (works in $WORK)
# Needs hyperfine, GNU time, libvips-tools, imagemagick, openimageio-tools,
# netpbm and libjpeg-turbo-progs. The test pictures are made here with vips
# from SOURCE_PICTURE (any photo; default: skimage's astronaut.png).
set -euo pipefail
build=$(realpath "${1:-build}")
source=$(realpath "${2:-/usr/lib/python3/dist-packages/skimage/data/astronaut.png}")
lumetra="$build/tools/lumetra"
work=${WORK:-$(mktemp -d)}
runs=${RUNS:-8}
cd "$work"
unset DISPLAY

# Pictures: a photo scaled to each size, as PNG, JPEG (quality 90), raw TIFF and PPM.
for size in 1920x1080 6000x4000; do
  w=${size%x*} h=${size#*x}
  sw=$(vipsheader -f width "$source") sh=$(vipsheader -f height "$source")
  vips resize "$source" "$size.v" "$(echo "$w / $sw" | bc -l)" --vscale "$(echo "$h / $sh" | bc -l)"
  vips extract_band "$size.v" "$size-rgb.v" 0 --n 3
  vips copy "$size-rgb.v" "$size.png"
  vips copy "$size-rgb.v" "$size.jpg[Q=90]"
  vips copy "$size-rgb.v" "$size.tif"
  vips copy "$size-rgb.v" "$size.ppm"
done
vips crop 1920x1080.png 10x10.png 0 0 10 10

peak() { /usr/bin/time -f %M "$@" 2>&1 >/dev/null | tail -1; }
time_it() { # name "command line": mean and standard deviation in ms, peak RSS in MB
  local name=$1 command=$2
  hyperfine --warmup 1 --runs "$runs" --export-json t.json "$command" >/dev/null
  python3 -c 'import json,sys; r=json.load(open("t.json"))["results"][0]; print("%-44s %8.1f ms  ± %6.1f" % (sys.argv[1], r["mean"]*1e3, r["stddev"]*1e3), end="")' "$name"
  echo "   $(( $(peak sh -c "exec $command") / 1024 )) MB"
}

if [ "${PARTS:-12}" != 2 ]; then
echo "== 1. Libraries: decode (whole picture) and encode (from raw pixels)"
for size in 1920x1080 6000x4000; do
  for format in png jpg; do
    time_it "libvips   decode $size.$format" "vips avg $size.$format"
    time_it "OIIO      decode $size.$format" "iinfo --stats $size.$format"
    if [ $format = png ]; then time_it "libpng    decode $size.png" "pngtopnm $size.png > /dev/null"
    else time_it "libjpeg   decode $size.jpg" "djpeg $size.jpg > /dev/null"; fi
    if [ $format = png ]; then
      time_it "libvips   encode $size.png" "vips copy $size.tif out.png"
      time_it "OIIO      encode $size.png" "oiiotool $size.tif -o out.png"
      time_it "libpng    encode $size.png" "pnmtopng $size.ppm > out.png"
    else
      time_it "libvips   encode $size.jpg" "vips copy $size.tif out.jpg[Q=90]"
      time_it "OIIO      encode $size.jpg" "oiiotool $size.tif --attrib Compression jpeg:90 -o out.jpg"
      time_it "libjpeg   encode $size.jpg" "cjpeg -quality 90 $size.ppm > out.jpg"
    fi
  done
done

fi

echo "== 2. Whole process: invert, PNG in and out"
for size in 10x10 1920x1080 6000x4000; do
  time_it "lumetra     $size" "$lumetra $size.png -o out.png -- invert"
  time_it "vips        $size" "vips invert $size.png out.png"
  time_it "convert     $size" "/usr/bin/convert $size.png -negate out.png"
done
echo "== 2b. Whole process: invert, JPEG in and out (quality 90)"
time_it "lumetra     1920x1080.jpg" "$lumetra 1920x1080.jpg -o out.jpg -- invert"
time_it "vips        1920x1080.jpg" "vips invert 1920x1080.jpg out.jpg[Q=90]"
time_it "convert     1920x1080.jpg" "/usr/bin/convert 1920x1080.jpg -negate -quality 90 out.jpg"
