"""Run by mpirun: prints what the sweep finds, by the workers of MPI."""

import sys

from mpi4py.futures import MPIPoolExecutor

import jobs
import scapi

if __name__ == "__main__":
    with MPIPoolExecutor() as executor:
        workers = set(executor.map(jobs.echo, range(3)))
        print(jobs.digest(scapi.batch(jobs.sweep(sys.argv[1]), executor)))
