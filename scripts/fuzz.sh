#!/usr/bin/env bash
# Builds the fuzz targets (clang; libFuzzer, AddressSanitizer, UBSan) and runs
# each for a short fixed time on a copy of its seed corpus in fuzz/corpus/.
# A crash, a sanitizer finding, a leak, a hang (10 s on one input), a single
# allocation over 256 MB (inputs are a few kB) or a process over 2 GB fails
# the script; the input is kept in <build>/artifacts/. FUZZ_SECONDS sets the
# time per target (default 15), FUZZ_BUILD the build folder (build-fuzz).
set -euo pipefail
cd "$(dirname "$0")/.."
build=${FUZZ_BUILD:-build-fuzz}
seconds=${FUZZ_SECONDS:-15}

cmake -S . -B "$build" -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DLUMETRA_BUILD_FUZZERS=ON -DLUMETRA_BUILD_TOOLS=ON -DLUMETRA_BUILD_TESTS=OFF -DLUMETRA_BUILD_BENCHMARKS=OFF -DLUMETRA_BUILD_EXAMPLES=OFF -DLUMETRA_BUILD_PYTHON=OFF >/dev/null
cmake --build "$build" --target fuzzers -j"${CMAKE_BUILD_PARALLEL_LEVEL:-$(nproc)}"

artifacts="$build/artifacts"
mkdir -p "$artifacts"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mapfile -t names <"$build/fuzz/targets.txt"
for name in "${names[@]}"; do
  fuzzer="$build/fuzz/${name}_fuzzer"
  mkdir "$work/$name"
  cp fuzz/corpus/"$name"/* "$work/$name"/ 2>/dev/null || true
  options=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -malloc_limit_mb=256 -print_final_stats=1
           -artifact_prefix="$artifacts/$name-")
  [ -f fuzz/"$name".dict ] && options+=(-dict=fuzz/"$name".dict)
  if ! "$fuzzer" "${options[@]}" "$work/$name" >"$work/$name.log" 2>&1; then
    tail -n 60 "$work/$name.log"
    echo "fuzz: $name failed; the input that did it is in $artifacts/" >&2
    exit 1
  fi
  echo "fuzz: $name: $(grep -o 'Done [0-9]* runs in [0-9]* second(s)' "$work/$name.log")," \
       "$(grep -o 'peak_rss_mb: *[0-9]*' "$work/$name.log" | tr -s ' ')"
done
