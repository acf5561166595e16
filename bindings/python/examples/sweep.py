"""10,000 poses of a part in a housing, spread over the processors of this machine.

Usage: sweep.py [--out FOLDER] [--dask ADDRESS]    writes the parts and sweep.npz there
With MPI: mpirun -n 8 python3 -m mpi4py.futures sweep.py --mpi
"""

import argparse
from pathlib import Path

import numpy as np

import scapi
from scapi.classic import Solid

COUNT, PARTS, TOLERANCE = 10_000, 40, 0.5


def write_parts(folder):
    """Files that all workers can read: on many machines, a folder that they share."""
    with Solid.box((-60, -60, 0), (60, 60, 40)) as housing:
        housing.save_stl(folder / "housing.stl")
    with Solid.cylinder((0, 0, 0), (0, 0, 90), 15) as shaft:
        shaft.save_stl(folder / "shaft.stl")
    return [scapi.MeshFile(str(folder / name)) for name in ("housing.stl", "shaft.stl")]


def random_poses(count, seed=7):
    """(count, 4, 4): turned any way round, up to 120 from the middle of the housing."""
    random = np.random.default_rng(seed)
    poses = np.tile(np.eye(4), (count, 1, 1))
    poses[:, :3, 3] = random.uniform(-120, 120, (count, 3))
    for pose in poses:
        pose[:3, :3] = scapi.Pose.rotation(random.normal(size=3),
                                           random.uniform(0, np.pi)).matrix[:3, :3]
    return poses


def executor_of(arguments):
    if arguments.dask:
        from distributed import Client
        return Client(arguments.dask).get_executor()
    if arguments.mpi:
        from mpi4py.futures import MPIPoolExecutor
        return MPIPoolExecutor()
    return None


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--out", type=Path, default=Path("."))
    parser.add_argument("--dask", help="address of a Dask scheduler")
    parser.add_argument("--mpi", action="store_true")
    arguments = parser.parse_args()
    arguments.out.mkdir(parents=True, exist_ok=True)

    housing, shaft = write_parts(arguments.out)
    poses = random_poses(COUNT)
    tasks = [scapi.Task(scapi.distance_many, housing, shaft, poses_b=part, tolerance=TOLERANCE)
             for part in np.array_split(poses, PARTS)]
    results = scapi.Results.join(scapi.batch(tasks, executor_of(arguments)))
    print(results)
    print(f"{np.count_nonzero(results.clear)} of {len(results)} poses are shown to be clear by "
          f"{TOLERANCE}; the least lower bound among these is {results.lower[results.clear].min():.4f}")
    np.savez_compressed(arguments.out / "sweep.npz", poses=poses, clear=results.clear,
                        lower=results.lower, upper=results.upper)


if __name__ == "__main__":  # the workers read this file too
    main()
