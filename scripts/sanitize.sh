#!/usr/bin/env bash
# The sanitizer builds: AddressSanitizer with UndefinedBehaviorSanitizer (and
# LeakSanitizer) over the whole test suite in build-asan, then
# ThreadSanitizer over the suites labelled "threads" in build-tsan. Any
# finding fails the run. JOBS sets the build's parallelism (default: every
# core). Settings and suppressions: docs/design.md, tests/sanitizers/.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
jobs="${JOBS:-$(nproc)}"

stage() { printf '== %s: %ss\n' "$1" "$SECONDS"; SECONDS=0; }

SECONDS=0
cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DLUMETRA_SANITIZE=address,undefined -DLUMETRA_BUILD_BENCHMARKS=OFF -DLUMETRA_BUILD_PYTHON=OFF
cmake --build build-asan -j"$jobs"
stage "address,undefined build"
ctest --test-dir build-asan --output-on-failure
stage "address,undefined tests"

# Only what the threaded suites need: no tool, examples or benchmarks.
cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLUMETRA_SANITIZE=thread \
  -DLUMETRA_BUILD_BENCHMARKS=OFF -DLUMETRA_BUILD_EXAMPLES=OFF -DLUMETRA_BUILD_TOOLS=OFF
mapfile -t suites < <(ctest --test-dir build-tsan -N -L threads | sed -n 's/^ *Test *#[0-9]*: //p')
cmake --build build-tsan -j"$jobs" --target "${suites[@]}"
stage "thread build"
ctest --test-dir build-tsan -L threads --output-on-failure
stage "thread tests"
