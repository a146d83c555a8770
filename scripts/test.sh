#!/usr/bin/env bash
# Fresh machine to a passing test suite: installs the dependencies, builds
# the library, examples, tests and benchmarks, and runs every test suite on
# real OpenGL (Mesa's llvmpipe when there is no GPU). LUMETRA_WERROR=ON
# makes every compiler warning an error, as CI does.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLUMETRA_WERROR="${LUMETRA_WERROR:-OFF}"
cmake --build build -j"$(nproc)"
ctest --test-dir build --output-on-failure
