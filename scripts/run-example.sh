#!/usr/bin/env bash
# Fresh machine to a running host: installs the dependencies, builds the
# library and its command-line tool, and renders the demo contact sheet on
# the headless default (Mesa's llvmpipe, no GPU needed) to demo.png.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build -j"$(nproc)" --target lumetra-tool
./build/tools/lumetra info
./build/tools/lumetra demo -o demo.png
