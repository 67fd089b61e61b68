#!/usr/bin/python3
"""Cuts 10 million points with six further fields into 10 x 10 x 1 fragments with an overlap of 0.05,
in memory with vectorised numpy operations, and runs the benchmark of the same work beside it.

    compare_with_numpy.py <bench_refragment> [rounds]

Prints the medians of elapsed time and of CPU time, which a busy machine disturbs less, and their
ratios.
"""
import itertools
import json
import statistics
import subprocess
import sys
import time

import numpy as np

POINTS = 10_000_000
COUNTS = (10, 10, 1)
LENGTH = np.array([100.0, 100.0, 50.0])
OVERLAP = 0.05


def cloud():
    random = np.random.default_rng(1)
    points = random.random((POINTS, 3)) * (LENGTH * COUNTS)
    fields = [points, random.random(POINTS), random.random(POINTS, dtype=np.float32)]
    for kind in (np.int32, np.uint8, np.uint16):
        fields.append(random.integers(0, np.iinfo(kind).max, POINTS, dtype=kind))
    fields.append(random.integers(0, 255, (POINTS, 3), dtype=np.uint8))
    return fields


def assign(points):
    """The points of each fragment: indices ordered by fragment, and where each fragment begins."""
    place = points / LENGTH
    inside = np.all((place >= 0) & (place < COUNTS), axis=1)
    cell = np.floor(place).astype(np.int64)
    fraction = place - cell
    steps = (1, COUNTS[0], COUNTS[0] * COUNTS[1])
    number = cell @ np.array(steps)
    fragments, indices = [], []
    for offset in itertools.product((-1, 0, 1), repeat=3):
        chosen = inside.copy()
        for axis in range(3):
            if offset[axis] == 0:
                continue
            if COUNTS[axis] == 1:
                chosen[:] = False
                break
            near = (fraction[:, axis] < OVERLAP if offset[axis] < 0
                    else fraction[:, axis] > 1 - OVERLAP)
            neighbour = cell[:, axis] + offset[axis]
            chosen &= near & (neighbour >= 0) & (neighbour < COUNTS[axis])
        index = np.flatnonzero(chosen)
        indices.append(index)
        fragments.append(number[index] + np.dot(offset, steps))
    fragments = np.concatenate(fragments).astype(np.uint16)
    indices = np.concatenate(indices)
    order = np.argsort(fragments, kind="stable")
    begins = np.searchsorted(fragments[order], np.arange(np.prod(COUNTS) + 1))
    return indices[order], begins


def gather(fields, indices, begins):
    return [[field[indices[a:b]] for a, b in zip(begins, begins[1:])] for field in fields]


def numpy_round(fields):
    wall, cpu = time.perf_counter(), time.process_time()
    indices, begins = assign(fields[0])
    assigned = time.perf_counter()
    gather(fields, indices, begins)
    end = time.perf_counter()
    print(f"numpy: assigning {assigned - wall:.2f} s, gathering {end - assigned:.2f} s,"
          f" {len(indices)} entries")
    return end - wall, time.process_time() - cpu


def bench_round(program, threads):
    report = subprocess.run(
        [program, f"--benchmark_filter=^ScanAndGather/{threads}/", "--benchmark_format=json"],
        check=True, capture_output=True)
    result = json.loads(report.stdout)["benchmarks"][0]
    return result["real_time"] / 1000, result["cpu_time"] / 1000


def tell(what, theirs, ours):
    theirs, ours = statistics.median(theirs), statistics.median(ours)
    print(f"{what}: numpy {theirs:.2f} s, this library {ours:.3f} s, {theirs / ours:.1f} times")


def main():
    program = sys.argv[1]
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    fields = cloud()
    wall, cpu, our_wall, our_cpu, two_threads = [], [], [], [], []
    for _ in range(rounds):
        for values, value in zip((wall, cpu), numpy_round(fields)):
            values.append(value)
        for values, value in zip((our_wall, our_cpu), bench_round(program, 1)):
            values.append(value)
        two_threads.append(bench_round(program, 2)[0])
    tell("CPU time, one thread", cpu, our_cpu)
    tell("elapsed, one thread", wall, our_wall)
    tell("elapsed, two threads", wall, two_threads)


if __name__ == "__main__":
    main()
