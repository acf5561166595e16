#!/usr/bin/env python3
"""Measures what a question costs from Python over what it costs from C.

Usage: PYTHONPATH=build/release/python/tree bench/python.py [POSES]    a million by default

The cost in C is that of one item of a call on an array: a loop in C around the same question, with
the query's closest pair of last time, as in the single calls. Least of several rounds. Prints a
table and a checksum of the answers.
"""

import sys
import time
import timeit
import zlib

import numpy as np

import scapi

LOOPS, ROUNDS = 2_000, 150  # short rounds: some of them meet an idle processor


def microseconds(call, loops=LOOPS):
    # Of the processor: others may use it in between.
    return min(timeit.repeat(call, timer=time.process_time, number=loops, repeat=ROUNDS)) / loops * 1e6


def main():
    count = int(sys.argv[1]) if sys.argv[1:] else 1_000_000
    a, b = scapi.Mesh.box((0, 0, 0), (1, 1, 1)), scapi.Mesh.cylinder(1, 3)
    far, near = scapi.Pose.translation(9, 1, 2), scapi.Pose.translation(2.5, 0.2, 0.1)
    motion = scapi.Motion(far, path=(0, 3, 0))
    questions = [
        ("within, boxes apart", scapi.within, scapi.within_many, far),
        ("within, near", scapi.within, scapi.within_many, near),
        ("distance", scapi.distance, scapi.distance_many, near),
        ("time of impact, boxes apart", scapi.time_of_impact, scapi.time_of_impact_many, motion),
    ]
    print("| question | in C, us | from Python, us | more, us | a 4x4 array for None, us |")
    print("|---|---|---|---|---|")
    for name, one, many, place in questions:
        loops = LOOPS if one is scapi.within else LOOPS // 50
        places = [place] * loops
        if isinstance(place, scapi.Pose):
            places = np.tile(place.matrix, (loops, 1, 1))
        in_c = microseconds(lambda: many(a, b, None, places), 1) / loops
        python = microseconds(lambda: one(a, b, None, place), loops)
        identity = np.eye(4)
        of_array = microseconds(lambda: one(a, b, identity, place), loops) - python
        print(f"| {name} | {in_c:.2f} | {python:.2f} | {python - in_c:.2f} | {of_array:+.2f} |")

    poses = np.tile(np.eye(4), (count, 1, 1))
    poses[:, :3, 3] = np.random.default_rng(5).uniform(-4, 4, (count, 3))
    start = time.process_time()
    results = scapi.within_many(a, b, poses_b=poses, tolerance=0.1)
    elapsed = time.process_time() - start
    print(f"\n{count} poses in one call: {elapsed:.2f} s, {elapsed / count * 1e6:.2f} us each: "
          f"{results}; checksum {zlib.crc32(results.clear.tobytes()):08x}")


if __name__ == "__main__":
    main()
