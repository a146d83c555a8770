#!/usr/bin/env bash
# clang-tidy over the library and the tool with the project's .clang-tidy;
# fails on any finding. About six minutes on two cores, so CI leaves it to
# whoever changes many files: run it before such a change lands.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build-tidy -DCMAKE_EXPORT_COMPILE_COMMANDS=ON -DLUMETRA_BUILD_TESTS=OFF \
  -DLUMETRA_BUILD_BENCHMARKS=OFF -DLUMETRA_BUILD_EXAMPLES=OFF > /dev/null
run-clang-tidy-14 -p build-tidy -j"$(nproc)" -quiet "$PWD/(lumetra|tools)/.*\\.cpp\$"
