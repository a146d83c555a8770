#!/usr/bin/env python3
"""The Python module's overhead: a 1920 by 1080 uint8 array through invert
and back (Context.run), against the same from C++ (BM_InvertRoundTrip of
lumetra_bench: bitmap uploaded, invert drawn, read back into a picture).
Rounds alternate the two so that both see the same load; each round reports
its medians and their ratio.

    PYTHONPATH=build/python python3 bench/python_overhead.py build/bench/lumetra_bench [ROUNDS]
"""

import json
import statistics
import subprocess
import sys
import time

import numpy

import lumetra


def cpp_median_ms(bench):
    output = subprocess.run([bench, "--benchmark_filter=BM_InvertRoundTrip", "--benchmark_format=json"],
                            capture_output=True, text=True, check=True).stdout
    for entry in json.loads(output)["benchmarks"]:
        if entry.get("aggregate_name") == "median":
            return entry["real_time"]
    raise RuntimeError("no median in the benchmark's output")


def python_median_ms(context, graph, array, iterations=20):
    context.run(graph, array)
    times = []
    for _ in range(iterations):
        start = time.perf_counter()
        context.run(graph, array)
        times.append((time.perf_counter() - start) * 1000)
    return statistics.median(times)


def main():
    bench = sys.argv[1]
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    y, x = numpy.mgrid[0:1080, 0:1920 * 3]
    array = ((x * 7 + y * 3) % 256).astype(numpy.uint8).reshape(1080, 1920, 3)
    graph = lumetra.chain("invert")
    ratios = []
    with lumetra.Context() as context:
        print(f"renderer: {context.info()['renderer']}")
        for round in range(rounds):
            cpp = cpp_median_ms(bench)
            python = python_median_ms(context, graph, array)
            ratios.append(python / cpp)
            print(f"round {round + 1}: C++ {cpp:.1f} ms, Python {python:.1f} ms, ratio {ratios[-1]:.2f}")
    print(f"ratio Python / C++: median {statistics.median(ratios):.2f}, range {min(ratios):.2f} to {max(ratios):.2f}")


if __name__ == "__main__":
    main()
