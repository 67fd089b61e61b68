#!/usr/bin/env python3
"""Recast's ear clipping beside that of the Debian package python3-mapbox-earcut, on rings of the same
kind, in turns, so that both meet the same load of the machine. Prints nanoseconds a corner: the lowest
of all turns.

    bench/buildings/compare_earcut.py build/bench/bench/buildings/bench_buildings

The package is a binding: what a call of it costs on a triangle is taken off its figures. That is a
little too much, since it holds the work for one triangle and what a ring costs by itself: at 6 and 10
corners the figures flatter it. The two cut rings into different triangles, both valid.
"""
import json
import subprocess
import sys
import time

import mapbox_earcut
import numpy

SIZES = (6, 10, 50, 100, 1000, 10000)
TURNS = 15


def stars(corners, random):
    rings = []
    angle = 2 * numpy.pi * numpy.arange(corners) / corners
    for _ in range(max(40000 // corners, 1)):
        r = random.uniform(7, 13, corners)
        rings.append(numpy.stack([r * numpy.cos(angle), r * numpy.sin(angle)], 1))
    return rings


def seconds_a_ring(rings):
    end = numpy.array([len(rings[0])], dtype=numpy.uint32)
    begin = time.perf_counter()
    for ring in rings:
        mapbox_earcut.triangulate_float64(ring, end)
    return (time.perf_counter() - begin) / len(rings)


def recast_corners(program):
    out = subprocess.run(
        [program, "--benchmark_format=json", "--benchmark_min_time=0.05",
         "--benchmark_filter=/corners:(%s)$" % "|".join(map(str, SIZES))],
        check=True, capture_output=True).stdout
    return [row["corner"] * 1e9 for row in json.loads(out)["benchmarks"]]


def main():
    random = numpy.random.default_rng(1)
    rings = [stars(n, random) for n in SIZES]
    triangles = stars(3, random)
    for ring in (r for group in rings for r in group[:3]):
        result = mapbox_earcut.triangulate_float64(ring, numpy.array([len(ring)], dtype=numpy.uint32))
        assert len(result) == 3 * (len(ring) - 2)
    ours, theirs, calls = [], [], []
    for _ in range(TURNS):
        ours.append(recast_corners(sys.argv[1]))
        calls.append(seconds_a_ring(triangles))
        theirs.append([seconds_a_ring(group) for group in rings])
    call = min(calls)
    print("a call of the binding: %.0f ns, taken off" % (call * 1e9))
    print("%8s %10s %10s %8s" % ("corners", "recast", "earcut", "ratio"))
    for i, n in enumerate(SIZES):
        recast = min(turn[i] for turn in ours)
        earcut = (min(turn[i] for turn in theirs) - call) * 1e9 / n
        print("%8d %10.1f %10.1f %8.2f" % (n, recast, earcut, earcut / recast))


if __name__ == "__main__":
    main()
