#!/usr/bin/env bash
# Fresh machine to a running host: installs the dependencies, builds, and
# runs the example host on the headless default (Mesa's llvmpipe, no GPU).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build -j"$(nproc)" --target lumetra-hello
./build/examples/lumetra-hello
