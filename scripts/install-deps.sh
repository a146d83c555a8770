#!/usr/bin/env bash
# Installs what building and testing Lumetra needs on Debian 12, asking apt
# only for packages that are missing, so a second run costs nothing.
set -euo pipefail

packages=(
  cmake g++ make pkg-config
  libegl-dev libopengl-dev libgl-dev libegl-mesa0 libgl1-mesa-dri
  libx11-dev
  libpng-dev libjpeg-dev
  # picture files: libvips (with libpng, libjpeg-turbo, libtiff, libwebp, lcms2 and libexif)
  libvips-dev
  # bench/picture-io.sh: the measurements docs/design.md reports
  libvips-tools imagemagick hyperfine time
  libgtest-dev libbenchmark-dev
  # the Python module, its tests and its Dask example (the system's Python 3 and NumPy)
  python3-dev pybind11-dev python3-numpy python3-pytest python3-distributed
  xvfb xauth
  # scripts/fuzz.sh: clang, libFuzzer and the sanitizers' run times
  clang libclang-rt-14-dev
  # scripts/check-format.sh and scripts/tidy.sh
  clang-format-14 clang-tidy-14
)

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done

if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
