#!/usr/bin/env bash
# The fused eight-filter chain against Movit's, with two builds of the
# library under one benchmark binary, alternated: each process draws the
# fused chain and Movit's side by side (separately and in turn), so the
# ratio within a process holds while this VM's speed drifts between runs.
#
#   bash bench/compare-libraries.sh BEFORE_LIB_DIR AFTER_LIB_DIR [ROUNDS] [SIZE]
#
# The two folders hold liblumetra.so.1 (a build tree's lumetra/ folder);
# the benchmark is build/bench/lumetra_bench, built with Movit found.
# Prints one line per process: fused and Movit medians (ms), their ratio,
# and the ratio drawn in turn.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
before=$(realpath "$1") after=$(realpath "$2") rounds=${3:-5} size=${4:-1920x1080}
bench=${BENCH:-$here/build/bench/lumetra_bench}
for ((round = 1; round <= rounds; ++round)); do
    for which in before after; do
        lib=$before
        [ "$which" = after ] && lib=$after
        out=$(LD_LIBRARY_PATH=$lib LP_NUM_THREADS=0 "$bench" \
            --benchmark_filter="EightFilters/(library_fused|movit|fused_and_movit_in_turn)/$size" 2>&1 | grep median)
        fused=$(awk '/library_fused/ {print $2}' <<<"$out")
        movit=$(awk '/movit\// {print $2}' <<<"$out")
        turn=$(grep -o 'ratio=[0-9.]*' <<<"$out" | cut -d= -f2)
        echo "$which fused=$fused movit=$movit ratio=$(awk -v f="$fused" -v m="$movit" 'BEGIN {printf "%.3f", f / m}') in_turn=$turn"
    done
done
