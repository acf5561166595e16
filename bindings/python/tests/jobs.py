"""What the workers of the tests do. In a module of its own, so that they can import it."""

import os
import pathlib
import signal
import time

import numpy as np

import scapi
from scapi._batch import _loaded

COUNT = 12


def sweep(stl):
    """Tasks: a cube over a cube, 240 poses in parts of 20."""
    poses = np.tile(np.eye(4), (240, 1, 1))
    poses[:, 0, 3] = np.linspace(-3, 3, 240)
    file = scapi.MeshFile(stl)
    return [scapi.Task(scapi.distance_many, file, file, poses_b=part, tolerance=0.1)
            for part in np.array_split(poses, COUNT)]


def die_once(task, mark):
    """As the task; but the first worker that comes here is killed."""
    try:
        pathlib.Path(mark).touch(exist_ok=False)
    except FileExistsError:
        return task()
    os.kill(os.getpid(), signal.SIGKILL)


def sweep_with_a_death(stl, mark):
    tasks = sweep(stl)
    tasks[5] = scapi.Task(die_once, tasks[5], str(mark))
    return tasks


def die():
    os.kill(os.getpid(), signal.SIGKILL)


def fail(number):
    raise ValueError(f"number {number}")


def echo(value):
    return value


def loads(mesh, other):
    """This process, how often it has read a file, and whether both are one mesh."""
    return os.getpid(), _loaded.cache_info().misses, mesh is other


def digest(results):
    """One number for all that the results hold."""
    return scapi.Results.join(results).records.tobytes().hex()


def wait_long():
    os.write(1, f"{os.getpid()}\n".encode())  # whole, beside that of another worker
    time.sleep(600)
