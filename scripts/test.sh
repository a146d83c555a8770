#!/usr/bin/env bash
# Fresh machine to a passing test suite: installs the dependencies, builds
# the library, examples, tests and benchmarks, and runs every test suite on
# real OpenGL (Mesa's llvmpipe when there is no GPU).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build -j"$(nproc)"
ctest --test-dir build --output-on-failure
